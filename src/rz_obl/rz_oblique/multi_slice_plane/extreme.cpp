#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_oblique/multi_slice_plane/combine.h"
#include "rz_obl/rz_oblique/multi_slice_plane/wide_blocks.h"

namespace {

constexpr std::int64_t kBlock = 8;
// A chunk of output stays in the first-level cache while all rasters pass over it.
constexpr std::int64_t kChunk = 4096;

__m128i load(const short* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

void store(short* p, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
}

struct LeastSigned {
    static __m128i pick(__m128i a, __m128i b) { return _mm_min_epi16(a, b); }
};
struct LeastUnsigned {
    static __m128i pick(__m128i a, __m128i b) { return _mm_min_epu16(a, b); }
};
struct GreatestSigned {
    static __m128i pick(__m128i a, __m128i b) { return _mm_max_epi16(a, b); }
};
struct GreatestUnsigned {
    static __m128i pick(__m128i a, __m128i b) { return _mm_max_epu16(a, b); }
};

/// Raster by raster over samples begin to end; the last block is taken whole.
template <class Rule>
void fold(const std::vector<const short*>& rasters, std::size_t from, std::int64_t begin, std::int64_t end,
          short* output) {
    for (std::size_t r = from; r < rasters.size(); ++r) {
        const short* raster = rasters[r];
        for (std::int64_t i = begin; i < end; i += kBlock) {
            store(output + i, Rule::pick(load(output + i), load(raster + i)));
        }
    }
}

/// The same, four rasters at a time.
template <class Rule>
void fold_by_four(const std::vector<const short*>& rasters, std::int64_t begin, std::int64_t end,
                  short* output) {
    std::size_t r = 1;
    for (; r + 4 <= rasters.size(); r += 4) {
        const short* const a = rasters[r];
        const short* const b = rasters[r + 1];
        const short* const c = rasters[r + 2];
        const short* const d = rasters[r + 3];
        for (std::int64_t i = begin; i < end; i += kBlock) {
            const __m128i ab = Rule::pick(load(a + i), load(b + i));
            const __m128i cd = Rule::pick(load(c + i), load(d + i));
            store(output + i, Rule::pick(load(output + i), Rule::pick(ab, cd)));
        }
    }
    fold<Rule>(rasters, r, begin, end, output);
}

/// Where the output overwrites a raster that is still to come, only the plain order gives the plain result.
template <class Rule>
void combine_in_order(const std::vector<const short*>& rasters, std::int64_t count, short* output) {
    std::memmove(output, rasters[0], static_cast<std::size_t>(count) * sizeof(short));
    fold<Rule>(rasters, 1, 0, count, output);
}

/// Samples from `done` on.
template <class Rule>
void combine(const std::vector<const short*>& rasters, std::int64_t done, std::int64_t count, short* output) {
    const std::int64_t whole = count / kBlock * kBlock;
    for (std::int64_t begin = done; begin < whole; begin += kChunk) {
        const std::int64_t end = begin + kChunk < whole ? begin + kChunk : whole;
        std::memcpy(output + begin, rasters[0] + begin,
                    static_cast<std::size_t>(end - begin) * sizeof(short));
        fold_by_four<Rule>(rasters, begin, end, output);
    }
    if (whole < count) {
        // Past the end of the first raster the old content of the output takes part.
        std::memcpy(output + whole, rasters[0] + whole,
                    static_cast<std::size_t>(count - whole) * sizeof(short));
        fold<Rule>(rasters, 1, whole, count, output);
    }
}

}  // namespace

void rz_obl::combine_extreme(const std::vector<const short*>& rasters, int count, bool greatest,
                             bool isSigned, short* output) {
    bool aliased = false;
    for (const short* raster : rasters) aliased = aliased || overlap(raster, output, count);
    if (aliased) {
        if (greatest) {
            isSigned ? combine_in_order<GreatestSigned>(rasters, count, output)
                     : combine_in_order<GreatestUnsigned>(rasters, count, output);
        } else {
            isSigned ? combine_in_order<LeastSigned>(rasters, count, output)
                     : combine_in_order<LeastUnsigned>(rasters, count, output);
        }
        return;
    }
    const raster_list list{rasters.data(), rasters.size()};
    const int done =
        g_cpuFeatures.hasAvx2() ? extreme_blocks_avx2(list, count, greatest, isSigned, output) : 0;
    if (greatest) {
        isSigned ? combine<GreatestSigned>(rasters, done, count, output)
                 : combine<GreatestUnsigned>(rasters, done, count, output);
    } else {
        isSigned ? combine<LeastSigned>(rasters, done, count, output)
                 : combine<LeastUnsigned>(rasters, done, count, output);
    }
}
