#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "toolkit/io/dicom/frame.h"

namespace rzobl::dicom {

/// A stored value of one slice in the units of all: x times factor plus offset.
struct Conversion {
    std::int64_t factor = 1;
    std::int64_t offset = 0;
};

struct CommonRescale {
    Rescale rescale;
    /// Of each slice; all trivial if `same`.
    std::vector<Conversion> slices;
    bool same = true;
};

/// Throws Error (naming `input`) if no integers bring the slices to one rescale.
CommonRescale common_rescale(const std::vector<Frame>& frames, const std::string& input);

}  // namespace rzobl::dicom
