#pragma once

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"

namespace rz_obl {

/// A direction through a matrix: the translation comes in and is taken out again, with the rounding of both.
inline RZ_3Coord transform_direction(const RZ_3Coord& direction, const float matrix[4][4]) {
    RZ_3Coord result;
    RZ_vec3mlt(direction, matrix, result);
    result -= RZ_3Coord(matrix[3]);
    return result;
}

inline RZ_3Coord transform_point(const RZ_3Coord& point, const float matrix[4][4]) {
    RZ_3Coord result;
    RZ_vec3mlt(point, matrix, result);
    return result;
}

/// base + factor x direction, on x, y, z.
inline RZ_3Coord moved(const RZ_3Coord& base, float factor, const RZ_3Coord& direction) {
    return {base.x + factor * direction.x, base.y + factor * direction.y, base.z + factor * direction.z};
}

inline void negate(RZ_3Coord& v) {
    v.x = -v.x;
    v.y = -v.y;
    v.z = -v.z;
}

/// Step component of at most 512 samples; a NaN gives 512.
inline float limit_step(float x) {
    const bool fits = (x < 0.0F ? -x : x) < 512.0F;
    if (fits) return x;
    return x < 0.0F ? -512.0F : 512.0F;
}

inline RZ_3Coord limit_step(const RZ_3Coord& step) {
    return {limit_step(step.x), limit_step(step.y), limit_step(step.z)};
}

/// Step through a slab about a surface with this normal.
struct ThicknessStep {
    /// Index space: one sample along the axis where the normal is longest, each component limited, x not
    /// negative.
    RZ_3Coord step;
    /// Steps on each side of the surface.
    int halfSamples;
};

/// Measures normals in the samples of a volume.
class ThicknessSteps {
  public:
    explicit ThicknessSteps(const RZ_Box& volumeBox);

    /// thickness: half thickness in millimetres.
    ThicknessStep along(const RZ_3Coord& normal, float thickness) const;

  private:
    float toNormalised_[4][4];
    float dims_[3];
};

}  // namespace rz_obl
