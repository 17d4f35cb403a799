#pragma once

#include <filesystem>
#include <vector>

#include "toolkit/io/read_volume.h"

namespace rzobl {

/// The PNG files of a folder in the order of their names, where numbers count as numbers.
std::vector<std::filesystem::path> png_files(const std::filesystem::path& folder);

/// Reads equal-size 8-bit grey, 16-bit grey or 8-bit colour pictures as slices 1 mm apart, samples 1 mm
/// apart. Throws Error.
ReadResult read_png_stack(const std::vector<std::filesystem::path>& files, const std::string& name,
                          const ReadOptions& options);

}  // namespace rzobl
