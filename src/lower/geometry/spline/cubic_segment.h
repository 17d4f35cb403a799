#pragma once

#include "lower/geometry/affine.h"

namespace rz_obl {

struct point3 {
    double v[3];
};

inline point3 operator+(const point3& a, const point3& b) {
    return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2]}};
}
inline point3 operator-(const point3& a, const point3& b) {
    return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2]}};
}
inline point3 operator*(double f, const point3& a) {
    return {{f * a.v[0], f * a.v[1], f * a.v[2]}};
}
inline double dot(const point3& a, const point3& b) {
    return dot3(a.v, b.v);
}

/// One piece of a curve between two of its points: c0 + c1 u + c2 u^2 + c3 u^3 for u from 0 to 1.
struct cubic_segment {
    point3 c0, c1, c2, c3;

    point3 position(double u) const { return c0 + u * (c1 + u * (c2 + u * c3)); }
    point3 derivative(double u) const { return c1 + u * (2.0 * c2 + (3.0 * u) * c3); }
    point3 second_derivative(double u) const { return 2.0 * c2 + (6.0 * u) * c3; }
};

}  // namespace rz_obl
