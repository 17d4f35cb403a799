#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/frames/recorder.h"

// Requests that a hand can follow: volumes along the physical axes with their start corner at the origin, and
// one call with everything that it did.

namespace rz_test {

using Point = std::array<double, 3>;

/// 16-bit volume of these dimensions and spacings (mm). Sample (x, y, z) = -(x + 40 y + 1000 z): negative
/// values pass the linear kernel unharmed at fraction 0.
PlanarRequest simple_request(std::array<int, 3> dims, Point spacing = {1.0, 1.0, 1.0});

/// A plane through origin; the raster's box starts at start in the plane's frame, with pixels of mm each way.
void set_plane(PlanarRequest& request, Point normal, Point origin, Point unit);
void set_output(PlanarRequest& request, int width, int height, double pixelX, double pixelY,
                std::array<double, 2> start = {0.0, 0.0});

struct Answer {
    int result;
    Fenced<short> output;
    std::array<int, 4> bounds;
    /// Nothing if no entry was called.
    std::optional<Recorded> scan;

    std::array<int, 2> span(int row) const {
        const auto i = static_cast<std::size_t>(2 * row);
        return {scan->spans[i], scan->spans[i + 1]};
    }
    bool empty(int row) const { return span(row)[0] >= span(row)[1]; }
    float matrix(int row, int column) const {
        return scan->planeToIndex[static_cast<std::size_t>(4 * row + column)];
    }
};

/// RZ_CalcOblique over all slices; run false only records the scan.
Answer calc_oblique(PlanarRequest& request, bool run = true);
/// RZ_PlanarObliqueProjection of a 16-bit volume.
Answer project(PlanarRequest& request, bool run = true);

}  // namespace rz_test
