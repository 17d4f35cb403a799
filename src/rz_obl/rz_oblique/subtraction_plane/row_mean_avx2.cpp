#include <immintrin.h>

#include <cstring>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/rz_oblique/subtraction_plane/remainder_start.h"
#include "rz_obl/rz_oblique/subtraction_plane/wide_rows.h"

namespace rz_obl {
namespace {

// More rasters side by side than the processor foresees by itself; at their ends the next rows begin.
constexpr int kBytesAhead = 512;

template <class Sample>
inline const Sample* row_of(const raster_rows& rows, std::size_t r) {
    return static_cast<const Sample*>(rows.rasters[r]) + rows.offset;
}

inline __m256i load(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
}

/// The numbers 0 to 3 and 4 to 7 of each half by turns: 0 4 1 5 2 6 3 7.
inline __m256i by_turns_16(__m256i v) {
    return _mm256_shuffle_epi8(
        v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15)));
}

inline __m256i by_turns_8(__m256i v) {
    return _mm256_shuffle_epi8(
        v, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15)));
}

// Sums of one vector of samples, and their means in fixed point. Samples are summed as first and second of
// each pair, so that widening them takes no shuffles.

struct SignedWords {
    using Sample = std::int16_t;
    __m256i first = _mm256_setzero_si256();
    __m256i second = _mm256_setzero_si256();

    static __m256i scale_of(double reciprocal) {
        return _mm256_set1_epi32(trunc_to_int(reciprocal * 1023.0 + 0.5));
    }
    void add(__m256i samples) {
        first = _mm256_add_epi32(first, _mm256_madd_epi16(samples, _mm256_set1_epi32(1)));
        second = _mm256_add_epi32(second, _mm256_srai_epi32(samples, 16));
    }
    __m256i means(__m256i scale) const {
        return by_turns_16(_mm256_packs_epi32(_mm256_srai_epi32(_mm256_mullo_epi32(first, scale), 10),
                                              _mm256_srai_epi32(_mm256_mullo_epi32(second, scale), 10)));
    }
};

struct UnsignedWords {
    using Sample = std::uint16_t;
    // what both of a pair sum up to as one 32-bit number; the sum of the first is what is left of it
    __m256i pairs = _mm256_setzero_si256();
    __m256i second = _mm256_setzero_si256();

    static __m256i scale_of(double reciprocal) { return SignedWords::scale_of(reciprocal); }
    void add(__m256i samples) {
        pairs = _mm256_add_epi32(pairs, samples);
        second = _mm256_add_epi32(second, _mm256_srli_epi32(samples, 16));
    }
    __m256i means(__m256i scale) const {
        const __m256i first = _mm256_sub_epi32(pairs, _mm256_slli_epi32(second, 16));
        return by_turns_16(_mm256_packus_epi32(_mm256_srli_epi32(_mm256_mullo_epi32(first, scale), 10),
                                               _mm256_srli_epi32(_mm256_mullo_epi32(second, scale), 10)));
    }
};

struct UnsignedBytes {
    using Sample = std::uint8_t;
    __m256i first = _mm256_setzero_si256();
    __m256i second = _mm256_setzero_si256();

    static __m256i scale_of(double reciprocal) {
        return _mm256_set1_epi16(static_cast<short>(low16(trunc_to_int(reciprocal * 65535.0 + 0.5))));
    }
    void add(__m256i samples) {
        first = _mm256_adds_epu16(first, _mm256_and_si256(samples, _mm256_set1_epi16(0xff)));
        second = _mm256_adds_epu16(second, _mm256_srli_epi16(samples, 8));
    }
    __m256i means(__m256i scale) const {
        return by_turns_8(
            _mm256_packus_epi16(_mm256_mulhi_epu16(first, scale), _mm256_mulhi_epu16(second, scale)));
    }
};

struct SignedBytes {
    using Sample = std::int8_t;
    // required: the second of a pair stands for both, the first is never read
    __m256i second = _mm256_setzero_si256();

    static __m256i scale_of(double reciprocal) { return UnsignedBytes::scale_of(reciprocal); }
    void add(__m256i samples) { second = _mm256_adds_epi16(second, _mm256_srai_epi16(samples, 8)); }
    __m256i means(__m256i scale) const {
        const __m256i scaled = _mm256_mulhi_epi16(second, scale);
        const __m256i packed = _mm256_packs_epi16(scaled, scaled);
        return _mm256_unpacklo_epi8(packed, packed);
    }
};

/// kCount vectors at column i.
template <class Sums, int kCount>
inline void mean_block(const raster_rows& rows, int i, __m256i scale, typename Sums::Sample* destination) {
    using Sample = typename Sums::Sample;
    constexpr int kLanes = 32 / static_cast<int>(sizeof(Sample));
    Sums sums[kCount];
    for (std::size_t r = 0; r < rows.size; ++r) {
        const Sample* const at = row_of<Sample>(rows, r) + i;
        for (int k = 0; k < kCount; ++k) {
            if (k % 2 == 0)
                _mm_prefetch(reinterpret_cast<const char*>(at + k * kLanes) + kBytesAhead, _MM_HINT_T0);
            sums[k].add(load(at + k * kLanes));
        }
    }
    for (int k = 0; k < kCount; ++k)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(destination + i + k * kLanes), sums[k].means(scale));
}

/// Eight samples as 32-bit numbers.
inline __m256i widen(const std::int16_t* p) {
    return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
inline __m256i widen(const std::uint16_t* p) {
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
}
inline __m256i widen(const std::int8_t* p) {
    return _mm256_cvtepi8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}
inline __m256i widen(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
}

/// The last one to eight samples of the row, trunc(mean + 0.5) in double precision.
template <class Sample>
inline void mean_remainder(const raster_rows& rows, int columns, int from, double reciprocal,
                           Sample* destination) {
    constexpr int kLast = 8;
    __m256i sums = _mm256_setzero_si256();
    for (std::size_t r = 0; r < rows.size; ++r)
        sums = _mm256_add_epi32(sums, widen(row_of<Sample>(rows, r) + columns - kLast));
    const __m256d factor = _mm256_set1_pd(reciprocal);
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d low = _mm256_cvtepi32_pd(_mm256_castsi256_si128(sums));
    const __m256d high = _mm256_cvtepi32_pd(_mm256_extracti128_si256(sums, 1));
    alignas(32) std::int32_t means[kLast];
    _mm_store_si128(reinterpret_cast<__m128i*>(means),
                    _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(low, factor), half)));
    _mm_store_si128(reinterpret_cast<__m128i*>(means + 4),
                    _mm256_cvttpd_epi32(_mm256_add_pd(_mm256_mul_pd(high, factor), half)));
    for (int i = from; i < columns; ++i) destination[i] = static_cast<Sample>(means[i - columns + kLast]);
}

template <class Sums>
inline bool row_mean(const raster_rows& rows, int columns, int narrowBlock,
                     typename Sums::Sample* destination) {
    using Sample = typename Sums::Sample;
    constexpr int kLanes = 32 / static_cast<int>(sizeof(Sample));
    constexpr int kVectors = 4;
    const int remainder = remainder_start(columns, narrowBlock);
    if (remainder < kLanes) return false;
    const double reciprocal = 1.0 / static_cast<double>(rows.size);
    if (rows.size == 1) {
        std::memcpy(destination, row_of<Sample>(rows, 0),
                    static_cast<std::size_t>(remainder) * sizeof(Sample));
    } else {
        const __m256i scale = Sums::scale_of(reciprocal);
        int i = 0;
        for (; remainder - i >= kVectors * kLanes; i += kVectors * kLanes)
            mean_block<Sums, kVectors>(rows, i, scale, destination);
        for (; remainder - i >= kLanes; i += kLanes) mean_block<Sums, 1>(rows, i, scale, destination);
        // the last vector makes some of the means again
        if (i < remainder) mean_block<Sums, 1>(rows, remainder - kLanes, scale, destination);
    }
    mean_remainder<Sample>(rows, columns, remainder, reciprocal, destination);
    return true;
}

}  // namespace

bool row_mean_16_avx2(const raster_rows& rows, int columns, std::int16_t* destination, bool isSigned) {
    constexpr int kNarrowBlock = 4;
    return isSigned ? row_mean<SignedWords>(rows, columns, kNarrowBlock, destination)
                    : row_mean<UnsignedWords>(rows, columns, kNarrowBlock,
                                              reinterpret_cast<std::uint16_t*>(destination));
}

bool row_mean_8_avx2(const raster_rows& rows, int columns, std::uint8_t* destination, bool isSigned) {
    constexpr int kNarrowBlock = 8;
    return isSigned ? row_mean<SignedBytes>(rows, columns, kNarrowBlock,
                                            reinterpret_cast<std::int8_t*>(destination))
                    : row_mean<UnsignedBytes>(rows, columns, kNarrowBlock, destination);
}

}  // namespace rz_obl
