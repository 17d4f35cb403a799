// Compiled for AVX2: one entry, everything else unnamed or `static inline`.

#include <immintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/cubic_sampler_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/walk_32bits.h"

namespace rz_obl {
namespace {

struct SixteenLanes {
    static void products(const __m128i pixels[16], const short* entry, __m128i sums[3]) {
        const __m256i* weights = reinterpret_cast<const __m256i*>(entry);
        const __m256i byte = _mm256_set1_epi32(0xff);
        __m256i wide[3];
        for (int c = 0; c < 3; ++c) wide[c] = _mm256_setzero_si256();
        for (int k = 0; k < 4; ++k) {
            const __m256i sixteen = _mm256_loadu_si256(weights + k);
            // Rows paired so that the pack, which works per half, leaves j in order.
            const __m256i rows02 = _mm256_set_m128i(pixels[4 * k + 2], pixels[4 * k]);
            const __m256i rows13 = _mm256_set_m128i(pixels[4 * k + 3], pixels[4 * k + 1]);
            for (int c = 0; c < 3; ++c) {
                const __m256i a = _mm256_and_si256(_mm256_srli_epi32(rows02, 8 * c), byte);
                const __m256i b = _mm256_and_si256(_mm256_srli_epi32(rows13, 8 * c), byte);
                const __m256i samples = _mm256_packus_epi32(a, b);  // j 0 1 | j 2 3
                wide[c] = _mm256_add_epi32(wide[c], _mm256_madd_epi16(samples, sixteen));
            }
        }
        for (int c = 0; c < 3; ++c) {
            sums[c] = _mm_add_epi32(_mm256_castsi256_si128(wide[c]), _mm256_extracti128_si256(wide[c], 1));
        }
    }
};

}  // namespace

void scan_cubic_32bits_avx2(const scan_args_32& args) {
    walk_32bits<CubicSampler<SixteenLanes>>(args);
}

}  // namespace rz_obl
