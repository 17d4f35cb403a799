#pragma once

#include <array>
#include <vector>

#include "toolkit/core/grid.h"

namespace rzobl {

/// How points spread about their middle: the principal axes of their covariance.
struct CurveFit {
    Vec3 middle{0, 0, 0};
    /// Unit, at right angles: [0] along which the points spread most, [2] the normal of the plane that fits
    /// them best.
    std::array<Vec3, 3> axis{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    /// Root mean square distance from the middle along each axis, falling.
    Vec3 spread{0, 0, 0};

    /// Whether the points lie so nearly on a line that no plane fits them better than others.
    bool straight() const { return spread[1] <= 1e-3 * spread[0]; }
};

/// Of at least one point; weigh a curve by giving points at equal distances along it.
CurveFit fit_curve(const std::vector<Vec3>& points);

/// A direction to sweep a surface in that shows most of a curve: the normal of the plane that fits it best.
/// For a straight one: the patient's left where it runs mostly along the body, else the head. Unit.
Vec3 default_sweep(const CurveFit& fit);

}  // namespace rzobl
