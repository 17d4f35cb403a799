#include "lower/volume/types_utils.h"

#include <algorithm>
#include <cmath>

#include "lower/geometry/affine.h"

namespace {

using rz_obl::dot3;

constexpr int kLargestRaster = 32767;  // row spans are 16-bit
// Extents that miss a whole number of samples by less are noise of single-precision axes.
constexpr double kSampleNoise = 1e-3;

int count_samples(double extent, double spacing) {
    const double samples = std::ceil(extent / spacing - kSampleNoise);
    return samples >= 1.0 ? static_cast<int>(std::min<double>(samples, kLargestRaster)) : 1;
}

double finest_spacing(const RZ_Box& box) {
    double finest = 0.0;
    for (const float spacing : {box.GetXMmPerPixel(), box.GetYMmPerPixel(), box.GetZMmPerPixel()}) {
        const double mm = static_cast<double>(spacing);
        if (mm > 0.0 && (finest == 0.0 || mm < finest)) finest = mm;
    }
    return finest > 0.0 ? finest : 1.0;
}

// The box that bounds `extent` along the axes of frame (rows: two units, normal), about its centre. In-plane
// samples are square: of the spacing asked for, or wider where the raster would grow beyond what spans can
// address.
RZ_Box bounding_box(const RZ_BoxParams& extent, const double frame[4][4], double spacing) {
    double box[4][4];
    extent.GetPhysicalFromNorm(box);
    double length[3];
    for (int k = 0; k < 3; ++k) {
        length[k] = std::abs(dot3(box[0], frame[k])) + std::abs(dot3(box[1], frame[k])) +
                    std::abs(dot3(box[2], frame[k]));
    }
    spacing = std::max({spacing, length[0] / kLargestRaster, length[1] / kLargestRaster});
    int samples[3];
    for (int k = 0; k < 2; ++k) samples[k] = count_samples(length[k], spacing);
    for (int k = 0; k < 2; ++k) spacing = std::max(spacing, length[k] / samples[k]);
    samples[2] = count_samples(length[2], spacing);

    double start[3];
    double sides[3][3];
    for (int i = 0; i < 3; ++i) start[i] = box[3][i] + 0.5 * (box[0][i] + box[1][i] + box[2][i]);
    for (int k = 0; k < 3; ++k) {
        const double side = std::max(samples[k] * spacing, length[k]);
        for (int i = 0; i < 3; ++i) {
            sides[k][i] = frame[k][i] * side;
            start[i] -= 0.5 * sides[k][i];
        }
    }
    return RZ_Box(samples[0], samples[1], samples[2], RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

// True if the first two sides of a box run along the plane.
bool lies_in_plane(const double box[4][4], const double normal[3]) {
    for (int k = 0; k < 2; ++k) {
        const double length = std::sqrt(dot3(box[k], box[k]));
        if (!(std::abs(dot3(box[k], normal)) <= 1e-4 * length)) return false;
    }
    return true;
}

}  // namespace

void RZ_TypesUtils::CalcSwiveledBoundingBox(const RZ_VolData& volume, RZ_PlaneParams& plane, RZ_Box& out) {
    double frame[4][4];
    plane.GetPhysicalFromPlane(frame);
    const RZ_Box& box = *volume.GetBox();
    out = bounding_box(box.params, frame, finest_spacing(box));
}

void RZ_TypesUtils::CalcPlanarCutBox(const RZ_Box& box, RZ_PlaneParams& plane, RZ_Box& out) {
    double frame[4][4];
    plane.GetPhysicalFromPlane(frame);
    const double* normal = frame[2];
    double cut[4][4];
    box.params.GetPhysicalFromNorm(cut);
    RZ_Box turned = box;
    if (!lies_in_plane(cut, normal)) {
        const double in_plane = static_cast<double>(std::min(box.GetXMmPerPixel(), box.GetYMmPerPixel()));
        turned = bounding_box(box.params, frame, in_plane > 0.0 ? in_plane : finest_spacing(box));
        turned.params.GetPhysicalFromNorm(cut);
    }

    const double shrink = std::max({1.0, turned.xDim / static_cast<double>(kLargestRaster),
                                    turned.yDim / static_cast<double>(kLargestRaster)});
    const int width = std::max(static_cast<int>(turned.xDim / shrink), 1);
    const int height = std::max(static_cast<int>(turned.yDim / shrink), 1);

    // The cut slides along the box's third side to the plane, which differs from the normal only in a sheared
    // box.
    double offset[3];
    for (int i = 0; i < 3; ++i)
        offset[i] = frame[3][i] - cut[3][i] - 0.5 * (cut[0][i] + cut[1][i] + cut[2][i]);
    const double distance = dot3(offset, normal);
    const double rise = dot3(cut[2], normal);
    const double depth = std::sqrt(dot3(cut[2], cut[2]));
    const bool slides = std::abs(rise) > 1e-4 * depth;

    const double thickness = std::sqrt(dot3(cut[0], cut[0])) / width;
    double start[3];
    double side[3];
    for (int i = 0; i < 3; ++i) {
        const double move = slides ? cut[2][i] * (distance / rise) : normal[i] * distance;
        side[i] = normal[i] * (thickness > 0.0 ? thickness : 1.0);
        start[i] = cut[3][i] + 0.5 * cut[2][i] + move - 0.5 * side[i];
    }
    out = RZ_Box(width, height, 1, RZ_BoxParams(start, cut[0], cut[1], side));
}

void RZ_TypesUtils::CalcCutBox(const RZ_Box& box, int first, int count, RZ_Box& out) {
    double extent[4][4];
    box.params.GetPhysicalFromNorm(extent);
    const double slices = static_cast<double>(std::max(box.zDim, 1));
    for (int i = 0; i < 3; ++i) {
        extent[3][i] += extent[2][i] * (first / slices);
        extent[2][i] *= count / slices;
    }
    RZ_Box cut = box;
    cut.zDim = count;
    cut.params = RZ_BoxParams(extent[3], extent[0], extent[1], extent[2]);
    out = cut;
}
