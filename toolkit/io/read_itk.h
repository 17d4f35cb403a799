#pragma once

#include <filesystem>

#include "toolkit/io/read_samples.h"

namespace rzobl {

enum class ItkFormat { Nifti, Nrrd, MetaImage };

/// Stored samples, never rescaled, of a file whose header and length have been checked, read by ITK. Throws
/// Error if ITK fails or finds another image than the header's. NIfTI samples that are NaN or infinite come
/// out as 0. Threads: free, one file at a time.
StoredSamples read_with_itk(ItkFormat format, const std::filesystem::path& file, const ImageLayout& expected);

}  // namespace rzobl
