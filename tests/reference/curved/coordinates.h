#pragma once

#include <string>
#include <vector>

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "lower/geometry/spline.h"
#include "tests/support/branches.h"

namespace rz_reference {

// Conversions between the centred image of a whole curve and physical space, one statement per step.

/// What the conversions report on the side.
struct Notes {
    rz_test::Branches& branches;
    /// Texts of the log lines, all at level 3.
    std::vector<std::string> lines;
};

int prepare_spline_trans(const RZ_Box& box, RZ_Spline& spline, const RZ_Box& imageBox, int* alongOffset,
                         int* acrossOffset, int* sign, RZ_3Coord* points, Notes& notes);

int raster_to_physical_long(float* physical, RZ_Spline& spline, const RZ_Box& imageBox, int transposed,
                            int alongOffset, int acrossOffset, int sign, const RZ_3Coord* points,
                            const float* raster, Notes& notes);
int raster_to_physical_short(float* physical, const RZ_BoxParams& params, RZ_Spline& spline,
                             const RZ_Box& imageBox, const float* raster, Notes& notes);

int physical_to_raster_long(const float* physical, RZ_Spline& spline, const RZ_Box& imageBox,
                            float curveFraction, int transposed, int alongOffset, int acrossOffset, int sign,
                            const RZ_3Coord& originPoint, float* raster, Notes& notes);
int physical_to_raster_short(const float* physical, const RZ_BoxParams& params, RZ_Spline& spline,
                             const RZ_Box& imageBox, float* raster, Notes& notes);

}  // namespace rz_reference
