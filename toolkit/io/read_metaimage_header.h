#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/io/read_source.h"

namespace rzobl {

struct MetaImageHeader {
    ImageLayout image;
    SampleSource source;
    Rescale rescale;
    /// Sample index to LPS millimetres: images of the three index axes, and of index (0, 0, 0).
    std::array<Vec3, 3> axes{};
    Vec3 origin{};
};

/// Reads and checks a header, and that its data file is long enough. Throws Error.
MetaImageHeader read_metaimage_header(const std::filesystem::path& file, std::vector<std::string>& warnings);

}  // namespace rzobl
