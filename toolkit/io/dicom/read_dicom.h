#pragma once

#include <filesystem>
#include <vector>

#include "toolkit/io/read_volume.h"

namespace rzobl {

/// The files in a folder, and in the folders in it, that are DICOM by content or by name; in the order of
/// their names.
std::vector<std::filesystem::path> dicom_candidates(const std::filesystem::path& folder);

/// Reads the series of a folder, or the one that options.series names. Throws Error.
ReadResult read_dicom_folder(const std::filesystem::path& folder,
                             const std::vector<std::filesystem::path>& files, const ReadOptions& options);

/// Reads the series that a file belongs to, from the file's folder. Throws Error.
ReadResult read_dicom_file(const std::filesystem::path& file, const ReadOptions& options);

}  // namespace rzobl
