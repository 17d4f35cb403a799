#include "toolkit/io/write_volume.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <itkMetaDataObject.h>
#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include "toolkit/core/error.h"
#include "toolkit/io/output_file.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

/// What the three formats store.
struct Stored {
    Grid grid;
    SampleKind kind;
    bool isSigned;
    Rescale rescale;
    /// Contiguous; colours packed to three bytes.
    std::vector<std::byte> samples;
};

/// Appends count samples, colours without their fourth byte.
void append(Stored& stored, const std::byte* samples, std::size_t count) {
    if (stored.kind != SampleKind::Rgb) {
        stored.samples.insert(stored.samples.end(), samples, samples + count * bytesPerSample(stored.kind));
        return;
    }
    for (std::size_t i = 0; i < count; ++i, samples += 4)
        stored.samples.insert(stored.samples.end(), samples, samples + 3);
}

/// Seventeen digits, which give the same double back.
std::string exact(double number) {
    char digits[40];
    std::snprintf(digits, sizeof digits, "%.17g", number);
    return digits;
}

void set_rescale_keys(itk::ImageIOBase& io, const Rescale& rescale, const char* slope,
                      const char* intercept) {
    itk::EncapsulateMetaData<std::string>(io.GetMetaDataDictionary(), slope, exact(rescale.slope));
    itk::EncapsulateMetaData<std::string>(io.GetMetaDataDictionary(), intercept, exact(rescale.intercept));
}

itk::ImageIOBase::Pointer make_io(OutputFormat format, const Stored& stored) {
    const bool rescaled = stored.kind != SampleKind::Rgb;
    if (format == OutputFormat::Nifti) {
        const auto io = itk::NiftiImageIO::New();
        if (rescaled) {
            io->SetRescaleSlope(stored.rescale.slope);
            io->SetRescaleIntercept(stored.rescale.intercept);
        }
        return io.GetPointer();
    }
    itk::ImageIOBase::Pointer io;
    if (format == OutputFormat::MetaImage) {
        io = itk::MetaImageIO::New().GetPointer();
        if (rescaled)
            set_rescale_keys(*io, stored.rescale, "ElementToIntensityFunctionSlope",
                             "ElementToIntensityFunctionOffset");
    } else {
        io = itk::NrrdImageIO::New().GetPointer();
        if (rescaled) set_rescale_keys(*io, stored.rescale, "rescale_slope", "rescale_intercept");
    }
    return io;
}

void describe(itk::ImageIOBase& io, const Stored& stored) {
    io.SetNumberOfDimensions(3);
    for (unsigned axis = 0; axis < 3; ++axis) {
        const Vec3& direction = stored.grid.direction[axis];
        io.SetDimensions(axis, static_cast<itk::SizeValueType>(stored.grid.size[axis]));
        io.SetSpacing(axis, stored.grid.spacing[axis]);
        io.SetOrigin(axis, stored.grid.origin[axis]);
        io.SetDirection(axis, std::vector<double>(direction.begin(), direction.end()));
    }
    const bool colour = stored.kind == SampleKind::Rgb;
    io.SetPixelType(colour ? itk::IOPixelEnum::RGB : itk::IOPixelEnum::SCALAR);
    io.SetNumberOfComponents(colour ? 3 : 1);
    io.SetComponentType(stored.kind == SampleKind::Int16                      ? itk::IOComponentEnum::SHORT
                        : stored.kind == SampleKind::UInt8 && stored.isSigned ? itk::IOComponentEnum::CHAR
                                                                              : itk::IOComponentEnum::UCHAR);
    itk::ImageIORegion region(3);
    for (unsigned axis = 0; axis < 3; ++axis)
        region.SetSize(axis, static_cast<itk::ImageIORegion::SizeValueType>(stored.grid.size[axis]));
    io.SetIORegion(region);
}

void write(const Stored& stored, const fs::path& path, bool overwrite) {
    const OutputFormat format = output_format(path);
    if (format == OutputFormat::Png)
        throw Error("cannot write " + path.string() + ": a PNG holds a picture, not a volume");
    OutputFile output(path, overwrite);
    try {
        const itk::ImageIOBase::Pointer io = make_io(format, stored);
        describe(*io, stored);
        io->SetFileName(output.temporary().string());
        io->WriteImageInformation();
        io->Write(stored.samples.data());
    } catch (const itk::ExceptionObject& fault) {
        throw Error("cannot write " + path.string() + ": " + fault.GetDescription());
    }
    // Not every writer notices a full disk.
    std::error_code error;
    const auto written = fs::file_size(output.temporary(), error);
    const bool packed = path.extension() == ".gz";
    if (error || written == 0 || (!packed && written < stored.samples.size()))
        throw Error("cannot write " + path.string() + ": the file came out too short, the disk may be full");
    output.commit();
}

}  // namespace

OutputFormat output_format(const fs::path& path) {
    std::string name = path.filename().string();
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const auto ends = [&name](const std::string& ending) {
        return name.size() > ending.size() &&
               name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
    };
    if (ends(".png")) return OutputFormat::Png;
    if (ends(".mha")) return OutputFormat::MetaImage;
    if (ends(".nrrd")) return OutputFormat::Nrrd;
    if (ends(".nii") || ends(".nii.gz")) return OutputFormat::Nifti;
    throw Error("cannot tell the format of " + path.string() +
                ": an output ends in .png, .mha, .nrrd, .nii or .nii.gz");
}

void write_volume(const Volume& volume, const fs::path& path, bool overwrite) {
    OutputFile::check(path, overwrite);
    Stored stored{volume.grid(), volume.kind(), volume.isSigned, volume.rescale, {}};
    const auto count =
        static_cast<std::size_t>(volume.grid().size[0]) * static_cast<std::size_t>(volume.grid().size[1]);
    stored.samples.reserve(count * static_cast<std::size_t>(volume.grid().size[2]) *
                           bytesPerSample(volume.kind()));
    for (int k = 0; k < volume.grid().size[2]; ++k)
        append(stored, static_cast<const std::byte*>(volume.raster(k)), count);
    write(stored, path, overwrite);
}

void write_volume(const Image& image, const fs::path& path, bool overwrite) {
    Stored stored{image.grid, image.kind, image.isSigned, image.rescale, {}};
    append(stored, image.samples.data(), image.samples.size() / bytesPerSample(image.kind));
    write(stored, path, overwrite);
}

}  // namespace rzobl
