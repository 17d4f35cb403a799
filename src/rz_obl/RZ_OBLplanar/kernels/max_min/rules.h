#pragma once

#include <smmintrin.h>

// What tells a maximum from a minimum. Everything else of the kernels is shared.

namespace rz_obl {

struct Maximum {
    /// The raster's previous content takes part, in seeds and in fills.
    static constexpr bool kKeepsPrevious = true;

    static bool beats(int candidate, int current) { return candidate > current; }

    /// Whether a raw sample of the cell beats the current value.
    static bool any_beats(__m128i cell, int current) {
        const __m128i beyond = _mm_cmpgt_epi16(cell, _mm_set1_epi16(static_cast<short>(current)));
        return _mm_movemask_epi8(beyond) != 0;
    }
};

struct Minimum {
    /// required: a minimum replaces what the raster held.
    static constexpr bool kKeepsPrevious = false;

    static bool beats(int candidate, int current) { return candidate < current; }

    /// required: also drops planes whose sample lies below all its neighbours, through the sample's downward
    /// bias.
    static bool any_beats(__m128i cell, int current) {
        const __m128i beyond = _mm_cmplt_epi16(cell, _mm_set1_epi16(static_cast<short>(current)));
        return _mm_movemask_epi8(beyond) != 0;
    }
};

/// Whether a seed or a filled value goes into the raster.
template <class Rule>
static inline bool replaces(int value, int previous) {
    return !Rule::kKeepsPrevious || Rule::beats(value, previous);
}

}  // namespace rz_obl
