#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/services/resample_case.h"

// Resampling against its plain form on seeded cases that together reach every branch, and its edges with
// numbers worked out by hand.

namespace {

using namespace rz_test;

template <class T>
void compare_all() {
    Branches branches;
    for (const Seed seed : seeds(5000)) ASSERT_EQ(compare_resample<T>(seed, branches), "");
    EXPECT_EQ(
        branches.never_met({"interior", "eight interior voxels in a row", "interior with the upper guard",
                            "interior below the first slice", "clamped", "clamped below", "clamped above",
                            "clamped above in z", "clamped with the lower guard", "one column or row",
                            "outside in the slice", "outside below", "outside above", "just outside above",
                            "no number", "on the lower face"}),
        "");
}

TEST(ResampleRandom, short_source) {
    compare_all<short>();
}

TEST(ResampleRandom, float_source) {
    compare_all<float>();
}

/// A grid of 1 mm along the physical axes whose sample 0 lies at (x, y, z).
RZ_Box grid(int nx, int ny, int nz, double x, double y, double z) {
    const double start[3] = {x - 0.5, y - 0.5, z - 0.5};
    const double sides[3][3] = {
        {static_cast<double>(nx), 0, 0}, {0, static_cast<double>(ny), 0}, {0, 0, static_cast<double>(nz)}};
    return RZ_Box(nx, ny, nz, RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

/// Samples 1 + x + 10 y + 100 z.
template <class T>
SourceVolume<T> ramp(int nx, int ny, int nz) {
    SourceVolume<T> source(grid(nx, ny, nz, 0, 0, 0));
    for (int z = 0; z < nz; ++z) {
        for (int y = 0; y < ny; ++y) {
            for (int x = 0; x < nx; ++x) source.at(x, y, z) = static_cast<T>(1 + x + 10 * y + 100 * z);
        }
    }
    return source;
}

/// The source at one point in index coordinates; -7777 outside.
template <class T>
float sampled(SourceVolume<T>& source, double x, double y, double z) {
    FloatVolume out(grid(1, 1, 1, x, y, z), 1);
    EXPECT_EQ(RZ_OBLUtils::Resample(source.volume, out.volume, -7777.0F, 0), 1);
    EXPECT_TRUE(out.fences_intact());
    return out.at(0, 0, 0);
}

TEST(ResampleEdges, interior) {
    auto words = ramp<short>(4, 4, 3);
    auto floats = ramp<float>(4, 4, 3);
    const struct {
        double x, y, z;
        float want;
    } cases[] = {
        {0, 0, 0, 1.0F},        {2, 1, 1, 113.0F},        {2.5, 2.25, 0.75, 1.0F + 2.5F + 22.5F + 75.0F},
        {1, 1, 2, 212.0F},      {1, 1, 2.25, 212.0F},     {1, 1, -0.25, -13.0F},
        {1, 1, 2.4375, 212.0F}, {2.9375, 1, 0, 13.9375F},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(sampled(words, c.x, c.y, c.z), c.want) << c.x << " " << c.y << " " << c.z;
        EXPECT_EQ(sampled(floats, c.x, c.y, c.z), c.want);
    }
}

TEST(ResampleEdges, last_sample_of_a_row_yields_the_last_but_one) {
    auto source = ramp<short>(4, 4, 3);
    EXPECT_EQ(sampled(source, 3, 1, 1), 113.0F) << "sample 2 in full";
    EXPECT_EQ(sampled(source, 3.25, 1, 1), 113.25F) << "and from there toward sample 3";
    EXPECT_EQ(sampled(source, 3.4375, 1, 1), 113.4375F);
    EXPECT_EQ(sampled(source, 1, 3, 1), 122.0F) << "row 2 in full";
    EXPECT_EQ(sampled(source, 1, 3.25, 1), 124.5F);
    EXPECT_EQ(sampled(source, 3, 3, 1), 123.0F);
}

TEST(ResampleEdges, below_the_low_edge_extrapolates) {
    auto source = ramp<short>(4, 4, 3);
    EXPECT_EQ(sampled(source, -0.25, 1, 1), 110.75F);
    EXPECT_EQ(sampled(source, 1, -0.25, 1), 99.5F);
    EXPECT_EQ(sampled(source, -0.5, -0.5, -0.5), 1.0F - 0.5F - 5.0F - 50.0F);
}

TEST(ResampleEdges, z_blends_with_the_guard_inside_and_with_the_slice_before_at_the_rim) {
    auto source = ramp<short>(4, 4, 3);
    EXPECT_EQ(sampled(source, 1, 1, 2.25), 212.0F) << "interior: slice 2 and its guard, the same";
    EXPECT_EQ(sampled(source, -0.25, 1, 2), 110.75F) << "clamped: slice 1 in full";
    EXPECT_EQ(sampled(source, -0.25, 1, 2.25), 135.75F) << "a quarter of the way to slice 2";
}

TEST(ResampleEdges, bounds_belong_to_the_lower_face_only) {
    auto source = ramp<short>(4, 4, 3);
    const double middle[3] = {1, 1, 1};
    const double upper[3] = {3.5, 3.5, 2.5};
    for (int axis = 0; axis < 3; ++axis) {
        double p[3] = {middle[0], middle[1], middle[2]};
        p[axis] = -0.5;
        EXPECT_NE(sampled(source, p[0], p[1], p[2]), -7777.0F) << axis;
        p[axis] = -0.5 - 0x1p-20;
        EXPECT_EQ(sampled(source, p[0], p[1], p[2]), -7777.0F) << axis;
        p[axis] = upper[axis];
        EXPECT_EQ(sampled(source, p[0], p[1], p[2]), -7777.0F) << axis;
        p[axis] = upper[axis] - 0x1p-20;
        EXPECT_NE(sampled(source, p[0], p[1], p[2]), -7777.0F) << axis;
    }
}

TEST(ResampleEdges, outside_value_is_stored_as_it_is) {
    auto source = ramp<short>(4, 4, 3);
    for (const float outside : {1e30F, -0.0F, std::numeric_limits<float>::infinity(), 40000.5F}) {
        FloatVolume out(grid(2, 2, 2, 50, 50, 50), 1);
        EXPECT_EQ(RZ_OBLUtils::Resample(source.volume, out.volume, outside, 0), 1);
        for (int i = 0; i < 8; ++i) {
            const float got = out.at(i % 2, i / 2 % 2, i / 4);
            EXPECT_EQ(got, outside);
            EXPECT_EQ(std::signbit(got), std::signbit(outside));
        }
    }
    FloatVolume out(grid(1, 1, 1, 50, 50, 50), 1);
    RZ_OBLUtils::Resample(source.volume, out.volume, std::numeric_limits<float>::quiet_NaN(), 0);
    EXPECT_TRUE(std::isnan(out.at(0, 0, 0)));
}

TEST(ResampleEdges, coordinates_that_are_no_numbers_are_outside) {
    auto source = ramp<float>(4, 4, 3);
    EXPECT_EQ(sampled(source, std::numeric_limits<double>::quiet_NaN(), 1, 1), -7777.0F);
    EXPECT_EQ(sampled(source, 1, 1, std::numeric_limits<double>::infinity()), -7777.0F);
}

TEST(ResampleEdges, samples_that_are_no_numbers_spread) {
    auto source = ramp<float>(4, 4, 3);
    source.at(1, 1, 1) = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(std::isnan(sampled(source, 0.5, 0.5, 0.5)));
    EXPECT_TRUE(std::isnan(sampled(source, 0, 0, 0))) << "a weight of zero does not hide it";
    EXPECT_EQ(sampled(source, 2, 2, 1), 123.0F);
}

TEST(ResampleEdges, one_slice) {
    auto source = ramp<short>(4, 4, 1);
    for (const double z : {-0.5, -0.25, 0.0, 0.25, 0.4375}) {
        EXPECT_EQ(sampled(source, 1.5, 1, z), 12.5F) << "interior: the slice and the upper guard";
        EXPECT_EQ(sampled(source, 3, 1, z), 13.0F) << "clamped: the lower guard and the slice";
    }
    EXPECT_EQ(sampled(source, 1, 1, 0.5), -7777.0F);
}

TEST(ResampleEdges, same_box_repeats_last_but_one_column_and_row) {
    auto source = ramp<short>(5, 4, 3);
    FloatVolume out(source.volume, 1);
    EXPECT_EQ(RZ_OBLUtils::Resample(source.volume, out.volume, -7777.0F, 0), 1);
    for (int z = 0; z < 3; ++z) {
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 5; ++x) {
                // At the rim the clamped sample also falls back by one slice in the last slice.
                const bool rim = x == 4 || y == 3;
                const int want = 1 + std::min(x, 3) + 10 * std::min(y, 2) + 100 * (rim ? std::min(z, 1) : z);
                EXPECT_EQ(out.at(x, y, z), static_cast<float>(want)) << x << " " << y << " " << z;
            }
        }
    }
}

TEST(ResampleEdges, signed_samples) {
    SourceVolume<short> source(grid(2, 2, 1, 0, 0, 0));
    source.at(0, 0, 0) = -32768;
    source.at(1, 0, 0) = 32767;
    source.at(0, 1, 0) = -32768;
    source.at(1, 1, 0) = 32767;
    EXPECT_EQ(sampled(source, 0, 0, 0), -32768.0F);
    EXPECT_EQ(sampled(source, 0.5, 0.5, 0), -0.5F);
}

TEST(ResampleEdges, single_precision_order_of_the_blend) {
    // Products and sums round one by one: 16777217 is no float, and 0.1 x 3 is not 0.3.
    SourceVolume<float> source(grid(2, 2, 1, 0, 0, 0));
    const float s[4] = {16777216.0F, 3.0F, 0.1F, 7.0F};
    for (int i = 0; i < 4; ++i) source.at(i % 2, i / 2, 0) = s[i];
    const float fx = 0.375F;
    const float fy = 0.3125F;
    const float top = s[0] * 0.625F + s[1] * fx;     // 10485760 + 1.125 = 10485761
    const float bottom = s[2] * 0.625F + s[3] * fx;  // 0.0625 + 2.625
    EXPECT_EQ(top, 10485761.0F);
    EXPECT_EQ(sampled(source, 0.375, 0.3125, 0), top * 0.6875F + bottom * fy);
}

TEST(ResampleEdges, no_dimension_writes_nothing) {
    auto source = ramp<short>(3, 3, 2);
    for (int axis = 0; axis < 3; ++axis) {
        const RZ_Box box = grid(axis == 0 ? 0 : 2, axis == 1 ? 0 : 2, axis == 2 ? 0 : 2, 0, 0, 0);
        FloatVolume out(box, 1);
        EXPECT_EQ(RZ_OBLUtils::Resample(source.volume, out.volume, 5.0F, 0), 1);
        EXPECT_TRUE(out.untouched());
    }
}

TEST(ResampleEdges, volume_without_record_has_no_rasters) {
    const RZ_TVolume<short> words(grid(2, 2, 2, 0, 0, 0), nullptr);
    const RZ_TVolume<float> floats(grid(2, 2, 2, 0, 0, 0), nullptr);
    EXPECT_EQ(words.GetRasters(), nullptr);
    EXPECT_EQ(floats.GetRasters(), nullptr);
    EXPECT_EQ(words.zDim, 2) << "so a caller has to look before it resamples";
}

}  // namespace
