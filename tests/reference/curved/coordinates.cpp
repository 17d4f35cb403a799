#include "tests/reference/curved/coordinates.h"

#include <algorithm>
#include <cmath>

#include "tests/reference/curved/frame.h"
#include "tests/reference/curved/prepare.h"

namespace rz_reference {
namespace {

// N, M, W, H and n of an image of the whole curve.
struct Measures {
    int n;
    int m;
    float w;
    float h;
    int count;
};

bool measure(RZ_Spline& spline, const RZ_Box& imageBox, bool transposed, Measures& out, Notes& notes) {
    out.n = transposed ? imageBox.yDim : imageBox.xDim;
    out.m = transposed ? imageBox.xDim : imageBox.yDim;
    if (out.n < 1) {
        notes.lines.emplace_back("RZ_CalcCurved: negative image width\n");
        return false;
    }
    const float len = spline.GetLength(0);
    out.w = extent_of(imageBox.params, transposed ? 1 : 0);
    out.h = extent_of(imageBox.params, transposed ? 0 : 1);
    const int whole = truncated(len / out.w * static_cast<float>(out.n - 1));
    out.count = std::min(out.n, wrapped_sum(whole, 1));
    if (out.count < 2) {
        notes.lines.emplace_back("RZ_CalcCurved: negative image size\n");
        return false;
    }
    return true;
}

struct Centring {
    bool transposed;
    Measures size;
    std::vector<RZ_3Coord> points;
    RZ_3Coord d;
    RZ_3Coord dN;
    short lowest;
    short highest;
    int firstIndex;
    int lastIndex;
    int a;
    int b;
};

// Steps 1 to 9: everything in front of the loop over the curve points.
bool begin_centring(RZ_Spline& spline, const RZ_Box& imageBox, const float t[4][4], int* sign, Centring& out,
                    Notes& notes) {
    if (spline.splineKind == 1) return false;
    out.d = spline.sweepDirection;
    const RZ_3Coord l = spline.GetLineDirection();
    out.transposed = flip_curved(out.d, l, sign, notes.branches) != 0;
    if (!measure(spline, imageBox, out.transposed, out.size, notes)) return false;
    notes.branches.met(out.transposed ? "curve along image y" : "curve along image x");
    notes.branches.met(out.size.count == out.size.n ? "curve fills the image"
                                                    : "curve shorter than the image");
    out.points.resize(static_cast<std::size_t>(out.size.count));
    spline.InterpolateEDCurve(out.points.data(), out.size.count, 5, nullptr, 0, 0);
    out.d.Normalize();
    out.d *= out.size.h / static_cast<float>(out.size.m);
    out.dN = direction_through(out.d, t);
    out.lowest = low_short(out.size.m);
    out.highest = 0;
    return true;
}

void count_column(Centring& c, const EntryExit& range, Notes& notes) {
    if (!(range.hi > range.lo)) {
        notes.branches.met("column outside the box");
        return;
    }
    const float limit = range.lo + static_cast<float>(c.size.m);
    if (limit < range.hi) notes.branches.met("column longer than the image");
    c.lowest = low_short(std::min(int{c.lowest}, truncated(range.lo)));
    c.highest = low_short(std::max(int{c.highest}, truncated(least(range.hi, limit))));
}

void end_centring(Centring& c, Notes& notes) {
    c.firstIndex = 0;
    c.lastIndex = c.size.count - 1;
    c.a = (c.size.n - 1 + c.firstIndex - c.lastIndex) / 2;
    c.b = (c.size.m - 1 + c.lowest - c.highest) / 2;
    if (low_short(c.a) < 0) {
        notes.branches.met("position along the curve limited");
        c.a = 0;
    }
    if (low_short(c.b) < 0) {
        notes.branches.met("position across the curve limited");
        c.b = 0;
    }
}

bool centre(RZ_Spline& spline, const RZ_Box& imageBox, const RZ_BoxParams& params, int* sign, Centring& out,
            Notes& notes) {
    float t[4][4];
    params.GetNormTrans(t);
    if (!begin_centring(spline, imageBox, t, sign, out, notes)) return false;
    for (const RZ_3Coord& point : out.points) {
        const RZ_3Coord p = point_through(point, t);
        count_column(out, box_entry_exit(out.dN, p, notes.branches), notes);
    }
    end_centring(out, notes);
    return true;
}

void physical_of_pixel(float* physical, bool transposed, int alongOffset, int acrossOffset,
                       const RZ_3Coord* points, const RZ_3Coord& d, const float* raster) {
    const int x = truncated(raster[0]);
    const int y = truncated(raster[1]);
    const int along = transposed ? wrapped_difference(y, alongOffset) : wrapped_difference(x, alongOffset);
    const int across = transposed ? wrapped_difference(x, acrossOffset) : wrapped_difference(y, acrossOffset);
    const auto j = static_cast<float>(across);
    physical[0] = points[along].x + j * d.x;
    physical[1] = points[along].y + j * d.y;
    physical[2] = points[along].z + j * d.z;
}

void store(float* raster, bool transposed, float along, float across) {
    raster[0] = transposed ? across : along;
    raster[1] = transposed ? along : across;
}

}  // namespace

int prepare_spline_trans(const RZ_Box& box, RZ_Spline& spline, const RZ_Box& imageBox, int* alongOffset,
                         int* acrossOffset, int* sign, RZ_3Coord* points, Notes& notes) {
    Centring c{};
    if (!centre(spline, imageBox, box.params, sign, c, notes)) return 0;
    std::copy(c.points.begin(), c.points.end(), points);
    *alongOffset = c.a - c.firstIndex;
    *acrossOffset = c.b - c.lowest;
    return c.transposed ? 1 : 0;
}

int raster_to_physical_long(float* physical, RZ_Spline& spline, const RZ_Box& imageBox, int transposed,
                            int alongOffset, int acrossOffset, int sign, const RZ_3Coord* points,
                            const float* raster, Notes& notes) {
    if (spline.splineKind == 1) return 0;
    RZ_3Coord d = spline.sweepDirection;
    d *= static_cast<float>(sign);
    Measures size{};
    if (!measure(spline, imageBox, transposed != 0, size, notes)) return 0;
    d.Normalize();
    d *= size.h / static_cast<float>(size.m);
    physical_of_pixel(physical, transposed != 0, alongOffset, acrossOffset, points, d, raster);
    return 1;
}

int raster_to_physical_short(float* physical, const RZ_BoxParams& params, RZ_Spline& spline,
                             const RZ_Box& imageBox, const float* raster, Notes& notes) {
    int sign = 0;
    Centring c{};
    if (!centre(spline, imageBox, params, &sign, c, notes)) return 0;
    physical_of_pixel(physical, c.transposed, c.a - c.firstIndex, c.b - c.lowest, c.points.data(), c.d,
                      raster);
    return 1;
}

int physical_to_raster_long(const float* physical, RZ_Spline& spline, const RZ_Box& imageBox,
                            float curveFraction, int transposed, int alongOffset, int acrossOffset, int sign,
                            const RZ_3Coord& originPoint, float* raster, Notes& notes) {
    if (spline.splineKind == 1) return 0;
    RZ_3Coord d = spline.sweepDirection;
    d *= static_cast<float>(sign);
    Measures size{};
    if (!measure(spline, imageBox, transposed != 0, size, notes)) return 0;
    d.Normalize();
    const float along = static_cast<float>(size.count - 1) * curveFraction + static_cast<float>(alongOffset);
    const float distance = RZ_dot(physical, d) - RZ_dot(originPoint, d);
    const float across = static_cast<float>(acrossOffset) + (distance * static_cast<float>(size.m)) / size.h;
    store(raster, transposed != 0, along, across);
    return 1;
}

int physical_to_raster_short(const float* physical, const RZ_BoxParams& params, RZ_Spline& spline,
                             const RZ_Box& imageBox, float* raster, Notes& notes) {
    float t[4][4];
    params.GetNormTrans(t);
    int sign = 0;
    Centring c{};
    if (!begin_centring(spline, imageBox, t, &sign, c, notes)) return 0;

    const RZ_3Coord point(physical[0], physical[1], physical[2]);
    const RZ_3Coord q = point_through(point, t);
    int best = -1;
    float bestDistance = 1e20F;
    float frac = 0.0F;
    for (int i = 0; i < c.size.count; ++i) {
        const RZ_3Coord& onCurve = c.points[static_cast<std::size_t>(i)];
        const RZ_3Coord p = point_through(onCurve, t);
        const EntryExit range = box_entry_exit(c.dN, p, notes.branches);
        count_column(c, range, notes);

        const RZ_3Coord diff(onCurve.x - point.x, onCurve.y - point.y, onCurve.z - point.z);
        const float ee = RZ_dot(diff, diff);
        const float dd = RZ_dot(c.d, c.d);
        const float e = RZ_dot(diff, c.d);
        const float s = std::sqrt(ee / dd) * (e / std::sqrt(ee * dd));
        const RZ_3Coord rest(diff.x - s * c.d.x, diff.y - s * c.d.y, diff.z - s * c.d.z);
        const float distance = RZ_dot(rest, rest);
        if (ee == 0.0F) notes.branches.met("exactly on a curve point");
        if (bestDistance > distance) {
            bestDistance = distance;
            best = i;
            const EntryExit ofPoint = box_entry_exit(c.dN, q, notes.branches);
            frac = ((range.lo - ofPoint.lo) + (range.hi - ofPoint.hi)) * 0.5F;
        }
    }
    if (best == -1) notes.branches.met("no nearest line");
    end_centring(c, notes);
    const auto along = static_cast<float>(c.a - c.firstIndex + best);
    const float across = static_cast<float>(c.b) + frac - static_cast<float>(c.lowest);
    store(raster, c.transposed, along, across);
    return 1;
}

}  // namespace rz_reference
