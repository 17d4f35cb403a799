#pragma once

#include <string>
#include <vector>

#include "toolkit/core/grid.h"

namespace rzobl {

/// Where a plane cuts the outer faces of a grid: the corners of the polygon in their order round it. Empty
/// where it misses. The normal has any length. Throws Error if it has none.
std::vector<Vec3> outline(const Grid& grid, const Vec3& normal, const Vec3& point);

/// A drawing of the grid's extent with that polygon in it, as SVG: the patient seen from the front and from
/// somewhat above and the left.
std::string outline_svg(const Grid& grid, const std::vector<Vec3>& polygon);

}  // namespace rzobl
