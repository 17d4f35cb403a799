#pragma once

#include <cmath>

#include "toolkit/core/grid.h"

namespace rzobl {

inline double dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline double length(const Vec3& v) {
    return std::sqrt(dot(v, v));
}

inline Vec3 scaled(const Vec3& v, double factor) {
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}

inline Vec3 added(const Vec3& a, const Vec3& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

inline bool is_finite(const Vec3& v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}

}  // namespace rzobl
