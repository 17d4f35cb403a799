#pragma once

#include <filesystem>

#include "toolkit/io/read_itk.h"

namespace rzobl {

/// What the reader takes from a NRRD header itself; the geometry comes from ITK.
struct NrrdHeader {
    ExpectedImage image;
    Rescale rescale;
    /// "raw" or "gzip".
    std::string encoding;
    /// "left-posterior-superior" and the like; empty if none is stated.
    std::string space;
};

/// Reads and checks a header, and that its data file is long enough. Throws Error.
NrrdHeader read_nrrd_header(const std::filesystem::path& file);

}  // namespace rzobl
