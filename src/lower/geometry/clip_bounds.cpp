#include "lower/geometry/clip_bounds.h"

#include <algorithm>
#include <cmath>

namespace {

struct row_span {
    short* pair;

    short first() const { return pair[0]; }
    short last() const { return pair[1]; }
    // Empty whatever the pair held, and neither bound moves outward.
    void clear() const {
        pair[0] = std::max<short>(pair[0], 0);
        pair[1] = std::min<short>(pair[1], -1);
    }
    // The bounds are compared as doubles, so that only a value between first and last is ever converted.
    void limit_last(double bound) const {
        if (!(bound >= pair[0])) {
            clear();
        } else if (bound < pair[1]) {
            pair[1] = static_cast<short>(bound);
        }
    }
    void limit_first(double bound) const {
        if (!(bound <= pair[1])) {
            clear();
        } else if (bound > pair[0]) {
            pair[0] = static_cast<short>(bound);
        }
    }
};

// An infinite a: columns of one sign hold or fail together, and column 0 gives infinity x 0, which holds
// nothing.
void clip_infinite(double a, double rest, double c, const row_span& row) {
    const bool positive = a + rest <= c;
    const bool negative = -a + rest <= c;
    if (positive && row.last() > 0) {
        row.limit_first(1.0);
    } else if (negative) {
        row.limit_last(-1.0);
    } else {
        row.clear();
    }
}

}  // namespace

void RZ_update_clip_bounds(float a, float b, float c, int /*width*/, int height, short* spans) {
    const double slope = static_cast<double>(a);
    const double step = static_cast<double>(b);
    const double limit = static_cast<double>(c);
    const bool every_column_alike = slope == 0.0 || !std::isfinite(step) || !std::isfinite(limit);
    const double reciprocal = 1.0 / slope;

    for (int y = 0; y < height; ++y) {
        const row_span row{spans + 2 * static_cast<long>(y)};
        const double rest = step * y;  // exact: 24 bits times a row number
        if (std::isnan(slope)) {
            row.clear();
        } else if (std::isinf(slope)) {
            clip_infinite(slope, rest, limit, row);
        } else if (every_column_alike) {
            if (!(rest <= limit)) row.clear();
        } else {
            // One rounding in the difference, one in the reciprocal, one here: far below 1e-9 columns in
            // range.
            const double column = (limit - rest) * reciprocal;
            if (slope > 0.0) {
                row.limit_last(std::floor(column));
            } else {
                row.limit_first(std::ceil(column));
            }
        }
    }
}
