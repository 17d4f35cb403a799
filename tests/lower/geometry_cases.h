#pragma once

#include <array>
#include <cmath>

#include "lower/geometry/box.h"
#include "tests/support/seeded.h"

// Random boxes whose exact geometry the tests know in double precision.

namespace rz_test {

using Vec3 = std::array<double, 3>;

inline double dot(const Vec3& a, const Vec3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline double length(const Vec3& a) {
    return std::sqrt(dot(a, a));
}
inline Vec3 along(const Vec3& a, double t, const Vec3& b) {
    return {a[0] + t * b[0], a[1] + t * b[1], a[2] + t * b[2]};
}
inline Vec3 wide(const float* v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

/// (x, y, z, 1) x M with the floats of M, summed in double precision.
inline Vec3 map_point(const Vec3& p, const float m[4][4]) {
    Vec3 r{};
    for (std::size_t j = 0; j < 3; ++j) {
        r[j] = p[0] * static_cast<double>(m[0][j]) + p[1] * static_cast<double>(m[1][j]) +
               p[2] * static_cast<double>(m[2][j]) + static_cast<double>(m[3][j]);
    }
    return r;
}

/// Three orthonormal axes, evenly spread over all rotations (quaternion of four normal-like values).
inline std::array<Vec3, 3> random_axes(Random& random, bool leftHanded) {
    double q[4];
    double square = 0.0;
    do {
        square = 0.0;
        for (double& part : q) {
            part = static_cast<double>(random.real(-1.0F, 1.0F));
            square += part * part;
        }
    } while (square > 1.0 || square < 0.01);  // inside the ball: no direction is favoured
    const double s = 2.0 / square;
    const double w = q[0], x = q[1], y = q[2], z = q[3];
    std::array<Vec3, 3> axes = {Vec3{1 - s * (y * y + z * z), s * (x * y + w * z), s * (x * z - w * y)},
                                Vec3{s * (x * y - w * z), 1 - s * (x * x + z * z), s * (y * z + w * x)},
                                Vec3{s * (x * z + w * y), s * (y * z - w * x), 1 - s * (x * x + y * y)}};
    if (leftHanded) {
        for (double& part : axes[2]) part = -part;
    }
    return axes;
}

struct BoxCase {
    Vec3 start;
    std::array<Vec3, 3> axes;
    std::array<double, 3> spacing;
    std::array<int, 3> dims;

    Vec3 side(std::size_t k) const { return along({0, 0, 0}, spacing[k] * dims[k], axes[k]); }
    /// Physical position of a point in index-from-corner space.
    Vec3 physical(const Vec3& corner_index) const {
        Vec3 p = start;
        for (std::size_t k = 0; k < 3; ++k) p = along(p, spacing[k] * corner_index[k], axes[k]);
        return p;
    }
    RZ_BoxParams params() const {
        return RZ_BoxParams(start.data(), side(0).data(), side(1).data(), side(2).data());
    }
    RZ_Box box() const { return RZ_Box(dims[0], dims[1], dims[2], params()); }
};

/// A box of any orientation and handedness, its start corner at `distance` from the origin in any direction.
inline BoxCase random_box(Random& random, double distance, int mostSamples) {
    BoxCase c{};
    c.axes = random_axes(random, random.once_in(2));
    c.start = along({0, 0, 0}, distance, random_axes(random, false)[0]);
    for (std::size_t k = 0; k < 3; ++k) {
        c.spacing[k] = static_cast<double>(random.real(0.25F, 5.0F));
        c.dims[k] = random.between(1, mostSamples);
    }
    return c;
}

}  // namespace rz_test
