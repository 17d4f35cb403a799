#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_poly.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/linear_stage.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk.h"

namespace rz_obl {

namespace {

/// Cubic along x, then z, in rows yi and yi + 1; linear along y, by 15 bits of the fraction.
class SemicubicY : serpentine_source {
  public:
    using serpentine_source::serpentine_source;

    std::int32_t sample(__m128i position) const {
        const __m128i index = index_lanes(position);
        if (!inside.contains(index)) return 0;

        const __m128i weights =
            catmull_rom_weights(_mm_shuffle_epi8(fractions_15(position), pick_axes(0, 2)));
        const short* const* const slice = slices + _mm_extract_epi32(index, 2);
        const std::ptrdiff_t row = corner_offset(index, offsetFactors, width) + width;
        const __m128i p = along_x(slice, row, weights);
        const __m128i q = along_x(slice, row + width, weights);
        const __m128i quads = _mm_packs_epi32(p, q);  // row yi: z-1 z z+1 z+2 | row yi + 1: the same
        const __m128i ab = cubic_poly(quads, upper_twice(weights));
        return blend_15(_mm_cvtsi128_si32(ab), _mm_extract_epi32(ab, 1), _mm_extract_epi32(position, 1));
    }

  private:
    /// 32-bit lanes: slices z-1, z, z+1, z+2.
    static __m128i along_x(const short* const* slice, std::ptrdiff_t offset, __m128i weights) {
        return cubic_poly(read_quads(slice[-1] + offset, slice[0] + offset),
                          read_quads(slice[1] + offset, slice[2] + offset), lower_twice(weights));
    }
};

}  // namespace

void scan_semicubic_y(const scan_args_16& args) {
    scan_serpentine<SemicubicY>(args);
}

}  // namespace rz_obl
