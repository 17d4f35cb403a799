#include "toolkit/core/curve_view.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

#include "toolkit/core/curve_fit.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

/// Lines, rows and positions are handed on in 16 bits.
constexpr int kMostPixels = 32767;
/// A line is walked by adding up steps in single precision. It may go astray by this much, in samples,
/// before it is begun anew; samples are taken no nearer than this to where a neighbour is lacking.
constexpr double kMostDrift = 0.125;
/// Sine of the smallest angle between sweep and curve.
constexpr double kLeastAngle = 0.0175;

RZ_3Coord coord(const Vec3& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

Vec3 vec(const RZ_3Coord& v) {
    return {v.x, v.y, v.z};
}

Grid about_its_middle(Grid grid) {
    grid.origin = added(grid.origin, scaled(grid.centre(), -1));
    return grid;
}

/// The grid from its first to its last sample centres, less what a walk may go astray. A single slice is
/// repeated by the library, and may be left by half.
RZ_BoxParams inner_part(const Grid& grid) {
    Vec3 first, sides[3];
    for (std::size_t k = 0; k < 3; ++k) {
        const double inset = grid.size[k] == 1 ? 0 : 0.5 + kMostDrift;
        first[k] = inset - 0.5;
        sides[k] = scaled(grid.direction[k], grid.spacing[k] * (grid.size[k] - 2 * inset));
    }
    const Vec3 start = grid.toPhysical(first);
    return {start.data(), sides[0].data(), sides[1].data(), sides[2].data()};
}

/// An even number of lines, as the library cuts a curve.
double lines_for(double length, double pixel) {
    return std::floor((std::floor(length / pixel) + 1) / 2) * 2;
}

}  // namespace

CurveView::CurveView(const Volume& volume, const CurvedRequest& request)
    : grid_(volume.grid()),
      middle_(grid_.centre()),
      volumeBox_(about_its_middle(grid_).box()),
      inner_(inner_part(about_its_middle(grid_))),
      localFrames_(request.localFrames),
      band_(request.band ? static_cast<float>(*request.band) : 0),
      thickness_(request.thickness),
      // A hair more, so that a slab of a whole number of steps keeps its outer samples whatever the rounding.
      halfThickness_(static_cast<float>(0.5 * request.thickness * (1 + 1e-5))) {
    make_spline(request);
    make_pixels(request);
    prepare();
    refuse_sweep_along_curve();
    place_across(request);
    limit_walk();
}

Vec3 CurveView::placed(const RZ_3Coord& point) const {
    return added(vec(point), middle_);
}

void CurveView::make_spline(const CurvedRequest& request) {
    std::vector<RZ_3Coord> points;
    points.reserve(request.points.size());
    for (const Vec3& point : request.points) points.push_back(coord(added(point, scaled(middle_, -1))));
    spline_ = RZ_Spline(points.data(), static_cast<int>(points.size()), RZ_3Coord(0, 0, 1));
    length_ = static_cast<double>(spline_.GetLength(0));
    if (!(length_ > 0))
        throw Error("all " + std::to_string(points.size()) + " points of the curve are " +
                    text(request.points.front()) + "; a curve needs two that differ");

    Vec3 sweep;
    if (request.sweep) {
        const Vec3& asked = *request.sweep;
        const double largest = std::max({std::abs(asked[0]), std::abs(asked[1]), std::abs(asked[2])});
        sweep = scaled(asked, 1 / largest);
    } else {
        constexpr int kProbes = 512;
        RZ_3Coord probes[kProbes], tangents[kProbes];
        spline_.InterpolateEDCurveWithTangents(probes, tangents, kProbes, 10, 5, nullptr, 0, 0);
        std::vector<Vec3> along;
        for (const RZ_3Coord& probe : probes) along.push_back(vec(probe));
        const CurveFit fit = fit_curve(along);
        sweep = default_sweep(fit);
        if (localFrames_) {
            // It keeps its angle to the curve, so a right angle at the start is one everywhere.
            const Vec3 tangent = vec(tangents[0]);
            const auto across = [&](const Vec3& v) { return added(v, scaled(tangent, -dot(v, tangent))); };
            sweep = length(across(sweep)) > 0.5 ? across(sweep) : across(fit.axis[1]);
        }
    }
    spline_.sweepDirection = coord(scaled(sweep, 1 / rzobl::length(sweep)));

    RZ_3Coord turned = spline_.sweepDirection, line = spline_.GetLineDirection();
    int sign = 1;
    transposed_ = RZ_FlipCurved(turned, line, &sign) != 0;
}

void CurveView::make_pixels(const CurvedRequest& request) {
    if (request.size) {
        along_ = (*request.size)[transposed_ ? 1 : 0];
        across_ = (*request.size)[transposed_ ? 0 : 1];
    }
    if (request.spacing)
        pixel_ = *request.spacing;
    else
        pixel_ =
            request.size ? length_ / along_ : *std::min_element(grid_.spacing.begin(), grid_.spacing.end());
    const double diagonal = length({grid_.spacing[0] * grid_.size[0], grid_.spacing[1] * grid_.size[1],
                                    grid_.spacing[2] * grid_.size[2]});
    if (pixel_ > diagonal || pixel_ < 1e-6 * diagonal)
        throw Error("pixels of " + text(pixel_) + " mm are too " + (pixel_ > diagonal ? "large" : "small") +
                    " for a volume that measures " + text(diagonal) + " mm from corner to corner");
    const double lines = lines_for(length_, pixel_);
    if (lines < 2)
        throw Error("the curve is " + text(length_) + " mm long, too short for pixels of " + text(pixel_) +
                    " mm");
    if (lines > kMostPixels)
        throw Error("a curve of " + text(length_) + " mm has " + text(lines) + " pixels of " + text(pixel_) +
                    " mm, more than " + std::to_string(kMostPixels) + "; give a larger spacing");
    if (!request.size) along_ = static_cast<int>(lines);
}

RZ_Box CurveView::image_box(int firstAcross, int across) const {
    // The library cuts the start to whole pixels, toward 0: aim at the middle of one.
    const int pixels = firstAcross + startShift_;
    const double start = (pixels + (pixels > 0 ? 0.5 : pixels < 0 ? -0.5 : 0.0)) * pixel_;
    const double curveStart = -0.5 * along_ * pixel_;
    const std::size_t x = transposed_ ? 1 : 0, y = 1 - x;
    double corner[3] = {0, 0, -0.5}, sides[2][3] = {{0, 0, 0}, {0, 0, 0}};
    const double depth[3] = {0, 0, 1};
    corner[x] = curveStart;
    corner[y] = start;
    sides[x][x] = along_ * pixel_;
    sides[y][y] = across * pixel_;
    RZ_Box box(transposed_ ? across : along_, transposed_ ? along_ : across, 1,
               RZ_BoxParams(corner, sides[0], sides[1], depth));
    box.rowStride = width();
    return box;
}

void CurveView::prepare() {
    RZ_Box box = image_box(0, 1);
    if (RZ_PrepareCurveData(spline_, box, localFrames_, nullptr, nullptr, 0, &data_, nullptr) != 1 ||
        data_.curveColumns > kMostPixels || lines() < 1)
        throw Error("a curve of " + text(length_) + " mm cannot be cut into pixels of " + text(pixel_) +
                    " mm");
}

void CurveView::refuse_sweep_along_curve() const {
    for (int i = 0; i + 1 < data_.sampleCount; ++i) {
        const Vec3 chord = added(vec(data_.points[i + 1]), scaled(vec(data_.points[i]), -1));
        const Vec3 sweep = vec(data_.directions[i]);
        const double area = length(cross(chord, sweep));
        // A line without a normal would be walked by steps that are not numbers.
        const double normal = length(vec(data_.normals[i]));
        if (area >= kLeastAngle * length(chord) * length(sweep) && std::abs(normal - 1) < 1e-3) continue;
        throw Error("the sweep " + text(scaled(sweep, 1 / length(sweep))) + " runs along the curve at " +
                    text(placed(data_.points[i])) +
                    ", where it sweeps no surface; give one that stays across the curve, or local frames");
    }
}

CurveView::Bounds CurveView::call(RZ_Slice** slices, void* raster, const RZ_Box& box,
                                  RZ_OBL_RenditionType type, float from, float to) {
    Bounds bounds;
    float alongRemainder = 0, crossRemainder = 0;
    RZ_CalcCurved(slices, volumeBox_, volumeBox_.params, volumeBox_, inner_, spline_, raster, box, &data_,
                  &bounds.firstRow, &bounds.lastRow, 0, volumeBox_.zDim - 1, RZ_OBL_RenditionQuality::Linear,
                  localFrames_, band_, halfThickness_, 0, 0, bounds.columns, nullptr, nullptr, nullptr, type,
                  nullptr, nullptr, nullptr, nullptr, &alongRemainder, &crossRemainder, &bounds.crossFirst,
                  from, to);
    return bounds;
}

void CurveView::place_across(const CurvedRequest& request) {
    // A box so high that nothing is cut off shows which cross indices the volume has, and where they come.
    constexpr int kHalf = 1 << 18;
    startShift_ = -kHalf;
    const Bounds bounds =
        call(nullptr, nullptr, image_box(0, 2 * kHalf), RZ_OBL_RenditionType::Average, 0, 1);
    const int first = transposed_ ? bounds.columns[0] : bounds.firstRow;
    const int last = transposed_ ? bounds.columns[1] : bounds.lastRow;
    if (last < first)
        throw Error(
            "nothing to draw: the surface swept along the curve does not meet the volume, whose "
            "middle is " +
            text(middle_));
    const int least = bounds.crossFirst, end = least + last - first + 1;
    const int shift = first - least - kHalf;  // how far the library moves the curve from the box's zero

    if (!request.size) {
        across_ = end - least;
        curvePixel_ = -least;
        if (request.localFrames && request.band) {
            const int half = static_cast<int>(std::ceil(0.5 * *request.band / pixel_));
            const int top = std::max(least, -half), bottom = std::min(end, half);
            across_ = std::max(1, bottom - top);
            curvePixel_ = -top;
        }
        if (across_ > kMostPixels)
            throw Error("showing all of the volume across the curve at " + text(pixel_) +
                        " mm per pixel needs " + std::to_string(across_) + " pixels, more than " +
                        std::to_string(kMostPixels) + "; give a size or a larger spacing");
    } else {
        curvePixel_ = across_ / 2;
    }
    if (std::abs(curvePixel_) > kMostPixels)
        throw Error("the curve lies too many pixels of " + text(pixel_) +
                    " mm away from the volume; give a larger spacing");
    startShift_ = shift - curvePixel_;
}

void CurveView::limit_walk() {
    const double finest = *std::min_element(grid_.spacing.begin(), grid_.spacing.end());
    const int longest = *std::max_element(grid_.size.begin(), grid_.size.end());
    const double samples = std::min(std::floor(thickness_ / finest) + 1, longest + 1.0);
    // Each step is rounded by half a unit of the last place of a position, the step between pixels twice.
    const double drift = (samples + 2) * longest * std::ldexp(1.0, -24);
    if (drift > kMostDrift)
        throw Error("a slab of " + text(thickness_) + " mm is " + text(samples) +
                    " samples thick, too many for a curved picture of this volume");
    samplesPerPixel_ = static_cast<int>(samples);
    longestWalk_ = static_cast<int>(std::min(static_cast<double>(across_), kMostDrift / drift));
}

void CurveView::draw(RZ_Slice** slices, void* raster, RZ_OBL_RenditionType type, const CurvePart& part) {
    const std::size_t bytes = slices[0]->pixelKind == RZ_Slice::kShort ? 2 : 1;
    const auto first = static_cast<std::size_t>(part.firstAcross);
    const std::size_t offset = transposed_ ? first : first * static_cast<std::size_t>(width());
    call(slices, static_cast<std::byte*>(raster) + offset * bytes, image_box(part.firstAcross, part.across),
         type, part.from, part.to);
}

void CurveView::describe(CurvedImage& picture) {
    picture.curveRunsDown = transposed_;
    picture.curveLength = length_;
    picture.curvePixel = curvePixel_;
    picture.firstLine = data_.firstSample - data_.viewStart;
    const double step = length_ / data_.curveColumns;
    for (int i = 0; i < lines(); ++i)
        picture.lines.push_back(
            {(data_.firstSample + i + 0.5) * step, placed(data_.points[i]), vec(data_.directions[i])});
    picture.sweep = scaled(picture.lines.front().step, 1 / length(picture.lines.front().step));

    Image& image = picture.image;
    image.grid = Grid{};
    image.grid.size = {width(), height(), 1};
    image.grid.spacing = {transposed_ ? pixel_ : step, transposed_ ? step : pixel_,
                          thickness_ > 0 ? thickness_ : pixel_};
    const Bounds bounds = call(nullptr, nullptr, image_box(0, across_), RZ_OBL_RenditionType::Average, 0, 1);
    image.firstRow = std::max(bounds.firstRow, 0);
    image.lastRow = std::min(bounds.lastRow, height() - 1);
    image.firstColumn = std::max(bounds.columns[0], 0);
    image.lastColumn = std::min(bounds.columns[1], width() - 1);
}

}  // namespace rzobl
