#pragma once

#include <filesystem>

#include "toolkit/io/read_volume.h"

namespace rzobl {

/// Reads .mha and .mhd: two or three dimensions of scalars or of red, green, blue; one data file, plain or
/// compressed. Throws Error.
ReadResult read_metaimage(const std::filesystem::path& file, const ReadOptions& options);

}  // namespace rzobl
