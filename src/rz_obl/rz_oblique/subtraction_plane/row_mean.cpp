#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/rz_oblique/subtraction_plane/row_operations.h"

namespace {

template <class Sample>
const Sample* row_of(const void* raster, int row, int columns) {
    return static_cast<const Sample*>(raster) + rz_obl::wrap_mul(row, columns);
}

__m128i load16(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

__m128i load8(const void* p) {
    return _mm_loadl_epi64(static_cast<const __m128i*>(p));
}

void store16(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

/// Low bits of trunc(mean + 0.5) of samples of type Sample. The blocks before it scale in fixed point, so
/// that equal input may differ by one across the boundary.
template <class Sample, class Stored>
void mean_remainder(const std::vector<const void*>& slices, int row, int columns, int from,
                    Stored* destination) {
    const double reciprocal = 1.0 / static_cast<double>(slices.size());
    for (int i = from; i < columns; ++i) {
        std::int32_t sum = 0;
        for (const void* slice : slices) sum = rz_obl::wrap_add(sum, row_of<Sample>(slice, row, columns)[i]);
        destination[i] =
            static_cast<Stored>(rz_obl::trunc_to_int(static_cast<double>(sum) * reciprocal + 0.5));
    }
}

__m128i block_mean_16(const std::vector<const void*>& slices, int row, int columns, int i, __m128i scale,
                      bool isSigned) {
    __m128i sum = _mm_setzero_si128();
    for (const void* slice : slices) {
        const __m128i samples = load8(row_of<std::int16_t>(slice, row, columns) + i);
        sum = _mm_add_epi32(sum, isSigned ? _mm_cvtepi16_epi32(samples) : _mm_cvtepu16_epi32(samples));
    }
    const __m128i scaled = _mm_mullo_epi32(sum, scale);
    const __m128i zero = _mm_setzero_si128();
    return isSigned ? _mm_packs_epi32(_mm_srai_epi32(scaled, 10), zero)
                    : _mm_packus_epi32(_mm_srli_epi32(scaled, 10), zero);
}

__m128i block_mean_8(const std::vector<const void*>& slices, int row, int columns, int i, __m128i scale,
                     bool isSigned) {
    const __m128i zero = _mm_setzero_si128();
    __m128i sum = zero;
    for (const void* slice : slices) {
        const __m128i bytes = load8(row_of<std::uint8_t>(slice, row, columns) + i);
        if (isSigned) {
            // required: widened by pairs, so that bytes 1 1 3 3 5 5 7 7 are taken and the even ones never
            // read
            sum = _mm_adds_epi16(sum, _mm_srai_epi16(_mm_unpacklo_epi16(bytes, bytes), 8));
        } else {
            sum = _mm_adds_epu16(sum, _mm_unpacklo_epi8(bytes, zero));
        }
    }
    return isSigned ? _mm_packs_epi16(_mm_mulhi_epi16(sum, scale), zero)
                    : _mm_packus_epi16(_mm_mulhi_epu16(sum, scale), zero);
}

}  // namespace

void rz_obl::row_mean_16(const std::vector<const void*>& slices, int row, int columns,
                         std::int16_t* destination, bool isSigned) {
    constexpr int kBlock = 4;
    const int remainder = remainder_start(columns, kBlock);
    const double reciprocal = 1.0 / static_cast<double>(slices.size());
    const __m128i scale = _mm_set1_epi32(trunc_to_int(reciprocal * 1023.0 + 0.5));
    for (int i = 0; i < remainder; i += kBlock) {
        store16(destination + i, slices.size() == 1
                                     ? load16(row_of<std::int16_t>(slices[0], row, columns) + i)
                                     : block_mean_16(slices, row, columns, i, scale, isSigned));
    }
    isSigned ? mean_remainder<std::int16_t>(slices, row, columns, remainder, destination)
             : mean_remainder<std::uint16_t>(slices, row, columns, remainder, destination);
}

void rz_obl::row_mean_8(const std::vector<const void*>& slices, int row, int columns,
                        std::uint8_t* destination, bool isSigned) {
    constexpr int kBlock = 8;
    const int remainder = remainder_start(columns, kBlock);
    const double reciprocal = 1.0 / static_cast<double>(slices.size());
    // For two slices the pattern is 0x8000, which signed lanes read as -32768: required, their means come out
    // negated.
    const __m128i scale = _mm_set1_epi16(static_cast<short>(low16(trunc_to_int(reciprocal * 65535.0 + 0.5))));
    for (int i = 0; i < remainder; i += kBlock) {
        store16(destination + i, slices.size() == 1
                                     ? load16(row_of<std::uint8_t>(slices[0], row, columns) + i)
                                     : block_mean_8(slices, row, columns, i, scale, isSigned));
    }
    isSigned ? mean_remainder<std::int8_t>(slices, row, columns, remainder, destination)
             : mean_remainder<std::uint8_t>(slices, row, columns, remainder, destination);
}
