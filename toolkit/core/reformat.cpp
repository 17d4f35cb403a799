#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "rz_obl/rz_obl.h"
#include "toolkit/core/background.h"
#include "toolkit/core/coverage.h"
#include "toolkit/core/error.h"
#include "toolkit/core/plane_request.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

using Type = RZ_OBL_RenditionType;
using Quality = RZ_OBL_RenditionQuality;

/// The plane's own frame has its origin in the middle of the picture, x to the right, y down.
RZ_PlaneParams plane_of(const PlaneRequest& request) {
    const Vec3 across = cross(scaled(*request.up, -1), request.normal);
    float normal[3], origin[3], unit[3];
    for (std::size_t k = 0; k < 3; ++k) {
        normal[k] = static_cast<float>(request.normal[k]);
        origin[k] = static_cast<float>((*request.centre)[k]);
        unit[k] = static_cast<float>(across[k]);
    }
    return {normal, origin, unit};
}

RZ_Box box_in_plane(const PlaneRequest& request) {
    const double width = *request.spacing * (*request.size)[0];
    const double height = *request.spacing * (*request.size)[1];
    const double start[3] = {-0.5 * width, -0.5 * height, -0.5};
    const double right[3] = {width, 0, 0};
    const double down[3] = {0, height, 0};
    const double away[3] = {0, 0, 1};
    return {(*request.size)[0], (*request.size)[1], 1, RZ_BoxParams(start, right, down, away)};
}

Grid grid_of(const PlaneRequest& request) {
    Grid grid;
    grid.size = {(*request.size)[0], (*request.size)[1], 1};
    const double spacing = *request.spacing;
    grid.spacing = {spacing, spacing, request.thickness > 0 ? request.thickness : spacing};
    grid.direction = {cross(scaled(*request.up, -1), request.normal), scaled(*request.up, -1),
                      request.normal};
    grid.origin =
        added(*request.centre, added(scaled(grid.direction[0], -0.5 * spacing * (grid.size[0] - 1)),
                                     scaled(grid.direction[1], -0.5 * spacing * (grid.size[1] - 1))));
    return grid;
}

/// The grid without some samples at the start and the end of each of its first two axes.
RZ_BoxParams inner_part(const Grid& grid, double before, double afterColumns, double afterRows) {
    const Vec3 start = grid.toPhysical({before - 0.5, before - 0.5, -0.5});
    const Vec3 length{grid.size[0] - before - afterColumns, grid.size[1] - before - afterRows,
                      static_cast<double>(grid.size[2])};
    Vec3 sides[3];
    for (std::size_t k = 0; k < 3; ++k) sides[k] = scaled(grid.direction[k], grid.spacing[k] * length[k]);
    return {start.data(), sides[0].data(), sides[1].data(), sides[2].data()};
}

/// The part of the volume in which every sample of a scan has the neighbours that its interpolation wants.
/// Outside it the semi-cubic kernels give 0, which in a CT is water, and the cubic one for colours takes
/// neighbours from other rows; the background is the better answer there.
RZ_BoxParams sampled_part(const Volume& volume, const PlaneRequest& request, const RZ_Box& volumeBox) {
    const Grid& grid = volume.grid();
    const bool cubic = request.quality == Quality::Cubic;
    // Slices far apart turn cubic into semi-cubic.
    const bool semicubic = request.quality == Quality::SemiCubic || (cubic && volumeBox.GetSliceZf() > 4.0F);
    const bool narrower = std::min(grid.size[0], grid.size[1]) > 4 && request.type == Type::Average;
    // The last row but two is not read to its end either.
    if (narrower && volume.kind() == SampleKind::Int16 && semicubic) return inner_part(grid, 1, 1, 2);
    if (narrower && volume.kind() == SampleKind::Rgb && cubic) return inner_part(grid, 1, 1, 1);
    return volumeBox.params;
}

/// Slice objects of this call: the first one, which says how samples read, is a copy with the volume's
/// fields, so that volumes that share samples may be drawn at once.
class CallSlices {
  public:
    explicit CallSlices(const Volume& volume)
        : pointers_(volume.slices(), volume.slices() + volume.grid().size[2]) {
        if (volume.kind() == SampleKind::Rgb)
            first_ = std::make_unique<RZ_LongSlice>(static_cast<const RZ_LongSlice&>(*pointers_[0]));
        else
            first_ = std::make_unique<RZ_ShortSlice>(static_cast<const RZ_ShortSlice&>(*pointers_[0]));
        first_->isSigned = volume.isSigned;
        first_->bitDepth = volume.bitDepth;
        pointers_[0] = first_.get();
    }
    RZ_Slice** data() { return pointers_.data(); }

  private:
    std::vector<RZ_Slice*> pointers_;
    std::unique_ptr<RZ_Slice> first_;
};

template <class Sample>
void fill(std::vector<std::byte>& samples, int stored) {
    const auto sample = static_cast<Sample>(stored);
    for (std::size_t at = 0; at < samples.size(); at += sizeof(Sample))
        std::memcpy(&samples[at], &sample, sizeof(Sample));
}

void fill(Image& image, int stored) {
    if (image.kind == SampleKind::Int16)
        fill<std::int16_t>(image.samples, stored);
    else if (image.kind == SampleKind::UInt8)
        fill<std::uint8_t>(image.samples, stored);
    else
        fill<std::uint32_t>(image.samples, stored * 0x010101);
}

/// Whether a scan lets what the raster held take part where it draws: maxima of 16-bit samples do, and the
/// filled rows of a fast minimum.
bool mixes_background(const Volume& volume, const PlaneRequest& request) {
    if (volume.kind() != SampleKind::Int16) return false;
    if (request.type == Type::Maximum) return request.quality != Quality::Nearest;
    return request.type == Type::Minimum && request.quality == Quality::LinearFast;
}

/// Puts the background back where nothing was drawn.
void restore_background(Image& image, const std::vector<RowRange>& drawn) {
    auto* sample = reinterpret_cast<std::int16_t*>(image.samples.data());
    const auto background = static_cast<std::int16_t>(image.background);
    for (int row = 0; row < image.height(); ++row, sample += image.width()) {
        const RowRange& range = drawn[static_cast<std::size_t>(row)];
        const bool any = range.first <= range.last;
        std::fill(sample, sample + (any ? range.first : image.width()), background);
        if (any) std::fill(sample + range.last + 1, sample + image.width(), background);
    }
}

/// The 32-bit kernels exchange the first and the third channel.
void exchange_channels(std::vector<std::byte>& samples) {
    for (std::size_t at = 0; at < samples.size(); at += 4) std::swap(samples[at], samples[at + 2]);
}

[[noreturn]] void refuse_empty(const Volume& volume, const PlaneRequest& request) {
    const std::string plane = "about " + text(*request.centre) + " with normal " + text(request.normal);
    if (request.thickness > 0)
        throw Error("nothing to draw: a slab of " + text(request.thickness) + " mm " + plane +
                    " has its two faces inside the volume nowhere in the picture");
    throw Error("nothing to draw: the picture " + plane + " does not meet the volume, whose middle is " +
                text(volume.grid().centre()));
}

}  // namespace

Image draw(const Volume& volume, const PlaneRequest& request) {
    Image image;
    image.grid = grid_of(request);
    image.kind = volume.kind();
    image.isSigned = volume.isSigned;
    image.bitDepth = volume.bitDepth;
    image.rescale = volume.rescale;
    image.background = stored_background(volume, *request.background);
    const std::size_t bytes = static_cast<std::size_t>(image.width()) *
                              static_cast<std::size_t>(image.height()) * bytesPerSample(image.kind);
    try {
        image.samples.resize(bytes);
    } catch (const std::bad_alloc&) {
        throw Error("a picture of " + std::to_string(image.width()) + " x " + std::to_string(image.height()) +
                    " needs " + bytes_text(static_cast<double>(bytes)) + " of memory, which cannot be had");
    }
    const bool mixes = mixes_background(volume, request);
    const bool maximum = request.type == Type::Maximum;
    fill(image, mixes && maximum ? std::numeric_limits<std::int16_t>::min() : image.background);

    const RZ_Box volumeBox = volume.grid().box();
    const RZ_Box outputBox = box_in_plane(request);
    const RZ_PlaneParams plane = plane_of(request);
    // A hair more, so that a slab of a whole number of steps keeps its outer planes whatever the rounding.
    const auto halfThickness = static_cast<float>(0.5 * request.thickness * (1 + 1e-5));
    image.firstRow = image.height();
    image.firstColumn = image.width();
    CallSlices slices(volume);
    RZ_PlanarObliqueProjection(slices.data(), volumeBox, sampled_part(volume, request, volumeBox), plane,
                               nullptr, reinterpret_cast<char*>(image.samples.data()), outputBox,
                               &image.firstRow, &image.lastRow, &image.firstColumn, &image.lastColumn, 0,
                               volumeBox.zDim - 1, request.quality, halfThickness, request.type);

    if (mixes) {
        const std::vector<RowRange> scanned = scanned_rows(volumeBox, plane, outputBox, halfThickness);
        restore_background(image, request.quality == Quality::LinearFast ? fast_rows(scanned) : scanned);
    }
    if (image.kind == SampleKind::Rgb) exchange_channels(image.samples);
    return image;
}

Image reformat(const Volume& volume, const PlaneRequest& asked) {
    const PlaneRequest request = resolve(volume, asked);
    Image image = draw(volume, request);
    if (image.firstColumn > image.lastColumn) refuse_empty(volume, request);
    return image;
}

}  // namespace rzobl
