#include "tests/reference/curved/plane_box.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tests/reference/curved/frame.h"
#include "tests/reference/curved/prepare.h"

namespace rz_reference {

int get_plane_box(const RZ_BoxParams& box, RZ_Spline& spline, RZ_BoxParams& result, int insideOnly,
                  rz_test::Branches& branches) {
    if (spline.splineKind != 0) return 0;
    std::vector<RZ_3Coord> points(300);
    spline.InterpolateEDCurve(points.data(), 300, 10, nullptr, 0, 0);
    float n[4][4];
    box.GetNormTrans(n);
    RZ_3Coord direction = spline.sweepDirection;
    const RZ_3Coord line = spline.GetLineDirection();
    int unused = 0;
    const int flipped = flip_curved(direction, line, &unused, branches);
    direction.Normalize();
    direction = direction_through(direction, n);
    const float d[3] = {direction.x, direction.y, direction.z};

    float lowest = 1e20F;
    float highest = -1e20F;
    int first = 300;
    int last = -1;
    for (int i = 0; i < 300; ++i) {
        const RZ_3Coord at = point_through(points[static_cast<std::size_t>(i)], n);
        if (insideOnly != 0) {
            bool outside = false;
            for (const float component : {at.x, at.y, at.z}) {
                const auto wide = static_cast<double>(component);
                if (wide < -1e-6 || wide > 1.000001) outside = true;
            }
            if (outside) {
                branches.met("curve point outside the box");
                continue;
            }
        }
        const float q[3] = {at.x, at.y, at.z};
        float low = -1e10F;
        float high = 1e10F;
        for (int k = 0; k < 3; ++k) {
            const float absolute = std::fabs(d[k]);
            if (static_cast<double>(absolute) > 1e-10) {
                if (d[k] < 0.0F) {
                    low = greatest((1.0F - q[k]) / d[k], low);
                    high = least(high, -q[k] / d[k]);
                } else {
                    low = greatest(-q[k] / d[k], low);
                    high = least(high, (1.0F - q[k]) / d[k]);
                }
            } else if (!(q[k] > 0.0F && q[k] < 1.0F)) {
                branches.met("line beside the box");
                high = -1.0F;
                low = 0.1F;
                break;
            }
        }
        low = low + 0.01F;
        high = high + -0.01F;
        if (low > 0.0F) {
            branches.met("stretch ahead of the curve");
            low = static_cast<float>(static_cast<double>(low) + 1.0);
        }
        if (high < 0.0F) {
            branches.met("stretch behind the curve");
            high = static_cast<float>(static_cast<double>(high) - 1.0);
        }
        if (high < low) {
            branches.met("line without a stretch");
            continue;
        }
        lowest = least(low, lowest);
        highest = greatest(high, highest);
        last = std::max(i, last);
        first = std::min(i, first);
    }
    const float extent = highest - lowest;
    const auto span = static_cast<float>(last - first);
    if (!(span > 0.0F) || !(extent > 0.0F)) {
        branches.met("no surface in the box");
        return 0;
    }
    const float along = spline.GetLength(0) * span / 299.0F;
    branches.met(flipped == 0 ? "width along the curve" : "height along the curve");
    result = flipped == 0 ? RZ_BoxParams(along, extent, 1.0F) : RZ_BoxParams(extent, along, 1.0F);
    return 1;
}

}  // namespace rz_reference
