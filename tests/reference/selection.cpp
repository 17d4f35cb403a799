#include "tests/reference/selection.h"

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/reference/bits32.h"
#include "tests/reference/bits8.h"
#include "tests/reference/cubic.h"
#include "tests/reference/linear.h"
#include "tests/reference/max_min.h"
#include "tests/reference/semicubic.h"

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
        scan_semicubic_z(args, unread);
    } else if (dominantAxis == 1) {
        scan_semicubic_y(args, unread);
    } else {
        scan_semicubic_x(args, unread);
    }
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
        scan_cubic(with_quality(args, 3), false, unread);
    } else if (args.quality == 2) {
        semicubic(with_quality(args, 2), dominantAxis);
    } else {
        scan_linear(with_quality(args, 4), unread);
    }
}

void scan_max_12(const scan_args_16& args) {
    scan_max_12(args, unread);
}

void scan_min_12(const scan_args_16& args) {
    scan_min_12(args, unread);
}

void scan_avg_8bits(const scan_args_8& args) {
    settle_sign(args);
    scan_linear_8bits(with_quality(args, 4), unread);
}

void scan_max_8bits(const scan_args_8& args) {
    settle_sign(args);
    scan_max_linear_8bits(with_quality(args, 4), unread);
}

void scan_min_8bits(const scan_args_8& args) {
    settle_sign(args);
    scan_min_linear_8bits(with_quality(args, 4), unread);
}

void scan_avg_32bits(const scan_args_32& args) {
    if (args.quality == 3) {
        scan_cubic_32bits(with_quality(args, 3), unread);
    } else {
        scan_linear_32bits(with_quality(args, 4), unread);
    }
}

}  // namespace rz_reference
