#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/io/read_source.h"

namespace rzobl {

struct NrrdHeader {
    ImageLayout image;
    SampleSource source;
    /// Stated by the key/value pairs rescale_slope and rescale_intercept; NRRD itself has no such field.
    Rescale rescale;
    /// Sample index to LPS millimetres: images of the three index axes, and of index (0, 0, 0).
    std::array<Vec3, 3> axes{};
    Vec3 origin{};
    /// "raw" or "gzip".
    std::string encoding;
    /// "left-posterior-superior" and the like; empty if none is stated.
    std::string space;
};

/// Reads and checks a header, and that its data file is long enough. Throws Error.
NrrdHeader read_nrrd_header(const std::filesystem::path& file, std::vector<std::string>& warnings);

}  // namespace rzobl
