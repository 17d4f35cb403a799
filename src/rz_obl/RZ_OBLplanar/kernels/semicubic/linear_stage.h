#pragma once

#include <cstdint>

// The last stage of a semi-cubic sample: between the results a and b of the two planes of the linear axis.
// Double holds every product and sum exactly, so only the truncation toward zero shows.

namespace rz_obl {

static inline std::int32_t blend(std::int32_t a, std::int32_t b, double g) {
    return static_cast<std::int32_t>(b * g + a * (1.0 - g));  // within the range of a and b, 17 bits
}

/// By the whole fraction of a Q18 coordinate.
static inline std::int32_t blend_18(std::int32_t a, std::int32_t b, std::int32_t coordinate) {
    return blend(a, b, static_cast<double>(coordinate & 0x3ffff) * 3.814697265625e-06);
}

/// By its upper 15 bits.
static inline std::int32_t blend_15(std::int32_t a, std::int32_t b, std::int32_t coordinate) {
    return blend(a, b, static_cast<double>((coordinate >> 3) & 0x7fff) * 3.0517578125e-05);
}

}  // namespace rz_obl
