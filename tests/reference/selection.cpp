#include "tests/reference/selection.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "tests/reference/linear.h"

namespace rz_reference {
namespace {

using rz_obl::scan_args_16;
using rz_obl::scan_args_32;
using rz_obl::scan_args_8;

rz_test::Branches unread;

void settle_sign(const scan_args_16& args) {
    if (args.slabStep[0] >= 0) return;
    for (int k = 0; k < 3; ++k)
        args.slabStep[k] = static_cast<int>(0U - static_cast<unsigned>(args.slabStep[k]));
}

void settle_sign(const scan_args_8& args) {
    if (!(0.0F > args.slabStep[0])) return;
    for (int k = 0; k < 3; ++k) args.slabStep[k] = -args.slabStep[k];
}

template <class Args>
Args with_quality(const Args& args, int quality) {
    Args changed = args;
    changed.quality = quality;
    return changed;
}

void semicubic(const scan_args_16& args, int dominantAxis) {
    if (dominantAxis == 2) {
        rz_obl::scan_semicubic_z(args);
    } else if (dominantAxis == 1) {
        rz_obl::scan_semicubic_y(args);
    } else {
        rz_obl::scan_semicubic_x(args);
    }
}

std::int32_t truncated(float x) {
    if (x >= -2147483648.0F && x < 2147483648.0F) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

/// The sample at the truncated coordinate; the slab takes no part.
void nearest(const scan_args_16& args) {
    int firstRowSeen = -1;
    int lastRowSeen = 0;
    int leastColumn = args.rowStride;
    int greatestColumn = 0;
    for (int row = 0; row < args.rowCount; ++row) {
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (!(first < last)) continue;
        if (firstRowSeen == -1) firstRowSeen = row;
        lastRowSeen = row;
        leastColumn = std::min(leastColumn, static_cast<int>(first));
        greatestColumn = std::max(greatestColumn, static_cast<int>(last));
        std::int32_t at[3];
        for (int k = 0; k < 3; ++k) {
            const float rowPart = static_cast<float>(row) * args.planeToIndex[1][k];
            const float columnPart = static_cast<float>(first) * args.planeToIndex[0][k];
            const float sum = rowPart + columnPart;
            const float start = sum + args.planeToIndex[3][k];
            at[k] = truncated(start * 262144.0F);
        }
        at[0] = std::max(at[0], 0);
        at[1] = std::max(at[1], 0);
        for (int column = first; column <= last; ++column) {
            const std::int32_t offset = (at[1] >> 18) * args.sourceWidth + (at[0] >> 18);
            args.output[row * args.rowStride + column] = args.slices[at[2] >> 18][offset];
            for (int k = 0; k < 3; ++k) {
                at[k] = static_cast<std::int32_t>(static_cast<std::uint32_t>(at[k]) +
                                                  static_cast<std::uint32_t>(args.columnStep[k]));
            }
        }
    }
    *args.firstRow = std::min(*args.firstRow, std::max(firstRowSeen, 0));
    *args.firstColumn = std::min(*args.firstColumn, leastColumn);
    *args.lastRow = std::max(*args.lastRow, lastRowSeen);
    *args.lastColumn = std::max(*args.lastColumn, greatestColumn);
}

bool walks_along_x(const scan_args_16& args) {
    const int* s = args.slabStep;
    return s[0] >= std::abs(s[1]) && s[0] >= std::abs(s[2]);
}

}  // namespace

void scan_avg_12(const scan_args_16& args, int dominantAxis) {
    settle_sign(args);
    if (args.quality == 3) {
        semicubic(with_quality(args, 3), dominantAxis);
    } else {
        scan_linear(with_quality(args, 4), unread);
    }
}

void scan_avg_12_2(const scan_args_16& args, int dominantAxis) {
    settle_sign(args);
    if (args.quality == 3) {
        rz_obl::scan_cubic_sse(with_quality(args, 3));
    } else if (args.quality == 2) {
        semicubic(with_quality(args, 2), dominantAxis);
    } else {
        scan_linear(with_quality(args, 4), unread);
    }
}

void scan_max_12(const scan_args_16& args) {
    settle_sign(args);
    if (args.quality == 0) {
        nearest(args);
    } else if (walks_along_x(args)) {
        rz_obl::scan_max_pixel_major(args, args.quality == 1);
    } else {
        rz_obl::scan_max_plane_major(args, args.quality == 1);
    }
}

void scan_min_12(const scan_args_16& args) {
    settle_sign(args);
    if (args.quality == 0) {
        nearest(args);
    } else if (walks_along_x(args)) {
        rz_obl::scan_min_pixel_major(args, args.quality == 1);
    } else {
        rz_obl::scan_min_plane_major(args, args.quality == 1);
    }
}

void scan_avg_8bits(const scan_args_8& args) {
    settle_sign(args);
    rz_obl::scan_linear_8bits(with_quality(args, 4));
}

void scan_max_8bits(const scan_args_8& args) {
    settle_sign(args);
    rz_obl::scan_max_linear_8bits(with_quality(args, 4));
}

void scan_min_8bits(const scan_args_8& args) {
    settle_sign(args);
    rz_obl::scan_min_linear_8bits(with_quality(args, 4));
}

void scan_avg_32bits(const scan_args_32& args) {
    if (args.quality == 3) {
        rz_obl::scan_cubic_32bits(with_quality(args, 3));
    } else {
        rz_obl::scan_linear_32bits(with_quality(args, 4));
    }
}

}  // namespace rz_reference
