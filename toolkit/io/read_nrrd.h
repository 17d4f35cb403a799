#pragma once

#include <filesystem>

#include "toolkit/io/read_volume.h"

namespace rzobl {

/// Reads .nrrd and .nhdr: three axes of scalars, or four of which the first holds red, green, blue; raw or
/// gzip. Throws Error.
ReadResult read_nrrd(const std::filesystem::path& file, const ReadOptions& options);

}  // namespace rzobl
