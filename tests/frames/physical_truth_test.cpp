#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "lower/definitions/matrix.h"
#include "rz_obl/rz_obl.h"
#include "tests/support/rasters.h"
#include "tests/support/seeded.h"

// Truth from outside: a volume whose samples are a linear function of physical position is resliced by planes
// of any direction, and each pixel must show the function's value where the pixel lies. Nothing here knows
// the frame's matrices; half a sample, a swapped axis or a mirrored side would be off by hundreds of units.

namespace {

using namespace rz_test;
using Vec = std::array<double, 3>;

double dot(const Vec& a, const Vec& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vec cross(const Vec& a, const Vec& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vec times(const Vec& a, double f) {
    return {a[0] * f, a[1] * f, a[2] * f};
}

Vec operator+(const Vec& a, const Vec& b) {
    return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}

Vec direction(Random& random) {
    for (;;) {
        const Vec a{static_cast<double>(random.real(-1, 1)), static_cast<double>(random.real(-1, 1)),
                    static_cast<double>(random.real(-1, 1))};
        const double length = std::sqrt(dot(a, a));
        if (length > 0.2 && length < 1.0) return times(a, 1.0 / length);
    }
}

/// An oblique grid of orthogonal axes, right- or left-handed, and a ramp over it.
struct Ramp {
    static constexpr int kDims[3] = {38, 33, 27};

    Vec axes[3];
    double spacing[3];
    Vec start;
    /// Units per sample along each axis, and the value at sample (0, 0, 0).
    double slope[3];
    double base;
    std::vector<std::unique_ptr<SourceRaster<short>>> rasters;
    std::vector<RZ_ShortSlice> slices;
    std::vector<RZ_ShortSlice*> table;
    RZ_Box box;

    explicit Ramp(Random& random) {
        axes[0] = direction(random);
        const Vec other = cross(axes[0], direction(random));
        axes[1] = times(other, 1.0 / std::sqrt(dot(other, other)));
        axes[2] = times(cross(axes[0], axes[1]), random.once_in(2) ? 1.0 : -1.0);
        Vec sides[3];
        start = times(direction(random), 300.0);
        for (int k = 0; k < 3; ++k) {
            spacing[k] = static_cast<double>(random.real(0.4F, 2.5F));
            sides[k] = times(axes[k], spacing[k] * kDims[k]);
            slope[k] = (random.once_in(2) ? 1.0 : -1.0) * static_cast<double>(random.real(150.0F, 280.0F));
        }
        base = -(slope[0] * kDims[0] + slope[1] * kDims[1] + slope[2] * kDims[2]) / 2.0;
        box = RZ_Box(kDims[0], kDims[1], kDims[2],
                     RZ_BoxParams(start.data(), sides[0].data(), sides[1].data(), sides[2].data()));
        slices.reserve(static_cast<std::size_t>(kDims[2]));
        for (int z = 0; z < kDims[2]; ++z) {
            rasters.push_back(
                std::make_unique<SourceRaster<short>>(static_cast<std::size_t>(kDims[0] * kDims[1])));
            for (int y = 0; y < kDims[1]; ++y) {
                for (int x = 0; x < kDims[0]; ++x) {
                    rasters.back()->data()[y * kDims[0] + x] =
                        static_cast<short>(std::lround(base + slope[0] * x + slope[1] * y + slope[2] * z));
                }
            }
            slices.emplace_back(rasters.back()->data(), PixelDataAttributes{kDims[0], kDims[1], 16, 1});
        }
        for (auto& slice : slices) table.push_back(&slice);
    }

    /// Sample coordinates of a physical point: i at the centre of sample i.
    Vec index(const Vec& p) const {
        const Vec fromStart = p + times(start, -1.0);
        Vec i{};
        for (std::size_t k = 0; k < 3; ++k) i[k] = dot(fromStart, axes[k]) / spacing[k] - 0.5;
        return i;
    }
    /// Beyond the first and last slice the volume goes on as these.
    double value(const Vec& i) const {
        const double z = std::clamp(i[2], 0.0, kDims[2] - 1.0);
        return base + slope[0] * i[0] + slope[1] * i[1] + slope[2] * z;
    }
    /// How far inside what may be sampled a point lies, in samples; negative outside.
    double inside(const Vec& i) const {
        return std::min({i[0] - 0.01, kDims[0] - 1.01 - i[0], i[1] - 0.01, kDims[1] - 1.01 - i[1],
                         i[2] + 0.99, kDims[2] - 0.01 - i[2]});
    }
};

struct Cut {
    Vec normal;
    Vec units[2];
    Vec origin;
    double pixel[2];
    double corner[2];
    int width;
    int height;

    Cut(Random& random, const Ramp& ramp) {
        normal = direction(random);
        const Vec other = cross(normal, direction(random));
        units[0] = times(other, 1.0 / std::sqrt(dot(other, other)));
        units[1] = cross(normal, units[0]);
        origin = ramp.start;
        for (int k = 0; k < 3; ++k) {
            const double part = static_cast<double>(random.real(0.2F, 0.8F)) * ramp.kDims[k];
            origin = origin + times(ramp.axes[k], part * ramp.spacing[k]);
        }
        width = random.between(20, 70);
        height = random.between(10, 40);
        for (int k = 0; k < 2; ++k) {
            pixel[k] = static_cast<double>(random.real(0.3F, 1.8F));
            corner[k] = -static_cast<double>(random.real(0.3F, 0.7F)) * (k == 0 ? width : height) * pixel[k];
        }
    }
    Vec centre_of(int column, int row) const {
        return origin + times(units[0], corner[0] + (column + 0.5) * pixel[0]) +
               times(units[1], corner[1] + (row + 0.5) * pixel[1]);
    }
    RZ_PlaneParams plane() const {
        const auto f = [](const Vec& v) {
            return std::array<float, 3>{static_cast<float>(v[0]), static_cast<float>(v[1]),
                                        static_cast<float>(v[2])};
        };
        return RZ_PlaneParams(f(normal).data(), f(origin).data(), f(units[0]).data());
    }
    /// The raster's box, made as a viewer makes it: a physical box, carried into the plane's frame.
    RZ_Box box() const {
        const Vec start =
            centre_of(0, 0) + times(units[0], -0.5 * pixel[0]) + times(units[1], -0.5 * pixel[1]);
        const Vec side0 = times(units[0], pixel[0] * width);
        const Vec side1 = times(units[1], pixel[1] * height);
        RZ_BoxParams extent(start.data(), side0.data(), side1.data(), normal.data());
        float projection[4][4];
        plane().Get2Projection(projection);
        extent.ApplyTransform(projection);
        return {width, height, 1, extent};
    }
};

struct Tally {
    long right = 0;
    long rows = 0;
};

using Call = int (*)(Ramp&, const Cut&, short*, std::array<int, 4>&, float);

/// Compares pixel by pixel. bias: least and greatest deviation in units that the arithmetic explains.
void check(Call call, float halfThickness, double biasLow, double biasHigh, double edge) {
    Tally tally;
    for (const Seed seed : seeds(60)) {
        Random random(seed);
        Ramp ramp(random);
        const Cut cut(random, ramp);
        Fenced<short> output(static_cast<std::size_t>(cut.width * cut.height), seed);
        std::array<int, 4> bounds = {cut.height, -1, cut.width, -1};
        ASSERT_EQ(call(ramp, cut, output.data(), bounds, halfThickness), 1);
        EXPECT_TRUE(output.fencesIntact());
        for (int row = 0; row < cut.height; ++row) {
            int certain = 0;
            for (int column = 0; column < cut.width; ++column) {
                const Vec p = cut.centre_of(column, row);
                const double reach = static_cast<double>(halfThickness) * 1.01;
                const double room = std::min({ramp.inside(ramp.index(p)),
                                              ramp.inside(ramp.index(p + times(cut.normal, reach))),
                                              ramp.inside(ramp.index(p + times(cut.normal, -reach)))});
                certain += room > 0.005 ? 1 : 0;
                const auto i = static_cast<std::size_t>(row * cut.width + column);
                if (room < -0.02) {
                    ASSERT_EQ(output.data()[i], output.before(i))
                        << replay(seed) << ' ' << column << ' ' << row;
                }
                const Vec at = ramp.index(p);
                // A slab that reaches beyond the first or last slice meets the repeated slice there.
                const auto withinSlices = [&](double distance) {
                    const double z = ramp.index(p + times(cut.normal, distance))[2];
                    return halfThickness == 0.0F || (z >= 0.0 && z <= ramp.kDims[2] - 1.0);
                };
                const bool judged =
                    room > 0.005 && ramp.inside(at) > edge && withinSlices(reach) && withinSlices(-reach);
                if (!judged) continue;
                const double off = output.data()[i] - ramp.value(at);
                // A row of one certain column may be a span of one column, which is not drawn.
                if (output.data()[i] == output.before(i) && certain < 2) continue;
                ASSERT_GE(off, biasLow) << replay(seed) << " column " << column << ", row " << row;
                ASSERT_LE(off, biasHigh) << replay(seed) << " column " << column << ", row " << row;
                ++tally.right;
            }
            if (certain >= 2) {
                ++tally.rows;
                EXPECT_LE(bounds[0], row);
                EXPECT_GE(bounds[1], row);
            }
        }
    }
    if (!is_replay()) {
        EXPECT_GT(tally.right, 10000);
        EXPECT_GT(tally.rows, 300);
    }
}

template <RZ_OBL_RenditionQuality quality, RZ_OBL_RenditionType type>
int calc(Ramp& ramp, const Cut& cut, short* output, std::array<int, 4>& b, float halfThickness) {
    return RZ_CalcOblique(ramp.table.data(), ramp.box, ramp.box.params, cut.plane(), nullptr, output,
                          cut.box(), &b[0], &b[1], &b[2], &b[3], 0, ramp.kDims[2] - 1, quality, halfThickness,
                          type, true, 16);
}

template <RZ_OBL_RenditionQuality quality>
int project(Ramp& ramp, const Cut& cut, short* output, std::array<int, 4>& b, float halfThickness) {
    std::vector<RZ_Slice*> slices(ramp.table.begin(), ramp.table.end());
    return RZ_PlanarObliqueProjection(slices.data(), ramp.box, ramp.box.params, cut.plane(), nullptr,
                                      reinterpret_cast<char*>(output), cut.box(), &b[0], &b[1], &b[2], &b[3],
                                      0, ramp.kDims[2] - 1, quality, halfThickness,
                                      RZ_OBL_RenditionType::Average);
}

using Quality = RZ_OBL_RenditionQuality;
using Type = RZ_OBL_RenditionType;

// Half a unit lies in the samples; the three stages of the linear kernel lose up to three; positions are
// single precision, some 1e-3 samples of up to 840 units at 300 mm.
TEST(PhysicalTruth, plane_at_linear_quality) {
    check(calc<Quality::Linear, Type::Average>, 0.0F, -5.0, 1.5, 0.0);
}

TEST(PhysicalTruth, slab_mean_at_linear_quality) {
    check(calc<Quality::Linear, Type::Average>, 2.2F, -5.0, 1.5, 0.0);
}

TEST(PhysicalTruth, plane_of_the_projection_at_linear_quality) {
    check(project<Quality::Linear>, 0.0F, -5.0, 1.5, 0.0);
}

TEST(PhysicalTruth, plane_at_semicubic_quality) {
    check(project<Quality::SemiCubic>, 0.0F, -4.0, 1.5, 2.1);
}

// The table knows 64 positions per sample, truncated: up to 1/64 of three slopes below or above.
TEST(PhysicalTruth, plane_at_cubic_quality) {
    check(project<Quality::Cubic>, 0.0F, -16.0, 16.0, 2.1);
}

}  // namespace
