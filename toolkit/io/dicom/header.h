#pragma once

#include <filesystem>
#include <vector>

#include "toolkit/io/dicom/frame.h"

namespace rzobl::dicom {

/// One file, its pixels left unread.
struct Header {
    SeriesFacts series;
    /// Empty for objects without pictures (reports, presentation states, directories).
    std::vector<Frame> frames;
};

/// Throws Error if the file is damaged or not DICOM, or holds pictures that cannot become slices.
Header read_header(const std::filesystem::path& file);

}  // namespace rzobl::dicom
