#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/walk_cubic.h"

namespace rz_obl {
namespace {

struct EightLanes {
    static __m128i products(const __m128i buffer[8], const short* entry) {
        const __m128i* weights = reinterpret_cast<const __m128i*>(entry);
        __m128i sum = _mm_madd_epi16(buffer[0], _mm_loadu_si128(weights));
        for (int i = 1; i < 8; ++i) {
            sum = _mm_add_epi32(sum, _mm_madd_epi16(buffer[i], _mm_loadu_si128(weights + i)));
        }
        return sum;
    }
};

}  // namespace

void scan_cubic_sse(const scan_args_16& args) {
    walk_cubic<EightLanes>(args);
}

}  // namespace rz_obl
