// The one file of the readers that includes ITK.
#include "toolkit/io/read_itk.h"

#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <mutex>
#include <new>

#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

using Component = itk::ImageIOBase::IOComponentEnum;

Component component_of(SampleType type) {
    switch (type) {
        case SampleType::Int8:
            return Component::CHAR;
        case SampleType::UInt8:
            return Component::UCHAR;
        case SampleType::Int16:
            return Component::SHORT;
        case SampleType::UInt16:
            return Component::USHORT;
        case SampleType::Int32:
            return Component::INT;
        case SampleType::UInt32:
            return Component::UINT;
        case SampleType::Float32:
            return Component::FLOAT;
        case SampleType::Float64:
            return Component::DOUBLE;
    }
    return Component::UNKNOWNCOMPONENTTYPE;
}

itk::ImageIOBase::Pointer make_io(ItkFormat format) {
    switch (format) {
        case ItkFormat::Nifti:
            return itk::NiftiImageIO::New().GetPointer();
        case ItkFormat::Nrrd:
            return itk::NrrdImageIO::New().GetPointer();
        case ItkFormat::MetaImage:
            return itk::MetaImageIO::New().GetPointer();
    }
    return nullptr;
}

/// ITK turns samples with a rescale into floats unless it is told that there is none.
void keep_stored(itk::ImageIOBase& io, SampleType type) {
    if (auto* const nifti = dynamic_cast<itk::NiftiImageIO*>(&io)) {
        nifti->SetRescaleSlope(1.0);
        nifti->SetRescaleIntercept(0.0);
        nifti->SetComponentType(component_of(type));
    }
}

/// Whether ITK would write just the expected bytes; the region to read is all of them.
bool as_expected(itk::ImageIOBase& io, const ImageLayout& expected) {
    const unsigned int dimensions = io.GetNumberOfDimensions();
    itk::ImageIORegion region(dimensions);
    for (unsigned int axis = 0; axis < dimensions; ++axis) {
        region.SetSize(axis, io.GetDimensions(axis));
        if (io.GetDimensions(axis) != (axis < 3 ? expected.size[axis] : 1)) return false;
    }
    io.SetIORegion(region);
    return io.GetComponentType() == component_of(expected.type) &&
           io.GetNumberOfComponents() == static_cast<unsigned int>(expected.channels) &&
           static_cast<std::uint64_t>(io.GetImageSizeInBytes()) == expected.bytes();
}

/// The first sentence of what ITK says, without the address of the object that says it.
std::string reason(const itk::ExceptionObject& fault) {
    std::string text = trimmed(fault.GetDescription());
    text = trimmed(text.substr(0, text.find('\n')));
    text = text.substr(0, text.find(". "));
    const std::size_t object = text.find("): ");
    if (object != std::string::npos) text = text.substr(object + 3);
    for (const char* mark : {"ITK ERROR: ", "Error: "}) {
        if (text.rfind(mark, 0) == 0) text = text.substr(std::string(mark).size());
    }
    return printable(text);
}

}  // namespace

StoredSamples read_with_itk(ItkFormat format, const std::filesystem::path& file,
                            const ImageLayout& expected) {
    // NRRD's library keeps its error messages in one list for all threads.
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    itk::Object::SetGlobalWarningDisplay(false);  // else ITK writes its warnings to standard error
    try {
        const itk::ImageIOBase::Pointer io = make_io(format);
        io->SetFileName(file.string());
        io->ReadImageInformation();
        keep_stored(*io, expected.type);
        if (!as_expected(*io, expected))
            refuse("%s: ITK finds another image in it than its header states", file.c_str());

        StoredSamples samples;
        samples.type = expected.type;
        samples.channels = expected.channels;
        samples.count = expected.count();
        samples.bytes = allocate_samples(expected.bytes());
        io->Read(samples.bytes.get());
        return samples;
    } catch (const itk::ExceptionObject& fault) {
        refuse("%s cannot be read by ITK: %s", file.c_str(), reason(fault).c_str());
    } catch (const std::bad_alloc&) {
        refuse("%s cannot be read by ITK: its memory does not suffice", file.c_str());
    }
}

}  // namespace rzobl
