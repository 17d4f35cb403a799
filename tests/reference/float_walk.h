#pragma once

#include <algorithm>
#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// Toward zero; what does not fit gives the least integer.
inline std::int32_t truncated(double x) {
    if (x > -2147483649.0 && x < 2147483648.0) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

/// sum / n in single precision, halves away from zero.
inline std::int32_t rounded_mean(std::int32_t sum, int n) {
    float mean = static_cast<float>(sum) / static_cast<float>(n);
    if (mean >= 0.0F) {
        mean = mean + 0.5F;
    } else {
        mean = mean - 0.5F;
    }
    return truncated(static_cast<double>(mean));
}

/// The walk of the 8-bit and 32-bit kernels, in samples and single precision. scanPlane(x, y, z) for each
/// plane of a pixel, then endPixel(output sample, n). shift: half a sample in x and y at the start of each
/// run.
template <class Sample, class ScanPlane, class EndPixel>
void float_walk(const rz_obl::scan_args<Sample, float>& args, bool shift, rz_test::Branches& branches,
                ScanPlane scanPlane, EndPixel endPixel) {
    const int n = 2 * args.slabSteps + 1;
    const float nf = static_cast<float>(n);
    float back[3];
    for (int k = 0; k < 3; ++k) {
        const float wholeSlab = nf * args.slabStep[k];
        back[k] = args.columnStep[k] - wholeSlab;
    }
    int firstRowSeen = -1;
    int lastRowSeen = 0;
    int leastColumn = args.rowStride;
    int greatestColumn = 0;

    for (int row = 0; row < args.rowCount; ++row) {
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (first == last) branches.met("span of one column");
        if (first > last) branches.met("empty span");
        if (first >= last) continue;
        if (firstRowSeen == -1) firstRowSeen = row;
        lastRowSeen = row;
        leastColumn = std::min<int>(leastColumn, first);
        greatestColumn = std::max<int>(greatestColumn, last);

        float at[3];
        for (int k = 0; k < 3; ++k) {
            const float rowPart = static_cast<float>(row) * args.planeToIndex[1][k];
            const float columnPart = static_cast<float>(first) * args.planeToIndex[0][k];
            const float inPlane = rowPart + columnPart;
            at[k] = inPlane + args.planeToIndex[3][k];
        }
        if (args.slabSteps > 0) {
            for (int k = 0; k < 3; ++k) {
                const float halfSlab = static_cast<float>(args.slabSteps) * args.slabStep[k];
                at[k] = at[k] - halfSlab;
            }
        }
        if (shift) {
            branches.met("shift by half a sample");
            at[0] = at[0] + 0.5F;
            at[1] = at[1] + 0.5F;
        }
        if (0.0F > at[0]) branches.met("x clamped at the start of a run");
        if (0.0F > at[1]) branches.met("y clamped at the start of a run");
        if (0.0F > at[0]) at[0] = 0.0F;
        if (0.0F > at[1]) at[1] = 0.0F;
        if (args.slabSteps < 0) branches.met("no plane at all");
        if (args.slabSteps > 0) branches.met("slab");

        for (int column = first; column <= last; ++column) {
            for (int plane = 0; plane < n; ++plane) {
                if (at[0] < 0.0F) branches.met("negative x in a run");
                if (at[1] < 0.0F) branches.met("negative y in a run");
                if (at[2] < 0.0F) branches.met("negative z");
                scanPlane(at[0], at[1], at[2]);
                for (int k = 0; k < 3; ++k) at[k] = at[k] + args.slabStep[k];
            }
            for (int k = 0; k < 3; ++k) at[k] = at[k] + back[k];
            endPixel(args.output[row * args.rowStride + column], n);
        }
    }

    if (firstRowSeen == -1) branches.met("no row seen");
    *args.firstRow = std::min(*args.firstRow, firstRowSeen == -1 ? 0 : firstRowSeen);
    *args.firstColumn = std::min(*args.firstColumn, leastColumn);
    *args.lastRow = std::max(*args.lastRow, lastRowSeen);
    *args.lastColumn = std::max(*args.lastColumn, greatestColumn);
}

}  // namespace rz_reference
