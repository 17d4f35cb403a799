#pragma once

#include <array>

#include "tests/cases/planar_request.h"

// Requests that a hand can follow: volumes along the physical axes with their start corner at the origin.

namespace rz_test {

using Point = std::array<double, 3>;

/// 16-bit volume of these dimensions and spacings (mm). Sample (x, y, z) = -(x + 40 y + 1000 z): negative
/// values pass the linear kernel unharmed at fraction 0.
PlanarRequest simple_request(std::array<int, 3> dims, Point spacing = {1.0, 1.0, 1.0});

/// A plane through origin; the raster's box starts at start in the plane's frame, with pixels of mm each way.
void set_plane(PlanarRequest& request, Point normal, Point origin, Point unit);
void set_output(PlanarRequest& request, int width, int height, double pixelX, double pixelY,
                std::array<double, 2> start = {0.0, 0.0});

}  // namespace rz_test
