#pragma once

#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

// Source positions and steps. Free `static inline` functions, since wide files include this too.

namespace rz_obl {

/// In Q18: bits 18 to 31 are the index, bits 0 to 17 the fraction. All arithmetic wraps in 32 bits.
struct q18_point {
    std::int32_t x;
    std::int32_t y;
    std::int32_t z;
};

/// In samples, single precision.
struct float_point {
    float x;
    float y;
    float z;
};

static inline q18_point q18_step(const int step[3]) {
    return {step[0], step[1], step[2]};
}

static inline float_point float_step(const float step[3]) {
    return {step[0], step[1], step[2]};
}

static inline q18_point operator+(const q18_point& a, const q18_point& b) {
    return {wrap_add(a.x, b.x), wrap_add(a.y, b.y), wrap_add(a.z, b.z)};
}

static inline q18_point operator-(const q18_point& a, const q18_point& b) {
    return {wrap_sub(a.x, b.x), wrap_sub(a.y, b.y), wrap_sub(a.z, b.z)};
}

static inline q18_point operator*(std::int32_t n, const q18_point& a) {
    return {wrap_mul(n, a.x), wrap_mul(n, a.y), wrap_mul(n, a.z)};
}

static inline float_point operator+(const float_point& a, const float_point& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

static inline float_point operator-(const float_point& a, const float_point& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

static inline float_point operator*(float n, const float_point& a) {
    return {n * a.x, n * a.y, n * a.z};
}

}  // namespace rz_obl
