#include <emmintrin.h>

#include <cmath>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/rz_oblique/subtraction_plane/row_operations.h"

namespace {

__m128i load(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

void store(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

}  // namespace

void rz_obl::subtract_row_16(std::int16_t* output, const std::int16_t* other, int columns, int bitDepth,
                             bool isSigned, std::int16_t offset) {
    constexpr int kBlock = 8;
    const int greatest = trunc_to_int(std::pow(2.0, static_cast<double>(bitDepth)) - 1.0);
    const __m128i limit = _mm_set1_epi16(static_cast<short>(low16(greatest)));
    const __m128i shift = _mm_set1_epi16(offset);
    for (int i = 0; i < columns; i += kBlock) {
        const __m128i o = load(output + i);
        const __m128i x = load(other + i);
        if (isSigned) {
            store(output + i, _mm_subs_epi16(o, x));
        } else {
            // required: the comparison with the limit is signed, so that 0x8000 and above pass it
            store(output + i, _mm_min_epi16(_mm_subs_epu16(_mm_adds_epu16(o, shift), x), limit));
        }
    }
}

void rz_obl::subtract_row_8(std::uint8_t* output, const std::uint8_t* other, int columns, bool isSigned,
                            std::uint8_t offset) {
    constexpr int kBlock = 16;
    const __m128i f = _mm_set1_epi8(static_cast<char>(offset));
    for (int i = 0; i < columns; i += kBlock) {
        const __m128i o = load(output + i);
        const __m128i x = load(other + i);
        if (isSigned) {
            store(output + i, _mm_subs_epi8(o, x));
        } else {
            const __m128i above = _mm_subs_epu8(x, f);
            const __m128i below = _mm_subs_epu8(f, x);
            store(output + i, _mm_adds_epu8(_mm_subs_epu8(o, above), below));
        }
    }
}
