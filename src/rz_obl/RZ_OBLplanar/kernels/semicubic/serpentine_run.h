#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// Where a run of the semi-cubic kernels and of scan_tricubic starts, and what its means are cut to.
// `static inline`, since a wide file includes this too.

namespace rz_obl {

/// Half a sample in Q18.
static constexpr std::int32_t kHalfSample = 0x20000;

/// required: quality 3 moves the image by half a sample in x and y, quality 2 does not, and z never moves.
/// The shift comes before the clamp at 0.
static inline q18_point serpentine_start(const scan_args_16& args, int row, int column) {
    const q18_point inPlane = to_q18(plane_position(args.planeToIndex, row, column));
    const q18_point start = first_slab_plane(inPlane, args.slabSteps, args.slabStep);
    return clamp_start(args.quality == 3 ? start + q18_point{kHalfSample, kHalfSample, 0} : start);
}

/// What a mean is cut to.
struct mean_range {
    std::int32_t least;
    std::int32_t greatest;
};

/// The bit depth counts modulo 32, as the processor's rotation and shift take it.
static inline mean_range range_of_depth(bool isSigned, int bitDepth) {
    const std::uint32_t depth = static_cast<std::uint32_t>(bitDepth);
    if (isSigned) {
        const std::int32_t half = static_cast<std::int32_t>(std::uint32_t{1} << ((depth - 1) & 31));
        return {wrap_sub(1, half), wrap_sub(half, 1)};  // required: 1 - H, where the table's kernels have -H
    }
    return {0, static_cast<std::int32_t>((std::uint32_t{1} << (depth & 31)) - 1)};
}

/// All planes of a pixel, dropped ones as well; not positive for negative slabSteps.
static inline std::int32_t planes_of_slab(int slabSteps) {
    return wrap_add(wrap_mul(2, slabSteps), 1);
}

}  // namespace rz_obl
