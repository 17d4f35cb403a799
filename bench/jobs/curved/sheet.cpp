#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "bench/jobs/curved/curved.h"

namespace rz_bench {
namespace {

constexpr double kPixel = 0.75;

// Winding, yet nowhere so far from an axis that a slab of 21 samples would lose one.
RZ_Spline winding() {
    const double pi = std::acos(-1.0);
    std::vector<RZ_3Coord> points;
    for (int i = 0; i <= 16; ++i) {
        const double x = 40.0 + 27.0 * i;
        points.emplace_back(static_cast<float>(x),
                            static_cast<float>(255.0 + 20.0 * std::sin(pi * x / 200.0)), 199.5F);
    }
    return RZ_Spline(points.data(), static_cast<int>(points.size()), RZ_3Coord(0.06F, 0.1F, 0.99F));
}

RZ_Box image_box() {
    const double side = Sheet::kPixels * kPixel;
    const double start[3] = {-0.5 * side, -0.5 * side, 0.0};
    const double across[3] = {side, 0.0, 0.0};
    const double down[3] = {0.0, side, 0.0};
    const double depth[3] = {0.0, 0.0, 1.0};
    return RZ_Box(Sheet::kPixels, Sheet::kPixels, 1, RZ_BoxParams(start, across, down, depth));
}

}  // namespace

Sheet::Sheet(Volume& volume_, float halfThickness_, RZ_OBL_RenditionType type_)
    : volume(volume_), halfThickness(halfThickness_), type(type_), spline(winding()), image(image_box()) {
    if (RZ_PrepareCurveData(spline, image, false, nullptr, nullptr, 0, &data, nullptr) != 1)
        throw std::runtime_error("the curve is refused");
    int firstRow = 0, lastRow = 0, bounds[2] = {0, 0}, crossFirst = 0;
    float along = 0.0F, cross = 0.0F;
    RZ_CalcCurved(volume.slices(), volume.box(), volume.box().params, volume.box(), volume.box().params,
                  spline, nullptr, image, &data, &firstRow, &lastRow, 0, volume.size[2] - 1,
                  RZ_OBL_RenditionQuality::Linear, false, 0.0F, halfThickness, 0, 0, bounds, nullptr, nullptr,
                  nullptr, type, nullptr, nullptr, nullptr, nullptr, &along, &cross, &crossFirst, 0.0F, 1.0F);
    if (bounds[0] != 0 || bounds[1] != kPixels - 1 || firstRow != 0 || lastRow != kPixels - 1)
        throw std::runtime_error("the curve does not fill its image");
    firstCross = crossFirst - firstRow;
    for (int i = 0; i < kPixels; ++i) {
        Column c{};
        double longest = 0.0;
        for (int k = 0; k < 3; ++k) {
            const double spacing = volume.spacing[k];
            c.origin[k] = static_cast<const float*>(data.points[i])[k] / spacing;
            c.across[k] = static_cast<const float*>(data.directions[i])[k] / spacing;
            c.through[k] = static_cast<const float*>(data.normals[i])[k] / spacing;
            longest = std::max(longest, std::fabs(c.through[k]));
        }
        for (double& step : c.through) step /= longest;
        c.halfSamples = static_cast<int>(std::floor(halfThickness * longest));
        columns.push_back(c);
    }
}

double Sheet::samples() const {
    double sum = 0.0;
    for (const Column& c : columns) sum += (2.0 * c.halfSamples + 1.0) * kPixels;
    return sum;
}

void Sheet::draw(short* raster) {
    int firstRow = 0, lastRow = 0, bounds[2] = {0, 0}, crossFirst = 0;
    float along = 0.0F, cross = 0.0F;
    RZ_CalcCurved(volume.slices(), volume.box(), volume.box().params, volume.box(), volume.box().params,
                  spline, raster, image, &data, &firstRow, &lastRow, 0, volume.size[2] - 1,
                  RZ_OBL_RenditionQuality::Linear, false, 0.0F, halfThickness, 0, 0, bounds, nullptr, nullptr,
                  nullptr, type, nullptr, nullptr, nullptr, nullptr, &along, &cross, &crossFirst, 0.0F, 1.0F);
}

}  // namespace rz_bench
