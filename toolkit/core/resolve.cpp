#include <algorithm>
#include <cmath>
#include <string>

#include "toolkit/core/background.h"
#include "toolkit/core/error.h"
#include "toolkit/core/plane_request.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr int kMostPixels = 32767;
/// 16-bit samples are walked in signed fixed point with 18 fraction bits.
constexpr int kMostSamples16 = 8191;
/// The longest step that a scan takes, in samples; longer ones would be cut to it.
constexpr double kLongestStep = 512;

Vec3 unit(const Vec3& v, const char* name) {
    if (!is_finite(v)) throw Error(std::string(name) + " must be three finite numbers, not " + text(v));
    // Scaled first, so that no length under- or overflows.
    const double largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
    if (!(largest > 0)) throw Error(std::string(name) + " is the zero vector, which has no direction");
    const Vec3 even = scaled(v, 1 / largest);
    return scaled(even, 1 / length(even));
}

/// Up within the picture, of length 1.
Vec3 level_up(const std::optional<Vec3>& asked, const Vec3& normal) {
    const bool alongBody = std::abs(normal[2]) > std::sqrt(0.5);
    const Vec3 up = asked ? unit(*asked, "up") : alongBody ? Vec3{0, -1, 0} : Vec3{0, 0, 1};
    const Vec3 inPlane = added(up, scaled(normal, -dot(up, normal)));
    if (length(inPlane) < 1e-6)
        throw Error("up " + text(*asked) +
                    " is parallel to the normal, so that it points nowhere in the picture");
    return scaled(inPlane, 1 / length(inPlane));
}

/// Millimetres from centre to both sides that a picture needs along axis to show the whole volume.
double extent_about(const Grid& grid, const Vec3& centre, const Vec3& axis) {
    double half = 0;
    for (int corner = 0; corner < 8; ++corner) {
        Vec3 index;
        for (std::size_t k = 0; k < 3; ++k) index[k] = corner >> k & 1 ? grid.size[k] - 0.5 : -0.5;
        half = std::max(half, std::abs(dot(added(grid.toPhysical(index), scaled(centre, -1)), axis)));
    }
    return 2 * half;
}

int pixels_for(double extent, double spacing, const char* name) {
    // A hair of slack, so that a picture along the volume's own axes has the volume's own size.
    const double pixels = std::max(2.0, std::ceil(extent / spacing - 1e-3));
    if (!(pixels <= kMostPixels))
        throw Error("showing " + text(extent) + " mm at " + text(spacing) + " mm per pixel needs " +
                    text(pixels) + " " + name + ", more than " + std::to_string(kMostPixels) +
                    "; give a size or a larger spacing");
    return static_cast<int>(pixels);
}

void check_size(const std::array<int, 2>& size) {
    // A row with a single column is never scanned.
    if (size[0] < 2 || size[0] > kMostPixels)
        throw Error("a picture has 2 to " + std::to_string(kMostPixels) + " columns, not " +
                    std::to_string(size[0]));
    if (size[1] < 1 || size[1] > kMostPixels)
        throw Error("a picture has 1 to " + std::to_string(kMostPixels) + " rows, not " +
                    std::to_string(size[1]));
}

void check_steps(const Grid& grid, const Vec3& across, double spacing) {
    for (std::size_t k = 0; k < 3; ++k) {
        const double samples = std::abs(spacing * dot(across, grid.direction[k])) / grid.spacing[k];
        if (samples >= kLongestStep)
            throw Error("a pixel of " + text(spacing) + " mm steps over " + text(samples) +
                        " samples of the volume, and at most 511 can be; give a smaller spacing");
    }
}

void check_combination(const Volume& volume, const PlaneRequest& request) {
    using Type = RZ_OBL_RenditionType;
    using Quality = RZ_OBL_RenditionQuality;
    const auto type = static_cast<int>(request.type);
    const auto quality = static_cast<int>(request.quality);
    if (type < 0 || type > 2) throw Error("there is no rendition type " + std::to_string(type));
    if (quality < 0 || quality > 4) throw Error("there is no quality " + std::to_string(quality));
    if (request.quality == Quality::Nearest && request.thickness > 0)
        throw Error(
            "quality nearest samples a single plane; give another quality for a slab, or no thickness");
    if (volume.kind() == SampleKind::Rgb && request.type != Type::Average)
        throw Error("colours have no greatest or least value; give type mean for a colour volume");
    if (volume.kind() == SampleKind::Int16 &&
        *std::max_element(volume.grid().size.begin(), volume.grid().size.end()) > kMostSamples16)
        throw Error("a 16-bit volume can be cut up to " + std::to_string(kMostSamples16) +
                    " samples along an axis, and this one has " + std::to_string(volume.grid().size[0]) +
                    " x " + std::to_string(volume.grid().size[1]) + " x " +
                    std::to_string(volume.grid().size[2]));
}

}  // namespace

PlaneRequest preset_request(Preset preset) {
    PlaneRequest request;
    const Vec3 head{0, 0, 1};
    const Vec3 front{0, -1, 0};
    switch (preset) {
        case Preset::Axial:
            request.normal = {0, 0, 1};
            request.up = front;
            break;
        case Preset::Coronal:
            request.normal = {0, 1, 0};
            request.up = head;
            break;
        case Preset::Sagittal:
            request.normal = {-1, 0, 0};
            request.up = head;
            break;
        case Preset::Oblique: {
            const double turn = 35 * kPi / 180;
            const double tip = 25 * kPi / 180;
            request.normal = {-std::sin(turn) * std::cos(tip), std::cos(turn) * std::cos(tip), std::sin(tip)};
            request.up = head;
            break;
        }
    }
    return request;
}

PlaneRequest resolve(const Volume& volume, const PlaneRequest& request) {
    const Grid& grid = volume.grid();
    grid.check();
    check_combination(volume, request);
    PlaneRequest done = request;
    done.normal = unit(request.normal, "the normal");
    done.up = level_up(request.up, done.normal);
    done.centre = request.centre.value_or(grid.centre());
    if (!is_finite(*done.centre))
        throw Error("the centre must be three finite numbers, not " + text(*done.centre));

    const double diagonal = length(
        {grid.spacing[0] * grid.size[0], grid.spacing[1] * grid.size[1], grid.spacing[2] * grid.size[2]});
    const double away = length(added(*done.centre, scaled(grid.centre(), -1)));
    if (away > 2 * diagonal)
        throw Error("the centre " + text(*done.centre) + " lies " + text(away) +
                    " mm from the middle of the volume, which is " + text(grid.centre()) +
                    "; the plane misses it");
    if (!(request.thickness >= 0) || !std::isfinite(request.thickness))
        throw Error("the thickness must be 0 or a positive number of millimetres, not " +
                    text(request.thickness));
    if (request.thickness > diagonal)
        throw Error("a slab of " + text(request.thickness) +
                    " mm is thicker than the volume, which measures " + text(diagonal) +
                    " mm from corner to corner");
    if (request.spacing && (!(*request.spacing > 0) || !std::isfinite(*request.spacing)))
        throw Error("the spacing must be a positive number of millimetres, not " + text(*request.spacing));
    if (request.size) check_size(*request.size);

    const Vec3 across = cross(scaled(*done.up, -1), done.normal);
    const double wide = extent_about(grid, *done.centre, across);
    const double high = extent_about(grid, *done.centre, *done.up);
    if (!done.spacing)
        done.spacing = done.size ? std::max(wide / (*done.size)[0], high / (*done.size)[1])
                                 : *std::min_element(grid.spacing.begin(), grid.spacing.end());
    if (!done.size)
        done.size = {pixels_for(wide, *done.spacing, "columns"), pixels_for(high, *done.spacing, "rows")};
    check_steps(grid, across, *done.spacing);
    if (!done.background) done.background = default_background(volume);
    stored_background(volume, *done.background);
    return done;
}

}  // namespace rzobl
