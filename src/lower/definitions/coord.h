#pragma once

#include "lower/definitions/matrix.h"

/// A coordinate or a direction: x, y, z, w, single precision and adjacent, w = 1.
/// Stands wherever three or four floats are expected; arrays of it have a stride of four floats.
class RZ_3Coord {
  public:
    float x = 0.0F;
    float y = 0.0F;
    float z = 0.0F;
    float w = 1.0F;

    RZ_3Coord() = default;
    RZ_3Coord(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
    /// Reads three floats; w is 1.
    explicit RZ_3Coord(const float* xyz) : x(xyz[0]), y(xyz[1]), z(xyz[2]) {}
    RZ_3Coord(const RZ_3Coord&) = default;
    RZ_3Coord& operator=(const RZ_3Coord&) = default;

    operator float*() { return reinterpret_cast<float*>(this); }
    operator const float*() const { return reinterpret_cast<const float*>(this); }

    /// On x, y, z; w stays.
    RZ_3Coord& operator-=(const RZ_3Coord& other) {
        x -= other.x;
        y -= other.y;
        z -= other.z;
        return *this;
    }
    /// On x, y, z; w stays.
    RZ_3Coord& operator*=(float factor) {
        x *= factor;
        y *= factor;
        z *= factor;
        return *this;
    }
    /// Scales x, y, z to length 1; a vector of length 0 stays as it is.
    void Normalize() { RZ_normalize(*this); }
};

static_assert(sizeof(RZ_3Coord) == 4 * sizeof(float), "arrays of coordinates have a stride of four floats");
