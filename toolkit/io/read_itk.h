#pragma once

#include <array>
#include <filesystem>

#include "toolkit/io/read_samples.h"

namespace rzobl {

/// What a header was found to promise, before ITK opens the file.
struct ExpectedImage {
    std::array<std::size_t, 3> size{1, 1, 1};
    SampleType type = SampleType::Int16;
    int channels = 1;
};

/// An image as ITK reads it, LPS.
struct ItkImage {
    Vec3 spacing{1, 1, 1};
    Vec3 origin{0, 0, 0};
    std::array<Vec3, 3> direction{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    /// Millimetres of one step along each index.
    std::array<Vec3, 3> axes() const;
    /// Stored samples, never rescaled.
    StoredSamples samples;
};

enum class ItkFormat { Nifti, Nrrd, MetaImage };

/// Reads a file whose header and length have been checked. Throws Error if ITK fails or finds another image
/// than expected.
ItkImage read_with_itk(ItkFormat format, const std::filesystem::path& file, const ExpectedImage& expected);

}  // namespace rzobl
