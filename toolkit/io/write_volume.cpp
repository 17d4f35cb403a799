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
#include "toolkit/core/memory.h"
#include "toolkit/io/output_file.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

/// What the three formats store.
struct Stored {
    Grid grid;
    itk::IOComponentEnum component;
    /// 3 for colours, packed.
    unsigned channels;
    Rescale rescale;
    /// Contiguous, in memory that pages as volumes do.
    Block samples;
};

itk::IOComponentEnum component_of(SampleKind kind, bool isSigned) {
    if (kind == SampleKind::Int16)
        return isSigned ? itk::IOComponentEnum::SHORT : itk::IOComponentEnum::USHORT;
    return kind == SampleKind::UInt8 && isSigned ? itk::IOComponentEnum::CHAR : itk::IOComponentEnum::UCHAR;
}

Stored make_stored(const Grid& grid, SampleKind kind, bool isSigned, const Rescale& rescale) {
    const bool colour = kind == SampleKind::Rgb;
    std::size_t bytes = colour ? 3 : bytesPerSample(kind);
    for (const int size : grid.size) bytes *= static_cast<std::size_t>(size);
    return {grid, component_of(kind, isSigned), colour ? 3U : 1U, rescale, Block(bytes, "the file")};
}

/// Copies samples to where the file has them, colours without their fourth byte, and returns the end.
std::byte* put(const Stored& stored, std::byte* to, const std::byte* samples, std::size_t bytes) {
    if (stored.channels == 1) {
        std::memcpy(to, samples, bytes);
        return to + bytes;
    }
    for (std::size_t i = 0; i < bytes; i += 4, to += 3) std::memcpy(to, samples + i, 3);
    return to;
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
    const bool rescaled = stored.channels == 1;
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
    io.SetPixelType(stored.channels == 3 ? itk::IOPixelEnum::RGB : itk::IOPixelEnum::SCALAR);
    io.SetNumberOfComponents(stored.channels);
    io.SetComponentType(stored.component);
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
    const Grid& grid = volume.grid();
    const Stored stored = make_stored(grid, volume.kind(), volume.isSigned, volume.rescale);
    const std::size_t bytes = static_cast<std::size_t>(grid.size[0]) *
                              static_cast<std::size_t>(grid.size[1]) * bytesPerSample(volume.kind());
    std::byte* end = stored.samples.data();
    for (int k = 0; k < grid.size[2]; ++k)
        end = put(stored, end, static_cast<const std::byte*>(volume.raster(k)), bytes);
    write(stored, path, overwrite);
}

void write_volume(const Image& image, const fs::path& path, bool overwrite) {
    const Stored stored = make_stored(image.grid, image.kind, image.isSigned, image.rescale);
    put(stored, stored.samples.data(), image.samples.data(), image.samples.size());
    write(stored, path, overwrite);
}

void write_volume(const FloatVolume& volume, const fs::path& path, bool overwrite) {
    write({volume.grid, itk::IOComponentEnum::FLOAT, 1, {}, volume.block}, path, overwrite);
}

}  // namespace rzobl
