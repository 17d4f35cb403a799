#pragma once

#include <vector>

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "lower/geometry/spline.h"
#include "tests/support/branches.h"

namespace rz_reference {

// Preparation of a curve, one statement per step. Splines, boxes and vectors are the lower library's: they
// are contracts of their own.

/// Cut toward zero; what does not fit, and a NaN, gives the least int.
int truncated(float value);
int truncated(double value);
/// The low 16 bits, signed.
short low_short(int value);
/// Sums and differences of ints that wrap.
int wrapped_sum(int a, int b);
int wrapped_difference(int a, int b);
/// An int with its lowest bit cleared.
int without_lowest_bit(int value);

/// v through the matrix without its translation, worked out as with it, minus row 3.
RZ_3Coord direction_through(const RZ_3Coord& v, const float matrix[4][4]);
RZ_3Coord point_through(const RZ_3Coord& p, const float matrix[4][4]);
/// Length of the box along its first or second side.
float extent_of(const RZ_BoxParams& params, int axis);

int flip_curved(RZ_3Coord& sweep, const RZ_3Coord& line, int* sign, rz_test::Branches& branches);
int get_w_pixels(RZ_Spline& spline, const RZ_Box& box, rz_test::Branches& branches);

/// What a preparation fills in. The arrays hold the sampleCount results.
struct CurveData {
    int curveColumns = 0;
    int viewStart = 0;
    int viewEnd = 0;
    int firstSample = 0;
    int lastSample = 0;
    int sampleCount = 0;
    std::vector<RZ_3Coord> points;
    std::vector<RZ_3Coord> directions;
    std::vector<RZ_3Coord> normals;
    /// Calls that had to make the arrays anew.
    int reallocations = 0;
    /// Of the last call: whether it warns, and the two spacings that it names.
    bool warned = false;
    double spacing[2] = {0.0, 0.0};
};

int prepare_curve_data(RZ_Spline& spline, RZ_Box& box, bool localFrames, const bool* transposedIn,
                       const int* signIn, int margin, CurveData& data, RZ_Box* secondBox,
                       rz_test::Branches& branches);

}  // namespace rz_reference
