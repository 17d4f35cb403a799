#pragma once

#include <cstdint>

// Wraps, truncations and saturations, each once and by name. `static inline`: wide files include this too,
// and a copy compiled for AVX2 must not be handed to the narrow path by the linker.

namespace rz_obl {

static inline std::int32_t wrap_add(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

static inline std::int32_t wrap_sub(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
}

static inline std::int32_t wrap_mul(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// Toward zero; what does not fit, and a NaN, gives 0x80000000. A range test, since compilers fold both the
/// bare cast and the intrinsic differently.
static inline std::int32_t trunc_to_int(float x) {
    return x >= -2147483648.0F && x < 2147483648.0F ? static_cast<std::int32_t>(x) : INT32_MIN;
}

static inline std::int32_t trunc_to_int(double x) {
    return x > -2147483649.0 && x < 2147483648.0 ? static_cast<std::int32_t>(x) : INT32_MIN;
}

/// Samples to Q18, toward zero, by the same rule.
static inline std::int32_t to_q18(float samples) {
    return trunc_to_int(samples * 262144.0F);
}

/// The low 16 bits, sign-extended.
static inline std::int32_t low16(std::int32_t x) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(x)));
}

/// sum / count in single precision, to nearest with halves away from zero.
static inline std::int32_t rounded_mean(std::int32_t sum, float count) {
    const float mean = static_cast<float>(sum) / count;
    return trunc_to_int(mean >= 0.0F ? mean + 0.5F : mean - 0.5F);
}

}  // namespace rz_obl
