#pragma once

#include <filesystem>

#include "toolkit/io/read_volume.h"

namespace rzobl {

/// Reads .nii and .nii.gz of three dimensions (or a fourth of 1). Throws Error.
ReadResult read_nifti(const std::filesystem::path& file, const ReadOptions& options);

}  // namespace rzobl
