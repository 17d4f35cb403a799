#pragma once

#include <smmintrin.h>

#include <cstddef>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

// The 4x4x4 samples about a position, in the order of a weight entry. `static inline`, since wide files
// include this too.

namespace rz_obl {

/// Copies 64 samples into buffer, two rows of four per register: element 16 x k + 4 x j + i is the sample at
/// (i - 1, j - 1, k - 1) from the sample that (X, Y, Z), in Q18, lies in. The caller has made sure of x and
/// y; guard entries serve z.
static inline void gather_neighbourhood_16(const short* const* slices, std::int32_t X, std::int32_t Y,
                                           std::int32_t Z, int sourceWidth, __m128i buffer[8]) {
    const std::ptrdiff_t x = (X >> 18) - 1;
    const std::int32_t y = (Y >> 18) - 1;
    const short* const* slice = slices + ((Z >> 18) - 1);
    const std::ptrdiff_t row0 = wrap_mul(y, sourceWidth) + x;
    const std::ptrdiff_t row1 = wrap_mul(y + 1, sourceWidth) + x;
    const std::ptrdiff_t row2 = wrap_mul(y + 2, sourceWidth) + x;
    const std::ptrdiff_t row3 = wrap_mul(y + 3, sourceWidth) + x;
    const auto four = [](const short* samples) {
        return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(samples));
    };
    for (int k = 0; k < 4; ++k) {
        const short* raster = slice[k];
        buffer[2 * k] = _mm_unpacklo_epi64(four(raster + row0), four(raster + row1));      // j 0 | j 1
        buffer[2 * k + 1] = _mm_unpacklo_epi64(four(raster + row2), four(raster + row3));  // j 2 | j 3
    }
}

}  // namespace rz_obl
