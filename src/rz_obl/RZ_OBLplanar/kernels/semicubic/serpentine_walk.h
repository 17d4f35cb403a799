#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/trilinear_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_run.h"

// The walk that the semi-cubic kernels and scan_tricubic share: forward through the slab at one pixel,
// backward at the next, so that a pixel's first plane lies next to the last plane of the pixel before.

namespace rz_obl {

/// required: divided by all planes, dropped ones as well, toward zero.
static inline std::int32_t mean_of_planes(std::int32_t sum, std::int32_t planes, const mean_range& range) {
    std::int32_t mean = planes == 1 ? sum : sum / planes;
    mean = mean < range.greatest ? mean : range.greatest;
    return mean > range.least ? mean : range.least;
}

/// The sample positions around which a kernel finds its neighbourhood in x and y: xi in [1, W - 3], yi in
/// [1, T - 3]. z is not tested, the guard slices serve.
class interior {
  public:
    interior(int sourceWidth, int sourceHeight)
        : below_(_mm_setr_epi32(0, 0, INT32_MIN, INT32_MIN)),
          above_(_mm_setr_epi32(wrap_sub(sourceWidth, 2), wrap_sub(sourceHeight, 2), INT32_MAX, INT32_MAX)) {}

    bool contains(__m128i index) const {
        const __m128i inside = _mm_and_si128(_mm_cmpgt_epi32(index, below_), _mm_cmpgt_epi32(above_, index));
        return _mm_movemask_epi8(inside) == 0xffff;
    }

  private:
    __m128i below_;
    __m128i above_;
};

/// Index of a position, 14 bits in 32-bit lanes: xi yi zi 0.
static inline __m128i index_lanes(__m128i position) {
    return _mm_srai_epi32(position, 18);
}

/// Offset of sample (xi - 1, yi - 1), the corner of a 4 x 4 neighbourhood.
static inline std::ptrdiff_t corner_offset(__m128i index, __m128i offsetFactors, int sourceWidth) {
    const __m128i products = _mm_madd_epi16(_mm_packs_epi32(index, index), offsetFactors);
    return static_cast<std::ptrdiff_t>(_mm_cvtsi128_si32(products)) - sourceWidth - 1;
}

/// What every sampler of this walk reads.
struct serpentine_source {
    explicit serpentine_source(const scan_args_16& args)
        : slices(args.slices),
          width(args.sourceWidth),
          offsetFactors(offset_factors(args.sourceWidth)),
          inside(args.sourceWidth, args.sourceHeight) {}

    const short* const* slices;
    int width;
    __m128i offsetFactors;
    interior inside;
};

/// Walks all runs. Sampler(args) has `std::int32_t sample(__m128i position) const`, which gives 0 for a plane
/// that it drops.
template <class Sampler>
static inline void scan_serpentine(const scan_args_16& args) {
    const Sampler sampler(args);
    const std::int32_t planes = planes_of_slab(args.slabSteps);
    const mean_range range = range_of_depth(args.isSigned, args.bitDepth);
    const __m128i columnStep = position_lanes(q18_step(args.columnStep));
    const __m128i slabStep = position_lanes(q18_step(args.slabStep));

    dirty_bounds seen = no_rows_seen(args.rowStride);
    for (int row = 0; row < args.rowCount; ++row) {
        const int first = args.rowSpans[2 * row];
        const int last = args.rowSpans[2 * row + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);

        short* const outputRow = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride;
        __m128i position = position_lanes(serpentine_start(args, row, first));
        __m128i toNextPlane = slabStep;
        for (int column = first; column <= last; ++column) {
            std::int32_t sum = 0;
            for (std::int32_t plane = 0; plane < planes; ++plane) {
                sum = wrap_add(sum, sampler.sample(position));
                position = _mm_add_epi32(position, toNextPlane);
            }
            outputRow[column] = static_cast<short>(mean_of_planes(sum, planes, range));
            // One step past the slab's far side; turn round and step back in.
            position = _mm_add_epi32(position, columnStep);
            toNextPlane = _mm_sub_epi32(_mm_setzero_si128(), toNextPlane);
            position = _mm_add_epi32(position, toNextPlane);
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
