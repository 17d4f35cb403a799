#pragma once

#include <filesystem>

#include "toolkit/io/read_itk.h"

namespace rzobl {

/// What the reader takes from a MetaImage header itself; the geometry comes from ITK.
struct MetaImageHeader {
    ExpectedImage image;
    Rescale rescale;
    bool compressed = false;
};

/// Reads and checks a header, and that its data file is long enough. Throws Error.
MetaImageHeader read_metaimage_header(const std::filesystem::path& file);

}  // namespace rzobl
