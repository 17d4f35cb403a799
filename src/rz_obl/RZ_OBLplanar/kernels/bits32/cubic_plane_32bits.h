#pragma once

#include <math.h>
#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

// One plane of the cubic 32-bit kernels, which differ in the multiply-add only. `static inline`, since the
// wide kernel includes this too.

namespace rz_obl {

/// Copies 64 pixels, four per register, in the order of a weight entry. Nothing is tested: at the outer rows
/// and columns this reads a row before and a row behind the raster.
static inline void gather_neighbourhood_32(const std::uint32_t* const* slices, float x, float y, float z,
                                           int sourceWidth, __m128i pixels[16]) {
    const std::uint32_t* const* slice = slices + (trunc_to_int(z) - 1);
    const std::int32_t iy = trunc_to_int(y);
    const std::ptrdiff_t ix = trunc_to_int(x);
    for (int j = 0; j < 4; ++j) {
        const std::ptrdiff_t offset = wrap_mul(iy - 1 + j, sourceWidth) + ix - 1;
        for (int k = 0; k < 4; ++k) {
            pixels[4 * k + j] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(slice[k] + offset));
        }
    }
}

/// Position among the 64 of the weight table. The limit catches a fraction that rounds up to 1.
static inline std::int32_t table_position(float x) {
    const std::int32_t position = trunc_to_int((x - floorf(x)) * 64.0F);
    const std::int32_t raised = position > 0 ? position : 0;
    return raised < 63 ? raised : 63;
}

/// MultiplyAdd::products(pixels, entry, sums): per channel, the 64 products summed into four lanes.
template <class MultiplyAdd>
class CubicPlane {
  public:
    explicit CubicPlane(const scan_args_32& args)
        : slices_(args.slices), weights_(g_cubicWeightTable.weights), sourceWidth_(args.sourceWidth) {}

    __m128i operator()(const float_point& p) const {
        __m128i pixels[16];
        gather_neighbourhood_32(slices_, p.x, p.y, p.z, sourceWidth_, pixels);
        const std::int32_t entry =
            (table_position(p.z) * 64 + table_position(p.y)) * 64 + table_position(p.x);
        __m128i sums[3];
        MultiplyAdd::products(pixels, weights_ + entry * 64, sums);
        const __m128i channels01 = _mm_hadd_epi32(sums[0], sums[1]);
        const __m128i channel2 = _mm_hadd_epi32(sums[2], _mm_setzero_si128());
        const __m128i channels = _mm_hadd_epi32(channels01, channel2);  // 0 1 2 and zero
        const __m128i values = _mm_srai_epi32(_mm_add_epi32(channels, _mm_set1_epi32(8192)), 14);
        return _mm_min_epi32(_mm_max_epi32(values, _mm_setzero_si128()), _mm_set1_epi32(255));
    }

  private:
    const std::uint32_t* const* slices_;
    const short* weights_;
    int sourceWidth_;
};

}  // namespace rz_obl
