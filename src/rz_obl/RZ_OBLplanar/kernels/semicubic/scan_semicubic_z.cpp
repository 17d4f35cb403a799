#include "rz_obl/RZ_OBLplanar/kernels/semicubic/cubic_poly.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/linear_stage.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk.h"

namespace rz_obl {

namespace {

/// Cubic along x, then y, in slices zi and zi + 1; linear along z, by all 18 bits of the fraction.
class SemicubicZ : serpentine_source {
  public:
    explicit SemicubicZ(const scan_args_16& args)
        : serpentine_source(args), readableEnd_(wrap_sub(wrap_mul(args.sourceWidth, args.sourceHeight), 8)) {}

    std::int32_t sample(__m128i position) const {
        const __m128i index = index_lanes(position);
        if (!inside.contains(index) || !last_row_readable(index)) return 0;

        const __m128i weights =
            catmull_rom_weights(_mm_shuffle_epi8(fractions_15(position), pick_axes(0, 1)));
        const short* const* const slice = slices + _mm_extract_epi32(index, 2);
        const std::ptrdiff_t corner = corner_offset(index, offsetFactors, width);
        const __m128i p = along_x(slice[0] + corner, weights);
        const __m128i q = along_x(slice[1] + corner, weights);
        const __m128i rows = _mm_packs_epi32(p, q);  // slice zi: y-1 y y+1 y+2 | slice zi + 1: the same
        const __m128i ab = cubic_poly(rows, upper_twice(weights));
        return blend_18(_mm_cvtsi128_si32(ab), _mm_extract_epi32(ab, 1), _mm_extract_epi32(position, 2));
    }

  private:
    /// required: rows near the raster's last 8 samples are dropped, in this kernel only.
    bool last_row_readable(__m128i index) const {
        const std::int32_t xi = _mm_cvtsi128_si32(index);
        const std::int32_t yi = _mm_extract_epi32(index, 1);
        return wrap_add(wrap_sub(wrap_mul(yi + 2, width), 1), xi) < readableEnd_;
    }

    /// 32-bit lanes: rows y-1, y, y+1, y+2.
    __m128i along_x(const short* samples, __m128i weights) const {
        const std::ptrdiff_t w = width;
        return cubic_poly(read_quads(samples, samples + w), read_quads(samples + 2 * w, samples + 3 * w),
                          lower_twice(weights));
    }

    std::int32_t readableEnd_;
};

}  // namespace

void scan_semicubic_z(const scan_args_16& args) {
    scan_serpentine<SemicubicZ>(args);
}

}  // namespace rz_obl
