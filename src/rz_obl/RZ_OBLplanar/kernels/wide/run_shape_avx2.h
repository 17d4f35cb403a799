#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

// Runs that need no lane-wise addresses, or no neighbours: those of axial, coronal and sagittal pictures.
// Included by wide files only.

namespace rz_obl {

enum run_shape {
    kAnywhere,
    /// Columns move along x only, by at most two samples: four of them lie within eight adjacent samples.
    kAlongRow,
    /// Along a row upwards by one whole sample: all columns have the same weights.
    kUnitSteps,
    /// Along a row by one whole sample, every fraction 0 at every plane: a sample depends on one raw sample.
    kOnGrid,
    /// Whole steps in any direction, every fraction 0, planes side by side in x: a pixel depends on `planes`
    /// adjacent raw samples.
    kSegments,
};

/// What a wide scan knows of its source and steps.
struct wide_source {
    const short* const* slices;
    int width;
    int planes;
    q18_point pixelStep;
    q18_point slabStep;
};

static inline bool whole_samples(const q18_point& step) {
    return ((step.x | step.y | step.z) & 0x3ffff) == 0;
}

/// Whether columns first to last lie in the raster, neighbours included, at this plane.
static inline bool inside_row(const wide_source& source, std::int64_t x, int columns) {
    const std::int64_t end = x + static_cast<std::int64_t>(source.pixelStep.x) * (columns - 1);
    const std::int64_t beyond = static_cast<std::int64_t>(source.width - 1) << 18;
    return x >= 0 && end >= 0 && x < beyond && end < beyond;
}

static inline bool moves_along_row(const q18_point& step) {
    return step.y == 0 && step.z == 0 && step.x <= (2 << 18) && step.x >= -(2 << 18);
}

static inline bool planes_side_by_side(const wide_source& source) {
    const q18_point& step = source.slabStep;
    return source.planes == 1 || (step.x == (1 << 18) && step.y == 0 && step.z == 0);
}

static inline run_shape shape_of_run(const wide_source& source, const q18_point& start, int columns) {
    const q18_point& step = source.pixelStep;
    if (source.width < 8 || source.width > 32767 || source.planes < 1) return kAnywhere;
    const std::int64_t lastPlane =
        start.x + static_cast<std::int64_t>(source.slabStep.x) * (source.planes - 1);
    if (!inside_row(source, start.x, columns) || !inside_row(source, lastPlane, columns)) return kAnywhere;
    // the three lowest bits of a fraction are never used
    const bool whole = ((start.x | start.y | start.z) & 0x3fff8) == 0 && whole_samples(source.slabStep) &&
                       whole_samples(step);
    if (moves_along_row(step)) {
        const bool unit = (step.x == (1 << 18) || step.x == -(1 << 18)) && columns >= 16;
        return unit && whole ? kOnGrid : unit && step.x > 0 ? kUnitSteps : kAlongRow;
    }
    return whole && planes_side_by_side(source) ? kSegments : kAnywhere;
}

}  // namespace rz_obl
