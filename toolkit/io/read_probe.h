#pragma once

#include <filesystem>

namespace rzobl {

enum class FileFormat { Dicom, Nifti, Nrrd, MetaImage, Png, Unknown };

/// What a file holds, by its content, and by its ending where the content says nothing. Throws Error if it
/// cannot be read.
FileFormat probe(const std::filesystem::path& file);

/// Whether a file starts as DICOM does, with its mark or, as old files do, with the first data element.
bool starts_as_dicom(const std::filesystem::path& file);

/// Whether a file is named as DICOM files are.
bool named_as_dicom(const std::filesystem::path& file);

}  // namespace rzobl
