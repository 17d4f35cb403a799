#pragma once

#include "lower/definitions/coord.h"
#include "lower/export.h"

/// A plane in physical space: an origin, two in-plane unit vectors and the equation. Copied by value.
/// Thread-safe for concurrent reads. Pointers are to three floats unless said.
class RZ_LOWER_API RZ_PlaneParams {
  public:
    /// Through the physical origin, units along x and y, normal along z.
    RZ_PlaneParams();
    /// Through origin with this normal and this first in-plane unit vector; the second unit is normal x
    /// first. All are normalised, and the first unit is made orthogonal to the normal. A normal without
    /// direction stands for z, a unit without direction of its own in the plane for any unit in it.
    RZ_PlaneParams(const float* normal, const float* origin, const float* unit);

    /// Physical position of the plane's origin; writes three floats.
    void GetOrigin(float out[3]) const;
    /// The two in-plane unit vectors; writes three floats each.
    void GetUnits(float u[3], float v[3]) const;
    /// The equation (a, b, c, d) with a x + b y + c z + d = 0 on the plane; (a, b, c) is the unit normal.
    void GetPlaneEq(float out[4]) const;
    /// Moves the origin by distance along the normal; units stay.
    void ParallelTranslate(float distance);
    /// Signed distance such that ParallelTranslate by it makes the plane pass through point.
    float Distance(const float* point) const;
    /// matrix takes physical space to the plane's two-dimensional frame: x and y are millimetres along the
    /// two units from the origin, z along the normal.
    void Get2Projection(float matrix[4][4]) const;
    /// The way back in double precision: rows 0 to 3 are the two units, the normal and the origin.
    void GetPhysicalFromPlane(double matrix[4][4]) const;

  private:
    double origin_[3];
    double units_[2][3];
    double normal_[3];
};

/// Fills plane so that it has this normal and passes through point, which becomes its origin. With keepUp the
/// first unit is level (orthogonal to physical z) and the second one rises, unless the normal runs along z;
/// else the first is any in-plane unit.
RZ_LOWER_API void RZ_CalcPlane(const RZ_3Coord& normal, const RZ_3Coord& point, RZ_PlaneParams& plane,
                               bool keepUp);
