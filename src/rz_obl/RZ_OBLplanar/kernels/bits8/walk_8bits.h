#pragma once

#include <limits>

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// The walk that the three 8-bit kernels share: float positions, one trilinear sample per plane, and a rule
// that reduces the planes of a pixel.

namespace rz_obl {

/// Two rows of one slice: raster points to the left sample of the upper row.
template <class Byte>
inline float bilinear_8(const Byte* raster, int sourceWidth, float fx, float fy) {
    const auto sample = [raster](std::ptrdiff_t offset) { return static_cast<float>(raster[offset]); };
    const std::ptrdiff_t below = sourceWidth;
    return (sample(0) * (1.0F - fx) + sample(1) * fx) * (1.0F - fy) +
           (sample(below) * (1.0F - fx) + sample(below + 1) * fx) * fy;
}

/// A plane's value at p. Byte says whether the samples are signed.
template <class Byte>
inline std::int32_t trilinear_8(const scan_args_8& args, const float_point& p, float limitX, float limitY) {
    const float x = p.x < limitX ? p.x : limitX;
    const float y = p.y < limitY ? p.y : limitY;
    const std::int32_t ix = trunc_to_int(x);
    const std::int32_t iy = trunc_to_int(y);
    const std::int32_t iz = trunc_to_int(p.z);
    const float fx = x - static_cast<float>(ix);
    const float fy = y - static_cast<float>(iy);
    const float fz = p.z - static_cast<float>(iz);

    const std::int32_t offset = wrap_add(wrap_mul(iy, args.sourceWidth), ix);
    const Byte* near = reinterpret_cast<const Byte*>(args.slices[iz]) + offset;
    const Byte* far = reinterpret_cast<const Byte*>(args.slices[iz + 1]) + offset;
    float v = bilinear_8(near, args.sourceWidth, fx, fy) * (1.0F - fz) +
              bilinear_8(far, args.sourceWidth, fx, fy) * fz;

    constexpr float kLeast = std::numeric_limits<Byte>::min();
    constexpr float kGreatest = std::numeric_limits<Byte>::max();
    v = v < kGreatest ? v : kGreatest;  // a NaN falls here
    v = v > kLeast ? v : kLeast;
    // required: not symmetric about 0, so that a signed -3 gives -2
    return static_cast<Byte>(static_cast<std::uint32_t>(trunc_to_int(static_cast<double>(v) + 0.5)));
}

/// Reduction: kEmpty, the value before the first plane; add(so far, value); result(so far, count of planes).
template <class Byte, class Reduction>
inline void walk_8bits_of(const scan_args_8& args) {
    const int planes = 2 * args.slabSteps + 1;
    const float planesF = static_cast<float>(planes);
    const float_point slabStep = float_step(args.slabStep);
    const float_point toNextPixel = float_step(args.columnStep) - planesF * slabStep;
    const float limitX = static_cast<float>(args.sourceWidth - 1) - 0.01F;
    const float limitY = static_cast<float>(args.sourceHeight - 1) - 0.01F;

    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    unsigned char* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;
        visit_row(seen, row, first, last);

        // Steps add up in float: their rounding along the row is part of the result.
        float_point p = run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep);
        for (int column = first; column <= last; ++column) {
            std::int32_t reduced = Reduction::kEmpty;
            for (int plane = 0; plane < planes; ++plane) {
                reduced = Reduction::add(reduced, trilinear_8<Byte>(args, p, limitX, limitY));
                p = p + slabStep;
            }
            outputRow[column] = static_cast<unsigned char>(Reduction::result(reduced, planesF) & 0xff);
            p = p + toNextPixel;
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

template <class Reduction>
inline void walk_8bits(const scan_args_8& args) {
    if (args.isSigned) {
        walk_8bits_of<std::int8_t, Reduction>(args);
    } else {
        walk_8bits_of<std::uint8_t, Reduction>(args);
    }
}

}  // namespace rz_obl
