// Compiled for AVX2: one entry, everything else unnamed or `static inline`.

#include <immintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/walk_cubic.h"

namespace rz_obl {
namespace {

struct SixteenLanes {
    static __m128i products(const __m128i buffer[8], const short* entry) {
        const __m256i* weights = reinterpret_cast<const __m256i*>(entry);
        __m256i sum = _mm256_setzero_si256();
        for (int k = 0; k < 4; ++k) {
            const __m256i slice = _mm256_set_m128i(buffer[2 * k + 1], buffer[2 * k]);  // j 0 1 | j 2 3
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(slice, _mm256_loadu_si256(weights + k)));
        }
        return _mm_add_epi32(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
    }
};

}  // namespace

void scan_cubic_avx2(const scan_args_16& args) {
    walk_cubic<SixteenLanes>(args);
}

}  // namespace rz_obl
