#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"

#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_poly.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk.h"

namespace rz_obl {

namespace {

/// p0 p1 p2 p3 in the lower four 16-bit lanes to 32-bit lanes c0 c1 c2 c3.
__m128i coefficients(__m128i p) {
    const __m128i twice = _mm_unpacklo_epi64(p, p);
    const __m128i c01 = _mm_madd_epi16(twice, _mm_setr_epi16(0, 2, 0, 0, -1, 0, 1, 0));
    const __m128i c23 = _mm_madd_epi16(twice, _mm_setr_epi16(2, -5, 4, -1, -1, 3, -3, 1));
    return _mm_hadd_epi32(c01, c23);
}

/// Powers 0 to 3 of a 15-bit fraction at a scale of 2^15, the lowest bit of the first one lost.
__m128i powers(std::int32_t f) {
    const std::int32_t square = ((f * f) >> 16) << 1;
    const std::int32_t cube = ((square * f) >> 16) << 1;
    return _mm_setr_epi32(0x8000, (f >> 1) << 1, square, cube);
}

/// required: each product wraps and is rounded down by itself, so samples beyond some 5400 may wrap; the sum
/// does not repair it.
std::int32_t cubic_by_terms(__m128i p, std::int32_t f) {
    const __m128i terms = _mm_srai_epi32(_mm_mullo_epi32(coefficients(p), powers(f)), 16);
    const __m128i pairs = _mm_hadd_epi32(terms, terms);
    return _mm_cvtsi128_si32(_mm_hadd_epi32(pairs, pairs));
}

/// Cubic along x, y and z over four slices.
class Tricubic : serpentine_source {
  public:
    using serpentine_source::serpentine_source;

    std::int32_t sample(__m128i position) const {
        const __m128i index = index_lanes(position);
        if (!inside.contains(index)) return 0;

        const __m128i fractions = fractions_15(position);
        const __m128i weights = catmull_rom_weights(_mm_shuffle_epi8(fractions, pick_axes(0, 1)));
        const short* const* const slice = slices + _mm_extract_epi32(index, 2);
        const std::ptrdiff_t corner = corner_offset(index, offsetFactors, width);
        const __m128i z01 = along_x(slice[-1] + corner, slice[0] + corner, weights);
        const __m128i z23 = along_x(slice[1] + corner, slice[2] + corner, weights);
        const __m128i along_y = cubic_poly(z01, z23, upper_twice(weights));  // z-1 z z+1 z+2
        return cubic_by_terms(_mm_packs_epi32(along_y, along_y), _mm_extract_epi32(fractions, 2));
    }

  private:
    /// 16-bit lanes: rows y-1, y, y+1, y+2 of slice p | of slice q.
    __m128i along_x(const short* p, const short* q, __m128i weights) const {
        const std::ptrdiff_t w = width;
        const __m128i wx = lower_twice(weights);
        return _mm_packs_epi32(cubic_poly(read_quads(p, p + w), read_quads(p + 2 * w, p + 3 * w), wx),
                               cubic_poly(read_quads(q, q + w), read_quads(q + 2 * w, q + 3 * w), wx));
    }
};

}  // namespace

void scan_tricubic(const scan_args_16& args) {
    scan_serpentine<Tricubic>(args);
}

}  // namespace rz_obl
