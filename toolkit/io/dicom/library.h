#pragma once

#include <filesystem>

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dctk.h>

namespace rzobl::dicom {

/// Silences DCMTK's log and registers its decoders (RLE, JPEG, JPEG-LS), once per process.
void prepare_library();

/// Opens a file; values over 4 KiB stay on disk until they are asked for. Throws Error with DCMTK's reason.
void load(DcmFileFormat& format, const std::filesystem::path& file);

}  // namespace rzobl::dicom
