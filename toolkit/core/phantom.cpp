#include "toolkit/core/phantom.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

constexpr double kPi = 3.14159265358979323846;
/// Beyond this distance a surface is not looked at more closely; more than any edge is blurred.
constexpr double kFar = 20;
constexpr double kHelixTurns = 2.5;
constexpr double kHelixRadius = 32;
constexpr double kHelixHeight = 62;
constexpr double kHelixBottom = -18;

/// A tissue in the three ways of sampling it.
struct Tissue {
    double hounsfield;
    double grey;
    Vec3 colour;
};

constexpr Tissue kAir{-1000, 2, {8, 8, 16}};
constexpr Tissue kSkin{10, 150, {226, 178, 150}};
constexpr Tissue kBone{1000, 30, {245, 240, 220}};
constexpr Tissue kBrain{38, 120, {196, 128, 132}};
constexpr Tissue kWater{6, 60, {60, 110, 220}};
constexpr Tissue kVessel{320, 235, {220, 20, 30}};
constexpr Tissue kLesion{85, 190, {250, 200, 40}};
constexpr Tissue kPlastic{180, 80, {40, 190, 90}};
constexpr Tissue kMetal{2400, 5, {230, 230, 255}};

Tissue mixed(const Tissue& under, const Tissue& over, double share) {
    Tissue out;
    out.hounsfield = under.hounsfield + share * (over.hounsfield - under.hounsfield);
    out.grey = under.grey + share * (over.grey - under.grey);
    for (std::size_t c = 0; c < 3; ++c)
        out.colour[c] = under.colour[c] + share * (over.colour[c] - under.colour[c]);
    return out;
}

double distance(const Vec3& a, const Vec3& b) {
    return length(added(a, scaled(b, -1)));
}

/// Depth below the surface of an ellipsoid in mm, near enough for its edge: exact on the surface.
double inside_ellipsoid(const Vec3& p, const Vec3& centre, const Vec3& radii) {
    const Vec3 d = added(p, scaled(centre, -1));
    for (std::size_t k = 0; k < 3; ++k)
        if (std::abs(d[k]) > radii[k] + kFar) return -kFar;
    const Vec3 q{d[0] / radii[0], d[1] / radii[1], d[2] / radii[2]};
    const Vec3 g{q[0] / radii[0], q[1] / radii[1], q[2] / radii[2]};
    const double steep = length(g);
    return steep > 0 ? (1 - length(q)) * length(q) / steep : *std::min_element(radii.begin(), radii.end());
}

double inside_rod(const Vec3& p, const Vec3& from, const Vec3& to, double radius) {
    for (std::size_t k = 0; k < 3; ++k)
        if (p[k] < std::min(from[k], to[k]) - radius - kFar ||
            p[k] > std::max(from[k], to[k]) + radius + kFar)
            return -kFar;
    const Vec3 along = added(to, scaled(from, -1));
    const double t = std::clamp(dot(added(p, scaled(from, -1)), along) / dot(along, along), 0.0, 1.0);
    return radius - distance(p, added(from, scaled(along, t)));
}

double inside_helix(const Vec3& p) {
    const double off = std::hypot(p[0], p[1]) - kHelixRadius;
    const double far = 2 * kPhantomHelixRadius;
    if (std::abs(off) > far || p[2] < kHelixBottom - far || p[2] > kHelixBottom + kHelixHeight + far)
        return -far;
    // On each turn the nearest point lies close to the one in the same direction from the axis.
    double nearest = far;
    const double direction = std::atan2(p[1], p[0]) / (2 * kPi);
    for (double turn = -1; turn <= kHelixTurns + 1; ++turn) {
        double t = std::clamp((direction + turn) / kHelixTurns, 0.0, 1.0);
        if (std::abs(phantom_helix(t)[2] - p[2]) > 2 * far) continue;
        for (int step = 0; step < 3; ++step) {
            const Vec3 at = phantom_helix(t);
            const double w = 2 * kPi * kHelixTurns;
            const Vec3 slope{-w * at[1], w * at[0], kHelixHeight};
            t = std::clamp(t + dot(added(p, scaled(at, -1)), slope) / dot(slope, slope), 0.0, 1.0);
        }
        nearest = std::min(nearest, distance(p, phantom_helix(t)));
    }
    return kPhantomHelixRadius - nearest;
}

/// Adds the parts one over the other. edge: mm over which a surface is blurred, so that samples show no
/// steps.
class Painter {
  public:
    Painter(const Vec3& point, double edge) : p_(point), edge_(edge) {}
    void paint(const Tissue& tissue, double inside) {
        const double share = std::clamp(0.5 + inside / edge_, 0.0, 1.0);
        if (share > 0) tissue_ = mixed(tissue_, tissue, share);
    }
    void ball(const Tissue& tissue, const Vec3& centre, double radius) {
        if (std::abs(p_[2] - centre[2]) > radius + kFar) return;
        paint(tissue, radius - distance(p_, centre));
    }
    void rod(const Tissue& tissue, const Vec3& from, const Vec3& to, double radius) {
        paint(tissue, inside_rod(p_, from, to, radius));
    }
    void ellipsoid(const Tissue& tissue, const Vec3& centre, const Vec3& radii) {
        paint(tissue, inside_ellipsoid(p_, centre, radii));
    }
    const Tissue& tissue() const { return tissue_; }

  private:
    Vec3 p_;
    double edge_;
    Tissue tissue_ = kAir;
};

Tissue tissue_at(const Vec3& p, double edge) {
    Painter head(p, edge);
    head.ellipsoid(kSkin, {0, 0, 10}, {74, 92, 88});
    head.ellipsoid(kSkin, {0, -84, -8}, {11, 17, 16});
    head.rod(kSkin, {0, 12, -96}, {0, 6, -50}, 44);
    head.ellipsoid(kBone, {0, 2, 14}, {68, 84, 78});
    head.ellipsoid(kBrain, {0, 2, 14}, {62, 78, 72});
    head.ellipsoid(kWater, {-13, -8, 22}, {7, 30, 11});
    head.ellipsoid(kWater, {13, -8, 22}, {7, 30, 11});
    head.paint(kVessel, inside_helix(p));
    head.ball(kLesion, {26, 44, 34}, 9);
    head.ball(kLesion, {-34, -42, 40}, 6);
    head.ball(kLesion, {-20, 50, 2}, 4);
    head.rod(kPlastic, {-46, 0, 52}, {46, 0, 52}, 2.5);
    head.rod(kPlastic, {0, -56, 52}, {0, 60, 52}, 2.5);
    head.rod(kBone, {0, 44, -96}, {0, 56, -40}, 12);
    head.rod(kWater, {0, 44, -96}, {0, 56, -36}, 6);
    head.ellipsoid(kAir, {0, -66, -6}, {10, 24, 14});
    head.rod(kAir, {0, -50, -14}, {0, -20, -48}, 7);
    head.rod(kAir, {0, -20, -48}, {0, -18, -98}, 8);
    head.ball(kMetal, {30, -62, -34}, 2.5);
    // x runs to the patient's left: three beads there, one on the right.
    for (const double y : {-20.0, 0.0, 20.0}) head.ball(kBone, {82, y, 10}, 4);
    head.ball(kBone, {-82, 0, 10}, 4);
    return head.tissue();
}

std::uint8_t byte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

}  // namespace

Vec3 phantom_helix(double t) {
    const double angle = 2 * kPi * kHelixTurns * t;
    return {kHelixRadius * std::cos(angle), kHelixRadius * std::sin(angle), kHelixBottom + kHelixHeight * t};
}

Grid phantom_grid(double spacing) {
    if (!(spacing >= 0.05 && spacing <= 20))
        throw Error("a phantom's spacing is 0.05 to 20 mm, not " + text(spacing));
    Grid grid;
    const Vec3 extent{184, 216, 204};
    for (std::size_t k = 0; k < 3; ++k) {
        grid.size[k] = static_cast<int>(std::lround(extent[k] / spacing));
        grid.spacing[k] = spacing;
        grid.origin[k] = -0.5 * spacing * (grid.size[k] - 1);
    }
    return grid;
}

Volume make_phantom(const Grid& grid, SampleKind kind) {
    Volume volume = Volume::allocate(grid, kind);
    if (kind == SampleKind::Int16) volume.bitDepth = 13;
    const double edge = *std::min_element(grid.spacing.begin(), grid.spacing.end());
    for (int k = 0; k < grid.size[2]; ++k) {
        std::size_t at = 0;
        for (int j = 0; j < grid.size[1]; ++j)
            for (int i = 0; i < grid.size[0]; ++i, ++at) {
                const Tissue tissue = tissue_at(
                    grid.toPhysical({static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)}),
                    edge);
                if (kind == SampleKind::Int16)
                    static_cast<std::int16_t*>(volume.raster(k))[at] =
                        static_cast<std::int16_t>(std::lround(tissue.hounsfield));
                else if (kind == SampleKind::UInt8)
                    static_cast<std::uint8_t*>(volume.raster(k))[at] = byte(tissue.grey);
                else
                    static_cast<std::uint32_t*>(volume.raster(k))[at] =
                        byte(tissue.colour[0]) | static_cast<std::uint32_t>(byte(tissue.colour[1])) << 8 |
                        static_cast<std::uint32_t>(byte(tissue.colour[2])) << 16;
            }
    }
    return volume;
}

}  // namespace rzobl
