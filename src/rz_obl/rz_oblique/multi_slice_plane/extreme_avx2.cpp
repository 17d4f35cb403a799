#include <immintrin.h>

#include "rz_obl/rz_oblique/multi_slice_plane/wide_blocks.h"

namespace rz_obl {
namespace {

constexpr int kLanes = 16;
constexpr int kVectors = 8;
// So many rasters side by side are more streams than the processor foresees; two blocks ahead its loads
// arrive in time.
constexpr int kAhead = 2 * kVectors * kLanes;

struct LeastSigned {
    static __m256i pick(__m256i a, __m256i b) { return _mm256_min_epi16(a, b); }
};
struct LeastUnsigned {
    static __m256i pick(__m256i a, __m256i b) { return _mm256_min_epu16(a, b); }
};
struct GreatestSigned {
    static __m256i pick(__m256i a, __m256i b) { return _mm256_max_epi16(a, b); }
};
struct GreatestUnsigned {
    static __m256i pick(__m256i a, __m256i b) { return _mm256_max_epu16(a, b); }
};

inline __m256i load(const short* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

/// kCount vectors at sample i, all rasters, in registers.
template <class Rule, int kCount>
inline void fold_block(const raster_list& list, int i, short* output) {
    __m256i picked[kCount];
    for (int k = 0; k < kCount; ++k) picked[k] = load(list.rasters[0] + i + k * kLanes);
    for (std::size_t r = 1; r < list.size; ++r) {
        const short* const at = list.rasters[r] + i;
        for (int k = 0; k < kCount; ++k) {
            if (k % 2 == 0)
                _mm_prefetch(reinterpret_cast<const char*>(at + k * kLanes + kAhead), _MM_HINT_T0);
            picked[k] = Rule::pick(picked[k], load(at + k * kLanes));
        }
    }
    for (int k = 0; k < kCount; ++k)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(output + i + k * kLanes), picked[k]);
}

template <class Rule>
inline int fold(const raster_list& list, int count, short* output) {
    int i = 0;
    for (; count - i >= kVectors * kLanes; i += kVectors * kLanes)
        fold_block<Rule, kVectors>(list, i, output);
    for (; count - i >= kLanes; i += kLanes) fold_block<Rule, 1>(list, i, output);
    return i;
}

}  // namespace

int extreme_blocks_avx2(const raster_list& list, int count, bool greatest, bool isSigned, short* output) {
    if (greatest)
        return isSigned ? fold<GreatestSigned>(list, count, output)
                        : fold<GreatestUnsigned>(list, count, output);
    return isSigned ? fold<LeastSigned>(list, count, output) : fold<LeastUnsigned>(list, count, output);
}

}  // namespace rz_obl
