#include "toolkit/core/curved_request.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "toolkit/core/background.h"
#include "toolkit/core/curve_view.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

constexpr int kMostPixels = 32767;
/// Samples between two reports of progress, some ten milliseconds of work.
constexpr double kSamplesPerReport = 1e6;

double diagonal_of(const Grid& grid) {
    return length(
        {grid.spacing[0] * grid.size[0], grid.spacing[1] * grid.size[1], grid.spacing[2] * grid.size[2]});
}

void check_volume(const Volume& volume) {
    volume.grid().check();
    if (volume.kind() == SampleKind::Rgb)
        throw Error("curved pictures are drawn from volumes of 16-bit or 8-bit samples, not from colours");
    const std::array<int, 3>& size = volume.grid().size;
    if (size[0] < 2 || size[1] < 2)
        throw Error("a curved picture needs slices of at least 2 x 2 samples, and these have " +
                    std::to_string(size[0]) + " x " + std::to_string(size[1]));
}

void check_points(const Grid& grid, const std::vector<Vec3>& points) {
    if (points.size() < 2)
        throw Error("a curve needs at least two points, and " +
                    std::string(points.empty() ? "none was" : "one was") + " given");
    if (points.size() > kMostCurvePoints)
        throw Error("a curve has at most " + std::to_string(kMostCurvePoints) + " points, not " +
                    std::to_string(points.size()));
    const double reach = 2 * diagonal_of(grid);
    bool anyInside = false;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::string name = "point " + std::to_string(i + 1) + " of the curve, " + text(points[i]);
        if (!is_finite(points[i])) throw Error(name + ", is not three finite numbers");
        const double away = length(added(points[i], scaled(grid.centre(), -1)));
        if (away > reach)
            throw Error(name + ", lies " + text(away) + " mm from the middle of the volume, which is " +
                        text(grid.centre()) + "; points are LPS millimetres");
        const Vec3 index = grid.toIndex(points[i]);
        bool inside = true;
        for (std::size_t k = 0; k < 3; ++k)
            inside = inside && index[k] >= -0.5 && index[k] <= grid.size[k] - 0.5;
        anyInside = anyInside || inside;
    }
    if (!anyInside)
        throw Error("all points of the curve lie outside the volume, which reaches from " +
                    text(grid.toPhysical({0, 0, 0})) + " to " +
                    text(grid.toPhysical({grid.size[0] - 1.0, grid.size[1] - 1.0, grid.size[2] - 1.0})) +
                    "; points are LPS millimetres");
}

void check_numbers(const Grid& grid, const CurvedRequest& request) {
    const auto type = static_cast<int>(request.type);
    if (type < 0 || type > 2) throw Error("there is no rendition type " + std::to_string(type));
    if (request.sweep) {
        if (!is_finite(*request.sweep))
            throw Error("the sweep must be three finite numbers, not " + text(*request.sweep));
        if (*request.sweep == Vec3{0, 0, 0})
            throw Error("the sweep is the zero vector, which has no direction");
    }
    if (request.size)
        for (std::size_t k = 0; k < 2; ++k)
            if ((*request.size)[k] < 1 || (*request.size)[k] > kMostPixels)
                throw Error("a curved picture has 1 to " + std::to_string(kMostPixels) +
                            (k == 0 ? " columns, not " : " rows, not ") + std::to_string((*request.size)[k]));
    if (request.spacing && (!(*request.spacing > 0) || !std::isfinite(*request.spacing)))
        throw Error("the spacing must be a positive number of millimetres, not " + text(*request.spacing));
    if (!(request.thickness >= 0) || !std::isfinite(request.thickness))
        throw Error("the thickness must be 0 or a positive number of millimetres, not " +
                    text(request.thickness));
    const double diagonal = diagonal_of(grid);
    if (request.thickness > diagonal)
        throw Error("a slab of " + text(request.thickness) +
                    " mm is thicker than the volume, which measures " + text(diagonal) +
                    " mm from corner to corner");
    if (!request.band) return;
    if (!request.localFrames)
        throw Error("a band about the curve is for a sweep that turns with it; ask for local frames too");
    // 0.1 mm stands for no band at all.
    if (!(*request.band > 0.101) || !std::isfinite(*request.band))
        throw Error("the band must be more than 0.1 mm wide, not " + text(*request.band));
}

/// Slices that the library reads as they stand. It takes bytes for unsigned: signed ones are lifted by 128.
class CurveSlices {
  public:
    explicit CurveSlices(const Volume& volume) : volume_(volume) {
        if (volume.kind() != SampleKind::UInt8 || !volume.isSigned) return;
        lift_ = std::byte{0x80};
        const Grid& grid = volume.grid();
        const auto count = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
        volume_ = Volume::allocate(grid, SampleKind::UInt8);
        for (int k = 0; k < grid.size[2]; ++k) {
            const auto* const from = static_cast<const std::byte*>(volume.raster(k));
            std::transform(from, from + count, static_cast<std::byte*>(volume_.raster(k)),
                           [this](std::byte sample) { return sample ^ lift_; });
        }
    }
    RZ_Slice** data() const { return volume_.slices(); }
    /// Before drawing, and once more after it.
    void lift(std::vector<std::byte>& samples) const {
        if (lift_ == std::byte{0}) return;
        for (std::byte& sample : samples) sample ^= lift_;
    }

  private:
    Volume volume_;
    std::byte lift_{0};
};

void fill(Image& image, int stored) {
    if (image.kind == SampleKind::UInt8) {
        std::fill(image.samples.begin(), image.samples.end(), static_cast<std::byte>(stored));
        return;
    }
    const auto sample = static_cast<std::int16_t>(stored);
    for (std::size_t at = 0; at < image.samples.size(); at += 2) std::memcpy(&image.samples[at], &sample, 2);
}

bool is_all(const Image& image, int stored) {
    Image one;
    one.kind = image.kind;
    one.samples.resize(bytesPerSample(image.kind));
    fill(one, stored);
    for (std::size_t at = 0; at < image.samples.size(); at += one.samples.size())
        if (!std::equal(one.samples.begin(), one.samples.end(),
                        image.samples.begin() + static_cast<std::ptrdiff_t>(at)))
            return false;
    return true;
}

void draw_all(CurveView& view, const CurveSlices& slices, Image& image, RZ_OBL_RenditionType type,
              const DrawingControl& control) {
    const double work =
        static_cast<double>(view.lines()) * view.across() * static_cast<double>(view.samplesPerPixel());
    // The library asks eight times per call whether it is cancelled.
    const int parts = std::max(1, std::min(view.lines() / 8, static_cast<int>(work / kSamplesPerReport)));
    slices.lift(image.samples);
    for (int part = 0; part < parts; ++part) {
        const auto share = [parts](int of) { return static_cast<float>(of) / static_cast<float>(parts); };
        for (int row = 0; row < view.across(); row += view.longestWalk())
            view.draw(slices.data(), image.samples.data(), type,
                      {share(part), share(part + 1), row, std::min(view.longestWalk(), view.across() - row)});
        if (control.progress) control.progress(static_cast<double>(share(part + 1)));
    }
    slices.lift(image.samples);
}

}  // namespace

std::optional<Vec3> CurvedImage::position(int column, int row) const {
    const int line = (curveRunsDown ? row : column) - firstLine;
    if (line < 0 || line >= static_cast<int>(lines.size())) return std::nullopt;
    const CurveLine& at = lines[static_cast<std::size_t>(line)];
    return added(at.point, scaled(at.step, (curveRunsDown ? column : row) - curvePixel));
}

CurvedImage draw_curved(const Volume& volume, const CurvedRequest& request, const DrawingControl& control) {
    WKR_Task never;
    const WKR_TaskScope scope(control.task ? *control.task : never);
    check_volume(volume);
    check_numbers(volume.grid(), request);
    check_points(volume.grid(), request.points);
    const double background = request.background.value_or(default_background(volume));

    CurvedImage picture;
    Image& image = picture.image;
    image.background = stored_background(volume, background);
    CurveView view(volume, request);
    view.describe(picture);
    image.kind = volume.kind();
    image.isSigned = volume.isSigned;
    image.bitDepth = volume.bitDepth;
    image.rescale = volume.rescale;
    const std::size_t bytes = static_cast<std::size_t>(image.width()) *
                              static_cast<std::size_t>(image.height()) * bytesPerSample(image.kind);
    try {
        image.samples.resize(bytes);
    } catch (const std::bad_alloc&) {
        throw Error("a picture of " + std::to_string(image.width()) + " x " + std::to_string(image.height()) +
                    " needs " + bytes_text(static_cast<double>(bytes)) + " of memory, which cannot be had");
    }

    const CurveSlices slices(volume);
    fill(image, image.background);
    draw_all(view, slices, image, request.type, control);
    if (is_all(image, image.background)) {
        // Either nothing was drawn or only samples like the background: another one tells.
        const int other = image.background == 0 ? 1 : 0;
        fill(image, other);
        draw_all(view, slices, image, request.type, {});
        if (is_all(image, other))
            throw Error(request.thickness > 0
                            ? "nothing to draw: a slab of " + text(request.thickness) +
                                  " mm about the surface has its two faces inside the volume nowhere in the "
                                  "picture"
                            : "nothing to draw: the part of the surface in the picture does not meet the "
                              "volume");
        fill(image, image.background);
    }
    return picture;
}

}  // namespace rzobl
