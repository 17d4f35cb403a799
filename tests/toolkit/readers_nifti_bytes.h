#pragma once

#include <array>
#include <vector>

#include "readers_support.h"

namespace rz_test {

/// A NIfTI-1 file that a test writes byte by byte.
struct NiftiFile {
    /// Sizes, as many as there are dimensions.
    std::vector<int> dim{4, 3, 2};
    int datatype = 4;
    int bitpix = 16;
    std::array<float, 4> pixdim{1, 0.5F, 0.75F, 2};
    float offset = 352;
    float slope = 0;
    float intercept = 0;
    int units = 2;
    int qformCode = 0;
    int sformCode = 1;
    std::array<float, 6> quaternion{};  // b, c, d, then the offset
    std::array<std::array<float, 4>, 3> srow{{{0.5F, 0, 0, -10}, {0, 0.75F, 0, -20}, {0, 0, 2, 30}}};
    Bytes samples;
    bool bigEndian = false;  // of the header; samples are given as they stand

    Bytes bytes() const;
};

}  // namespace rz_test
