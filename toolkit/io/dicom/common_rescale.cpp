#include "toolkit/io/dicom/common_rescale.h"

#include <algorithm>
#include <cmath>

#include "toolkit/io/read_text.h"

namespace rzobl::dicom {

namespace {

/// Slopes and intercepts are decimals of at most 16 digits; closer than this they mean the same.
bool whole(double value, std::int64_t& nearest) {
    const double rounded = std::round(value);
    if (!(std::abs(rounded) < 1e9) || std::abs(value - rounded) > 1e-9 * std::max(1.0, std::abs(rounded)))
        return false;
    nearest = static_cast<std::int64_t>(rounded);
    return true;
}

}  // namespace

CommonRescale common_rescale(const std::vector<Frame>& frames, const std::string& input) {
    CommonRescale common;
    common.rescale = frames.front().rescale;
    for (const Frame& frame : frames) {
        if (std::abs(frame.rescale.slope) < std::abs(common.rescale.slope)) common.rescale = frame.rescale;
    }
    for (const Frame& frame : frames) {
        Conversion conversion;
        const bool exact = whole(frame.rescale.slope / common.rescale.slope, conversion.factor) &&
                           whole((frame.rescale.intercept - common.rescale.intercept) / common.rescale.slope,
                                 conversion.offset);
        if (!exact)
            refuse(
                "%s: its slices differ in their rescale (slope %g, intercept %g in %s; slope %g, intercept "
                "%g in "
                "another), and no common one holds them exactly",
                input.c_str(), frame.rescale.slope, frame.rescale.intercept, frame.file.filename().c_str(),
                common.rescale.slope, common.rescale.intercept);
        common.same = common.same && conversion.factor == 1 && conversion.offset == 0;
        common.slices.push_back(conversion);
    }
    return common;
}

}  // namespace rzobl::dicom
