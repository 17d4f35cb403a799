#pragma once

#include <smmintrin.h>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/walk_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"
#include "rz_obl/RZ_OBLplanar/kernels/prefetch.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

// The samples of the cubic 32-bit kernels, which differ in the multiply-add only. `static inline`, since the
// wide kernel includes this too.

namespace rz_obl {

/// Copies 64 pixels, four per register, in the order of a weight entry. Nothing is tested: at the outer rows
/// and columns this reads a row before and a row behind the raster.
static inline void gather_neighbourhood_32(const std::uint32_t* const* slices, const std::int32_t index[3],
                                           int sourceWidth, __m128i pixels[16]) {
    const std::uint32_t* const* slice = slices + (index[2] - 1);
    const std::ptrdiff_t x = index[0];
    for (int j = 0; j < 4; ++j) {
        const std::ptrdiff_t offset = wrap_mul(index[1] - 1 + j, sourceWidth) + x - 1;
        for (int k = 0; k < 4; ++k) {
            pixels[4 * k + j] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(slice[k] + offset));
        }
    }
}

/// Where a sample finds its neighbourhood and its weights.
struct cubic_place_32bits {
    alignas(16) std::int32_t index[4];  // x, y, z, toward zero
    std::int32_t entry;
};

/// Positions among the 64 of the weight table, x, y, z. The limit catches a fraction that rounds up to 1.
static inline __m128i table_positions(__m128 p) {
    const __m128 fractions = _mm_sub_ps(p, _mm_floor_ps(p));
    const __m128i positions = _mm_cvttps_epi32(_mm_mul_ps(fractions, _mm_set1_ps(64.0F)));
    return _mm_min_epi32(_mm_max_epi32(positions, _mm_setzero_si128()), _mm_set1_epi32(63));
}

static inline cubic_place_32bits place_of(const float_point& position) {
    const __m128 p = _mm_setr_ps(position.x, position.y, position.z, 0.0F);
    cubic_place_32bits place;
    _mm_store_si128(reinterpret_cast<__m128i*>(place.index), _mm_cvttps_epi32(p));
    const __m128i t = table_positions(p);
    place.entry = (_mm_extract_epi32(t, 2) * 64 + _mm_extract_epi32(t, 1)) * 64 + _mm_cvtsi128_si32(t);
    return place;
}

/// MultiplyAdd::products(pixels, entry, sums): per channel, the 64 products summed into four lanes. Samples
/// are placed some time before they are read: nearly every entry comes from beyond the second cache.
template <class MultiplyAdd>
class CubicSampler {
  public:
    explicit CubicSampler(const scan_args_32& args)
        : slices_(args.slices), weights_(g_cubicWeightTable.weights), sourceWidth_(args.sourceWidth) {}

    void start(const walk_of_run& walk, std::int64_t samples) {
        walk_ = walk;
        unplaced_ = samples;
        next_ = 0;
        for (unsigned i = 0; i < kAhead; ++i) place(i);
    }

    __m128i next() {
        const cubic_place_32bits at = places_[next_];
        place(next_);
        next_ = (next_ + 1) % kAhead;
        __m128i pixels[16];
        gather_neighbourhood_32(slices_, at.index, sourceWidth_, pixels);
        __m128i sums[3];
        MultiplyAdd::products(pixels, weights_ + at.entry * 64, sums);
        const __m128i channels01 = _mm_hadd_epi32(sums[0], sums[1]);
        const __m128i channel2 = _mm_hadd_epi32(sums[2], _mm_setzero_si128());
        const __m128i channels = _mm_hadd_epi32(channels01, channel2);  // 0 1 2 and zero
        const __m128i values = _mm_srai_epi32(_mm_add_epi32(channels, _mm_set1_epi32(8192)), 14);
        return _mm_min_epi32(_mm_max_epi32(values, _mm_setzero_si128()), _mm_set1_epi32(255));
    }

  private:
    // Samples between a prefetch and its use.
    static constexpr unsigned kAhead = 32;

    /// The run's next sample not placed yet, if any is left. Its weights are asked for, and four rows of a
    /// slice: the samples before and behind share rows and ask for the other slices.
    void place(unsigned i) {
        if (unplaced_ <= 0) return;
        --unplaced_;
        places_[i] = place_of(next_position(walk_));
        const std::int32_t* index = places_[i].index;
        const short* entry = weights_ + places_[i].entry * 64;
        prefetch(entry);
        prefetch(entry + 32);
        const std::uint32_t* raster = slices_[index[2] - 1 + static_cast<int>(i % 4)];
        for (int j = 0; j < 4; ++j) {
            const std::ptrdiff_t row = wrap_mul(index[1] - 1 + j, sourceWidth_);
            prefetch(raster + (row + index[0] - 1));
        }
    }

    const std::uint32_t* const* slices_;
    const short* weights_;
    int sourceWidth_;
    walk_of_run walk_{};
    std::int64_t unplaced_ = 0;
    unsigned next_ = 0;
    cubic_place_32bits places_[kAhead];
};

}  // namespace rz_obl
