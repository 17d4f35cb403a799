#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/core/volume.h"
#include "toolkit/io/read_source.h"

namespace rzobl {

/// A NIfTI-1 header, checked against its file.
struct NiftiHeader {
    ImageLayout image;
    SampleSource source;
    Rescale rescale;
    /// Sample index to LPS millimetres: images of the three index axes, and of index (0, 0, 0).
    std::array<Vec3, 3> axes{};
    Vec3 origin{};
    /// "sform", "qform" or "pixdim".
    std::string placedBy;
};

/// Reads and checks the header of a .nii or .nii.gz: its fields, and that the file is long enough for its
/// samples (a compressed one is unpacked once for that). Throws Error.
NiftiHeader read_nifti_header(const std::filesystem::path& file, std::vector<std::string>& warnings);

}  // namespace rzobl
