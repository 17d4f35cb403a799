#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/rz_oblique/subtraction_plane/row_operations.h"

namespace {

using rz_obl::ShiftWeights;

__m128i load(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

void store(void* p, __m128i v) {
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

struct Patterns {
    __m128i w[4];
    explicit Patterns(const ShiftWeights& weights) {
        for (int k = 0; k < 4; ++k) w[k] = _mm_set1_epi16(weights.pattern[k]);
    }
};

// Signed lanes read a weight of one half or more as negative: required.
struct SignedLanes {
    static __m128i times(__m128i x, __m128i w) { return _mm_mulhi_epi16(x, w); }
    static __m128i plus(__m128i a, __m128i b) { return _mm_adds_epi16(a, b); }
};
struct UnsignedLanes {
    static __m128i times(__m128i x, __m128i w) { return _mm_mulhi_epu16(x, w); }
    static __m128i plus(__m128i a, __m128i b) { return _mm_adds_epu16(a, b); }
};

/// c W0 + n W1 + c' W2 + n' W3, left to right. Required: the second weight belongs to the next row here and
/// to the neighbouring column in the single samples.
template <class Lanes>
__m128i blend_words(const std::int16_t* c, const std::int16_t* n, const Patterns& p) {
    __m128i sum = Lanes::plus(Lanes::times(load(c), p.w[0]), Lanes::times(load(n), p.w[1]));
    sum = Lanes::plus(sum, Lanes::times(load(c + 1), p.w[2]));
    return Lanes::plus(sum, Lanes::times(load(n + 1), p.w[3]));
}

/// Sixteen bytes as eight words, products with the first two weights only; fills carry the sign of a word.
__m128i blend_bytes_signed(const std::uint8_t* c, const std::uint8_t* n, const Patterns& p) {
    const __m128i a = load(c);
    const __m128i b = load(n);
    const __m128i e = load(c + 1);
    const __m128i g = load(n + 1);
    const auto sum = [&p](__m128i a_, __m128i b_, __m128i e_, __m128i g_) {
        __m128i s = _mm_adds_epi16(_mm_mulhi_epi16(b_, p.w[1]), _mm_mulhi_epi16(a_, p.w[0]));
        s = _mm_adds_epi16(s, _mm_mulhi_epi16(e_, p.w[0]));
        return _mm_adds_epi16(s, _mm_mulhi_epi16(g_, p.w[1]));
    };
    const auto fill = [](__m128i x) { return _mm_srai_epi16(x, 15); };
    const __m128i low = sum(a, b, e, g);
    const __m128i high = sum(fill(a), fill(b), fill(e), fill(g));
    // L0 H0 L1 H1 L2 H2 L3 H3 | L4 H4 ...
    return _mm_packs_epi16(_mm_unpacklo_epi16(low, high), _mm_unpackhi_epi16(low, high));
}

/// As above, but the upper four words of n, c + 1 and n + 1 repeat the lower four, and only the upper odd
/// bytes get a fill: required.
__m128i blend_bytes_unsigned(const std::uint8_t* c, const std::uint8_t* n, const Patterns& p) {
    const auto repeat = [](__m128i x) { return _mm_unpacklo_epi64(x, x); };
    const __m128i a = load(c);
    __m128i low = _mm_adds_epu16(_mm_mulhi_epu16(a, p.w[0]), _mm_mulhi_epu16(repeat(load(n)), p.w[1]));
    low = _mm_adds_epu16(low, _mm_mulhi_epu16(repeat(load(c + 1)), p.w[0]));
    low = _mm_adds_epu16(low, _mm_mulhi_epu16(repeat(load(n + 1)), p.w[1]));
    const __m128i high = _mm_mulhi_epu16(_mm_srai_epi16(a, 15), p.w[0]);
    // L0 0 L1 0 L2 0 L3 0 | L4 H4 L5 H5 ...
    return _mm_packus_epi16(_mm_unpacklo_epi16(low, _mm_setzero_si128()), _mm_unpackhi_epi16(low, high));
}

/// From `from` to the end of the row, in single precision.
template <class Sample, class Stored>
void blend_singles(const Stored* current, const Stored* next, int columns, int from, const float w[4],
                   Stored* destination) {
    const auto at = [](const Stored* row, int j) { return static_cast<float>(static_cast<Sample>(row[j])); };
    const int last = columns - 1;
    for (int j = from; j < last; ++j) {
        float sum = at(current, j) * w[0] + at(current, j + 1) * w[1];
        sum = sum + at(next, j) * w[2];
        sum = sum + at(next, j + 1) * w[3];
        destination[j] = static_cast<Stored>(rz_obl::trunc_to_int(sum + 0.5F));
    }
    // required: the last column is not rounded
    const float sum = (w[3] + w[2]) * at(next, last) + at(current, last) * (w[1] + w[0]);
    destination[last] = static_cast<Stored>(rz_obl::trunc_to_int(sum));
}

}  // namespace

rz_obl::ShiftWeights rz_obl::make_shift_weights(float fx, float fy) {
    ShiftWeights weights{};
    weights.weight[0] = (1.0F - fx) * (1.0F - fy);
    weights.weight[1] = (1.0F - fy) * fx;
    weights.weight[2] = (1.0F - fx) * fy;
    weights.weight[3] = fy * fx;
    for (int k = 0; k < 4; ++k) {
        weights.pattern[k] =
            static_cast<std::int16_t>(low16(trunc_to_int(weights.weight[k] * 65535.0F + 0.5F)));
    }
    return weights;
}

void rz_obl::shift_row_16(const std::int16_t* current, const std::int16_t* next, int columns,
                          const ShiftWeights& weights, std::int16_t* destination, bool isSigned) {
    constexpr int kBlock = 8;
    const Patterns patterns(weights);
    const int remainder = remainder_start(columns, kBlock);
    for (int i = 0; i < remainder; i += kBlock) {
        store(destination + i, isSigned ? blend_words<SignedLanes>(current + i, next + i, patterns)
                                        : blend_words<UnsignedLanes>(current + i, next + i, patterns));
    }
    isSigned ? blend_singles<std::int16_t>(current, next, columns, remainder, weights.weight, destination)
             : blend_singles<std::uint16_t>(current, next, columns, remainder, weights.weight, destination);
}

void rz_obl::shift_row_8(const std::uint8_t* current, const std::uint8_t* next, int columns,
                         const ShiftWeights& weights, std::uint8_t* destination, bool isSigned) {
    constexpr int kBlock = 16;
    const Patterns patterns(weights);
    const int remainder = remainder_start(columns, kBlock);
    for (int i = 0; i < remainder; i += kBlock) {
        store(destination + i, isSigned ? blend_bytes_signed(current + i, next + i, patterns)
                                        : blend_bytes_unsigned(current + i, next + i, patterns));
    }
    isSigned ? blend_singles<std::int8_t>(current, next, columns, remainder, weights.weight, destination)
             : blend_singles<std::uint8_t>(current, next, columns, remainder, weights.weight, destination);
}
