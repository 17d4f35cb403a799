#include "rz_obl/RZ_OBLplanar/kernels/bits32/cubic_sampler_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/walk_32bits.h"

namespace rz_obl {
namespace {

struct EightLanes {
    static void products(const __m128i pixels[16], const short* entry, __m128i sums[3]) {
        const __m128i* weights = reinterpret_cast<const __m128i*>(entry);
        const __m128i byte = _mm_set1_epi32(0xff);
        for (int c = 0; c < 3; ++c) sums[c] = _mm_setzero_si128();
        for (int i = 0; i < 8; ++i) {
            const __m128i eight = _mm_loadu_si128(weights + i);
            for (int c = 0; c < 3; ++c) {
                const __m128i a = _mm_and_si128(_mm_srli_epi32(pixels[2 * i], 8 * c), byte);
                const __m128i b = _mm_and_si128(_mm_srli_epi32(pixels[2 * i + 1], 8 * c), byte);
                sums[c] = _mm_add_epi32(sums[c], _mm_madd_epi16(_mm_packus_epi32(a, b), eight));
            }
        }
    }
};

}  // namespace

void scan_cubic_32bits(const scan_args_32& args) {
    walk_32bits<CubicSampler<EightLanes>>(args);
}

}  // namespace rz_obl
