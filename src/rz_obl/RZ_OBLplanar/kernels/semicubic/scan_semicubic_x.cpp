#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_poly.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/linear_stage.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk.h"

namespace rz_obl {

namespace {

/// Cubic along y, then z, in columns xi and xi + 1; linear along x, by 15 bits of the fraction.
class SemicubicX : serpentine_source {
  public:
    using serpentine_source::serpentine_source;

    std::int32_t sample(__m128i position) const {
        const __m128i index = index_lanes(position);
        if (!inside.contains(index)) return 0;

        const __m128i weights =
            catmull_rom_weights(_mm_shuffle_epi8(fractions_15(position), pick_axes(1, 2)));
        const short* const* const slice = slices + _mm_extract_epi32(index, 2);
        const std::ptrdiff_t column = corner_offset(index, offsetFactors, width) + 1;
        const __m128i z01 = along_y(slice[-1] + column, slice[0] + column, weights);
        const __m128i z23 = along_y(slice[1] + column, slice[2] + column, weights);
        const __m128i columns = by_column(_mm_packs_epi32(z01, z23));  // xi: z-1 z z+1 z+2 | xi + 1: the same
        const __m128i ab = cubic_poly(columns, upper_twice(weights));
        return blend_15(_mm_cvtsi128_si32(ab), _mm_extract_epi32(ab, 1), _mm_cvtsi128_si32(position));
    }

  private:
    /// 16-bit lanes a0 b0 a1 b1 a2 b2 a3 b3 to a0 a1 a2 a3 | b0 b1 b2 b3.
    static __m128i by_column(__m128i pairs) {
        return _mm_shuffle_epi8(pairs, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15));
    }

    /// Columns xi and xi + 1 of four rows: xi: y-1 y y+1 y+2 | xi + 1: the same.
    __m128i read_columns(const short* samples) const {
        const std::ptrdiff_t w = width;
        __m128i pairs = _mm_cvtsi32_si128(read_pair(samples));
        pairs = _mm_insert_epi32(pairs, read_pair(samples + w), 1);
        pairs = _mm_insert_epi32(pairs, read_pair(samples + 2 * w), 2);
        return by_column(_mm_insert_epi32(pairs, read_pair(samples + 3 * w), 3));
    }

    /// 32-bit lanes: xi in slice p, xi + 1 in p, xi in q, xi + 1 in q.
    __m128i along_y(const short* p, const short* q, __m128i weights) const {
        return cubic_poly(read_columns(p), read_columns(q), lower_twice(weights));
    }
};

}  // namespace

void scan_semicubic_x(const scan_args_16& args) {
    scan_serpentine<SemicubicX>(args);
}

}  // namespace rz_obl
