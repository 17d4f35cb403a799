#pragma once

#include "lower/geometry/spline/arc_curve.h"

namespace rz_obl {

/// A direction that travels along a curve with its rotation-minimising frame: its angle to the tangent stays,
/// and it does not turn about the tangent. Stops at every piece of the curve on its way, so that the result
/// does not hang on how far apart the caller asks.
class carried_direction {
  public:
    /// direction is normalised; one without direction becomes one across the curve.
    carried_direction(const arc_curve& curve, double arc, const point3& direction);

    /// Moves on to an arc length that is not behind the present one; place is the curve's there.
    void carry_to(double arc, const curve_place& place);
    const point3& direction() const { return direction_; }

  private:
    void reflect_to(const curve_place& next);

    const arc_curve& curve_;
    curve_place place_;
    point3 direction_;
    std::size_t piece_;
    double shortest_step_;
};

}  // namespace rz_obl
