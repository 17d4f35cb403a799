// The one file that includes ITK.
#include "toolkit/io/read_itk.h"

#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include <mutex>
#include <optional>

#include "toolkit/core/vector.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

using Component = itk::ImageIOBase::IOComponentEnum;

template <class Integer>
std::optional<SampleType> integer_type() {
    constexpr bool kSigned = Integer(-1) < Integer(0);
    switch (sizeof(Integer)) {
        case 1:
            return kSigned ? SampleType::Int8 : SampleType::UInt8;
        case 2:
            return kSigned ? SampleType::Int16 : SampleType::UInt16;
        case 4:
            return kSigned ? SampleType::Int32 : SampleType::UInt32;
        default:
            return std::nullopt;
    }
}

std::optional<SampleType> type_of(Component component) {
    switch (component) {
        case Component::CHAR:
            return SampleType::Int8;
        case Component::UCHAR:
            return SampleType::UInt8;
        case Component::SHORT:
            return integer_type<short>();
        case Component::USHORT:
            return integer_type<unsigned short>();
        case Component::INT:
            return integer_type<int>();
        case Component::UINT:
            return integer_type<unsigned int>();
        case Component::LONG:
            return integer_type<long>();
        case Component::ULONG:
            return integer_type<unsigned long>();
        case Component::FLOAT:
            return SampleType::Float32;
        case Component::DOUBLE:
            return SampleType::Float64;
        default:
            return std::nullopt;
    }
}

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

/// Stored samples instead of rescaled floats.
void keep_stored(itk::ImageIOBase& io, SampleType type) {
    if (auto* const nifti = dynamic_cast<itk::NiftiImageIO*>(&io)) {
        nifti->SetRescaleSlope(1.0);
        nifti->SetRescaleIntercept(0.0);
        nifti->SetComponentType(component_of(type));
    }
}

std::string first_line(const std::string& text) {
    return printable(trimmed(text.substr(0, trimmed(text).find('\n'))));
}

ItkImage read_checked(ItkFormat format, const std::string& file, const ExpectedImage& expected) {
    const itk::ImageIOBase::Pointer io = make_io(format);
    io->SetFileName(file);
    io->ReadImageInformation();
    keep_stored(*io, expected.type);

    const unsigned int dimensions = io->GetNumberOfDimensions();
    itk::ImageIORegion region(dimensions);
    std::array<std::size_t, 3> size{1, 1, 1};
    bool same = type_of(io->GetComponentType()) == expected.type &&
                io->GetNumberOfComponents() == static_cast<unsigned int>(expected.channels);
    for (unsigned int axis = 0; axis < dimensions; ++axis) {
        region.SetSize(axis, io->GetDimensions(axis));
        if (axis < 3)
            size[axis] = io->GetDimensions(axis);
        else
            same = same && io->GetDimensions(axis) == 1;
    }
    const std::size_t count = expected.size[0] * expected.size[1] * expected.size[2];
    const std::size_t bytes = count * bytes_of(expected.type) * static_cast<std::size_t>(expected.channels);
    same = same && size == expected.size && static_cast<std::size_t>(io->GetImageSizeInBytes()) == bytes;
    if (!same) refuse("%s: its header can be read in two ways", file.c_str());

    ItkImage image;
    for (unsigned int axis = 0; axis < 3 && axis < dimensions; ++axis) {
        image.spacing[axis] = io->GetSpacing(axis);
        image.origin[axis] = io->GetOrigin(axis);
        const std::vector<double> direction = io->GetDirection(axis);
        for (unsigned int row = 0; row < 3 && row < direction.size(); ++row)
            image.direction[axis][row] = direction[row];
    }
    image.samples.type = expected.type;
    image.samples.channels = expected.channels;
    image.samples.count = count;
    image.samples.bytes = allocate_samples(bytes);
    io->SetIORegion(region);
    io->Read(image.samples.bytes.get());
    return image;
}

}  // namespace

std::array<Vec3, 3> ItkImage::axes() const {
    return {scaled(direction[0], spacing[0]), scaled(direction[1], spacing[1]),
            scaled(direction[2], spacing[2])};
}

ItkImage read_with_itk(ItkFormat format, const std::filesystem::path& file, const ExpectedImage& expected) {
    static std::once_flag quiet;
    std::call_once(quiet, [] { itk::Object::SetGlobalWarningDisplay(false); });
    try {
        return read_checked(format, file.string(), expected);
    } catch (const itk::ExceptionObject& fault) {
        refuse("%s cannot be read: %s", file.c_str(), first_line(fault.GetDescription()).c_str());
    }
}

}  // namespace rzobl
