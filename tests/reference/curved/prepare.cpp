#include "tests/reference/curved/prepare.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>

namespace rz_reference {

using rz_test::Branches;

int truncated(float value) {
    return truncated(static_cast<double>(value));
}

int truncated(double value) {
    const bool fits = value > -2147483649.0 && value < 2147483648.0;
    return fits ? static_cast<int>(value) : INT_MIN;
}

short low_short(int value) {
    const int low = static_cast<int>(static_cast<unsigned>(value) & 0xffffU);
    return static_cast<short>(low < 0x8000 ? low : low - 0x10000);
}

int wrapped_sum(int a, int b) {
    const auto low = static_cast<std::uint32_t>(std::int64_t{a} + b);
    return static_cast<int>(low);
}

int wrapped_difference(int a, int b) {
    const auto low = static_cast<std::uint32_t>(std::int64_t{a} - b);
    return static_cast<int>(low);
}

int without_lowest_bit(int value) {
    return value % 2 == 0 ? value : value - 1;
}

RZ_3Coord point_through(const RZ_3Coord& p, const float matrix[4][4]) {
    RZ_3Coord result;
    RZ_vec3mlt(p, matrix, result);
    return result;
}

RZ_3Coord direction_through(const RZ_3Coord& v, const float matrix[4][4]) {
    RZ_3Coord result = point_through(v, matrix);
    result.x = result.x - matrix[3][0];
    result.y = result.y - matrix[3][1];
    result.z = result.z - matrix[3][2];
    return result;
}

float extent_of(const RZ_BoxParams& params, int axis) {
    return axis == 0 ? params.GetWidth() : params.GetHeight();
}

namespace {

constexpr int kThinFactor = 10;

int dominant_axis(const RZ_3Coord& v) {
    const float x = std::fabs(v.x);
    const float y = std::fabs(v.y);
    const float z = std::fabs(v.z);
    if (x > y && x > z) return 0;
    if (x <= y && y > z) return 1;
    return 2;
}

RZ_3Coord negated(const RZ_3Coord& v) {
    RZ_3Coord result = v;
    result.x = -v.x;
    result.y = -v.y;
    result.z = -v.z;
    return result;
}

void shrink(RZ_Box& box, bool transposed, int margin) {
    float middle[3];
    box.params.GetMiddle(middle);
    const int n = transposed ? box.yDim : box.xDim;
    const int left = wrapped_difference(n, wrapped_sum(margin, margin));
    const float f = static_cast<float>(left) / static_cast<float>(n);
    const int pixels = truncated(static_cast<float>(n) * f + 0.5F);
    if (transposed) {
        box.yDim = pixels;
        box.params.TScale(1.0F / f, 1.0F, 1.0F, middle);
    } else {
        box.xDim = pixels;
        box.params.TScale(1.0F, 1.0F / f, 1.0F, middle);
    }
}

}  // namespace

int flip_curved(RZ_3Coord& sweep, const RZ_3Coord& line, int* sign, Branches& branches) {
    const int axis = dominant_axis(sweep);
    bool negate = false;
    if (axis == 0) negate = 0.0F > sweep.x;
    if (axis == 1) negate = 0.0F > sweep.y;
    if (axis == 2) negate = sweep.z > 0.0F;
    if (negate) sweep = negated(sweep);
    *sign = negate ? -1 : 1;
    const int lineAxis = dominant_axis(line);
    constexpr const char* kSweeps[3][2] = {{"sweep along x", "sweep along -x"},
                                           {"sweep along y", "sweep along -y"},
                                           {"sweep along -z", "sweep along z"}};
    constexpr const char* kLines[3] = {"line along x", "line along y", "line along z"};
    branches.met(kSweeps[axis][negate ? 1 : 0]);
    branches.met(kLines[lineAxis]);
    if (axis == 0) return 1;
    if (axis == 1 && lineAxis == 2) {
        branches.met("sweep along y across a line along z");
        return 1;
    }
    return 0;
}

int get_w_pixels(RZ_Spline& spline, const RZ_Box& box, Branches& branches) {
    RZ_3Coord d = spline.sweepDirection;
    const RZ_3Coord l = spline.GetLineDirection();
    int unused = 0;
    const int t = flip_curved(d, l, &unused, branches);
    const int n = t ? box.yDim : box.xDim;
    if (n < 1) return 0;
    const float len = spline.GetLength(0);
    const float w = extent_of(box.params, t ? 1 : 0);
    const int whole = truncated(len / w * static_cast<float>(n - 1));
    branches.met(whole + 1 > n ? "more points than pixels" : "all points have a pixel");
    return std::min(n, whole + 1);
}

int prepare_curve_data(RZ_Spline& spline, RZ_Box& box, bool localFrames, const bool* transposedIn,
                       const int* signIn, int margin, CurveData& data, RZ_Box* secondBox,
                       Branches& branches) {
    data.warned = false;
    if (spline.splineKind == 1) return 0;

    RZ_3Coord d = spline.sweepDirection;
    const RZ_3Coord l = spline.GetLineDirection();
    int sign = 1;
    const bool transposed = transposedIn != nullptr ? *transposedIn : flip_curved(d, l, &sign, branches) != 0;
    if (signIn != nullptr && sign != *signIn) {
        branches.met("sweep turned round for the given sign");
        d = negated(d);
    }

    shrink(box, transposed, margin);
    if (secondBox != nullptr) shrink(*secondBox, transposed, margin);

    const float x = box.GetXMmPerPixel();
    const float y = box.GetYMmPerPixel();
    if (std::fabs(x - y) > 0.001F) {
        branches.met("pixels are not square");
        data.warned = true;
        data.spacing[0] = static_cast<double>(x);
        data.spacing[1] = static_cast<double>(y);
    }

    const int n = transposed ? box.yDim : box.xDim;
    if (n < 1) {
        branches.met("no pixel along the curve");
        return 0;
    }

    const float len = spline.GetLength(0);
    const float w = extent_of(box.params, transposed ? 1 : 0);
    const int whole = truncated(len / w * static_cast<float>(n));
    const int curveColumns = without_lowest_bit(wrapped_sum(whole, 1));
    if (curveColumns < 2) {
        branches.met("curve of less than two samples");
        return 0;
    }

    float start[3];
    box.params.GetStart(start);
    const float s = transposed ? start[1] : start[0];
    const int viewStart = truncated((len * 0.5F + s) * static_cast<float>(n) / w + 0.5F);
    const float pixel = w / static_cast<float>(n);
    const int viewEnd = wrapped_sum(n, viewStart);

    const int firstSample = std::min(std::max(viewStart, 0), curveColumns);
    const int lastSample = std::max(std::min(viewEnd, curveColumns), 0);
    const int sampleCount = lastSample - firstSample + 1;
    if (viewEnd <= 0) branches.met("view before the curve");
    if (viewStart >= curveColumns) branches.met("view beyond the curve");
    if (viewStart >= 0 && viewEnd <= curveColumns) branches.met("view within the curve");
    if (viewStart < 0 && viewEnd > curveColumns) branches.met("view about the whole curve");
    if (viewStart < 0 && viewEnd > 0 && viewEnd <= curveColumns) branches.met("view over the curve's start");
    if (viewStart > 0 && viewStart < curveColumns && viewEnd > curveColumns)
        branches.met("view over the curve's end");
    if (curveColumns > n) branches.met("more curve samples than pixels");

    if (data.sampleCount < sampleCount) {
        branches.met("arrays made anew");
        ++data.reallocations;
    } else {
        branches.met("arrays kept");
    }
    data.curveColumns = curveColumns;
    data.viewStart = viewStart;
    data.viewEnd = viewEnd;
    data.firstSample = firstSample;
    data.lastSample = lastSample;
    data.sampleCount = sampleCount;

    const auto dense = static_cast<std::size_t>(2 * sampleCount + 1);
    std::vector<RZ_3Coord> points(dense);
    std::vector<RZ_3Coord> directions(dense);
    std::vector<RZ_3Coord> tangents(dense);
    directions[0] = d;
    if (!localFrames) std::fill(directions.begin(), directions.end(), d);

    const int count = 2 * curveColumns + 1;
    const int first = 2 * firstSample + 1;
    const int length = 2 * sampleCount - 1;
    if (!localFrames) {
        spline.InterpolateEDCurveWithTangents(points.data(), tangents.data(), count, 10, 5, nullptr, first,
                                              length);
    } else if (spline.NumOfPoints(1) <= kThinFactor * 10) {
        branches.met("directions of the curve itself");
        spline.InterpolateEDCurveWithTangents(points.data(), tangents.data(), count, 10, 5, directions.data(),
                                              first, length);
    } else {
        branches.met("directions of the thinned curve");
        RZ_Spline thin(SPLINE_HELPER, EDGE_OPEN);
        spline.ThinSpline(thin, kThinFactor);
        thin.InterpolateEDCurveWithTangents(points.data(), tangents.data(), count, 10, 5, directions.data(),
                                            first, length);
        spline.InterpolateEDCurve(points.data(), count, 10, nullptr, first, length);
    }

    data.points.clear();
    data.directions.clear();
    data.normals.clear();
    for (int i = 0; i < sampleCount; ++i) {
        const auto at = static_cast<std::size_t>(2 * i);
        data.points.push_back(points[at]);
        RZ_3Coord normal;
        RZ_cross(directions[at], tangents[at], normal);
        normal.Normalize();
        data.normals.push_back(normal);
        RZ_3Coord step;
        step.x = pixel * directions[at].x;
        step.y = pixel * directions[at].y;
        step.z = pixel * directions[at].z;
        data.directions.push_back(step);
    }
    return 1;
}

}  // namespace rz_reference
