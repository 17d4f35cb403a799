#pragma once

#include <algorithm>
#include <iterator>
#include <vector>

#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/max_min.h"
#include "tests/reference/scan_steps.h"
#include "tests/support/branches.h"
#include "tests/support/hand_made.h"

// What the tests of maximum and minimum share.

namespace rz_test {

using Kernel = void (*)(const rz_obl::scan_args_16&, bool);
using Reference = void (*)(const rz_obl::scan_args_16&, bool, Branches&);

struct NamedKernel {
    const char* name;
    Kernel kernel;
    Reference reference;
    bool isMaximum;
    bool isPixelMajor;
};

constexpr NamedKernel kMaxPlaneMajor = {"maximum, plane-major", rz_obl::scan_max_plane_major,
                                        rz_reference::scan_max_plane_major, true, false};
constexpr NamedKernel kMinPlaneMajor = {"minimum, plane-major", rz_obl::scan_min_plane_major,
                                        rz_reference::scan_min_plane_major, false, false};
constexpr NamedKernel kMaxPixelMajor = {"maximum, pixel-major", rz_obl::scan_max_pixel_major,
                                        rz_reference::scan_max_pixel_major, true, true};
constexpr NamedKernel kMinPixelMajor = {"minimum, pixel-major", rz_obl::scan_min_pixel_major,
                                        rz_reference::scan_min_pixel_major, false, true};
constexpr NamedKernel kAllKernels[] = {kMaxPlaneMajor, kMinPlaneMajor, kMaxPixelMajor, kMinPixelMajor};

/// Eight lanes of each.
constexpr NamedKernel kWideKernels[] = {
    {"maximum, plane-major, wide", rz_obl::scan_max_plane_major_avx2, rz_reference::scan_max_plane_major,
     true, false},
    {"minimum, plane-major, wide", rz_obl::scan_min_plane_major_avx2, rz_reference::scan_min_plane_major,
     false, false},
    {"maximum, pixel-major, wide", rz_obl::scan_max_pixel_major_avx2, rz_reference::scan_max_pixel_major,
     true, true},
    {"minimum, pixel-major, wide", rz_obl::scan_min_pixel_major_avx2, rz_reference::scan_min_pixel_major,
     false, true},
};

/// All of them that this processor runs.
inline std::vector<NamedKernel> kernels_here() {
    std::vector<NamedKernel> kernels(std::begin(kAllKernels), std::end(kAllKernels));
    if (rz_obl::g_cpuFeatures.hasAvx2())
        kernels.insert(kernels.end(), std::begin(kWideKernels), std::end(kWideKernels));
    return kernels;
}

/// Runs a kernel on a raster that holds one value everywhere.
template <class Scan>
Outcome16 run_on(short content, const ScanCase16& c, Scan&& scan) {
    const auto scanFilled = [&](const rz_obl::scan_args_16& args) {
        std::fill_n(args.output, args.rowCount * args.rowStride, content);
        scan(args);
    };
    return run(scanFilled, c);
}

/// Shortens each span to the columns whose position lies inside, if a run starts in the plane and moves on by
/// step: for scans that do not sample the slab about each column.
inline void keep_columns_inside(ScanCase16& c, const rz_reference::Point& step, int columnsPerStep) {
    const auto shorten = [&](const rz_obl::scan_args_16& args) {
        for (int row = 0; row < args.rowCount; ++row) {
            short& first = args.rowSpans[2 * row];
            short& last = args.rowSpans[2 * row + 1];
            if (first >= last) continue;
            auto p = rz_reference::clamped(rz_reference::start_in_plane(args, row, first));
            for (int column = first; column <= last; column += columnsPerStep) {
                const int x = p[0] >> 18;
                const int y = p[1] >> 18;
                const int z = p[2] >> 18;
                const bool inside = x >= 0 && x <= c.sourceWidth - 2 && y >= 0 && y <= c.sourceHeight - 2 &&
                                    z >= -2 && z <= c.depth;
                if (!inside) {
                    last = static_cast<short>(column - 1);
                    break;
                }
                p = rz_reference::sum(p, step);
            }
        }
    };
    c.spans = run(shorten, c).spans;
}

/// Makes a case without a slab one with a negative count of planes now and then: the seed sample is written
/// all the same. The pixel-major walk then drifts by the slab step.
inline void maybe_take_all_planes(ScanCase16& c, bool isPixelMajor, bool fast) {
    if (c.slabSteps != 0 || c.seed % 9 != 0) return;
    c.slabSteps = c.seed % 2 == 0 ? -1 : -3;
    if (!isPixelMajor) return;
    const rz_reference::Point slabStep = rz_reference::as_point(c.slabStep.data());
    const rz_reference::Point columnStep = rz_reference::as_point(c.columnStep.data());
    const int n = 2 * c.slabSteps + 1;
    const auto step = rz_reference::sum(rz_reference::multiple(fast ? 2 : 1, columnStep),
                                        rz_reference::multiple(-n, slabStep));
    keep_columns_inside(c, step, fast ? 2 : 1);
}

}  // namespace rz_test
