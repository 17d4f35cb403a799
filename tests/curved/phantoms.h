#pragma once

#include <functional>

#include "tests/curved/run_curved.h"

// Volumes of things whose place in space is known, worked out in double precision.

namespace rz_test {

struct Place {
    double x;
    double y;
    double z;
};

double distance(const Place& a, const Place& b);

/// A helix about the axis (x, y) = centre, climbing along z from `bottom` on.
struct Helix {
    Place centre;
    double radius;
    double pitch;
    double turns;

    Place at(double angle) const;
    /// Millimetres of curve per radian.
    double speed() const;
    double end_angle() const;
    /// Distance of a point from the curve; near enough beyond half a radius.
    double distance_to(const Place& p) const;
};

/// Fills 16-bit samples with 1000 x (share of inside(p)), from 1 where signedDistance(p) < -blur to 0 where
/// it is above blur: the level 500 lies on the surface.
void fill_by_distance(CurvedVolume& volume, double blur, const std::function<double(const Place&)>& distance);

/// A request that shows all of a curve with square pixels: as many columns as fit, rows about the curve. Not
/// transposed.
CurvedRequest whole_curve_request(CurvedVolume volume, RZ_Spline spline, double pixel, int rows);

/// Physical position of a sample.
Place sample_place(const RZ_Box& box, int x, int y, int z);

}  // namespace rz_test
