// Uneven stacks against the physical truth they were drawn from.
#include <gtest/gtest.h>

#include <cmath>

#include "readers_dicom_writer.h"
#include "readers_support.h"
#include "tests/support/seeded.h"

namespace {

using namespace rz_test;
using rzobl::read_volume;
using rzobl::ReadResult;
using rzobl::Vec3;
using rzobl::Volume;

/// A field without curvature: linear interpolation gives it back.
struct Field {
    double x, y, z, base;
    double at(const Vec3& p) const { return base + x * p[0] + y * p[1] + z * p[2]; }
};

/// Slices at depths along a tilted or straight stack, each sample the field where it lies.
struct Stack {
    DicomSlice like;
    Vector normal{0, 0, 1};
    std::vector<double> depths;
    std::array<double, 2> drift{0, 0};  // mm along rows and columns per mm of depth
};

void draw(const std::filesystem::path& folder, const Stack& stack, const Field& field) {
    write_series(
        folder, stack.like, static_cast<int>(stack.depths.size()), {0, 0, 0}, [&](DicomSlice& slice, int k) {
            const double depth = stack.depths[static_cast<std::size_t>(k)];
            for (std::size_t axis = 0; axis < 3; ++axis)
                slice.position[axis] += depth * (stack.normal[axis] + stack.drift[0] * slice.alongRow[axis] +
                                                 stack.drift[1] * slice.alongColumn[axis]);
            for (int j = 0; j < slice.rows; ++j) {
                for (int i = 0; i < slice.columns; ++i) {
                    Vec3 p{};
                    for (std::size_t axis = 0; axis < 3; ++axis)
                        p[axis] = slice.position[axis] + i * slice.pixelSpacing[1] * slice.alongRow[axis] +
                                  j * slice.pixelSpacing[0] * slice.alongColumn[axis];
                    slice.pixels.push_back(static_cast<int>(std::lround(field.at(p))));
                }
            }
        });
}

/// Every sample is the field, or padding where a slice it lies in or between was not measured. Counts both.
void expect_field(const Volume& volume, const Stack& stack, const Field& field) {
    const rzobl::Grid& grid = volume.grid();
    int measured = 0, empty = 0;
    ASSERT_TRUE(volume.padding);
    const double width = stack.like.columns, height = stack.like.rows;
    for (int k = 0; k < grid.size[2]; ++k) {
        for (int j = 0; j < grid.size[1]; ++j) {
            for (int i = 0; i < grid.size[0]; ++i) {
                const Vec3 p = grid.toPhysical({double(i), double(j), double(k)});
                Vec3 from{};
                double depth = 0, u = 0, v = 0;
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    from[axis] = p[axis] - stack.like.position[axis];
                    depth += from[axis] * stack.normal[axis];
                    u += from[axis] * stack.like.alongRow[axis];
                    v += from[axis] * stack.like.alongColumn[axis];
                }
                // Index in a slice at depth d. Clearly in, clearly out, or at the rim (either is right).
                const auto margin = [&](double d) {
                    const double x = (u - stack.drift[0] * d) / stack.like.pixelSpacing[1];
                    const double y = (v - stack.drift[1] * d) / stack.like.pixelSpacing[0];
                    return std::min({x, y, width - 1 - x, height - 1 - y});
                };
                double below = -1e9, above = 1e9;
                for (const double d : stack.depths) {
                    if (d <= depth + 1e-4) below = std::max(below, d);
                    if (d >= depth - 1e-4) above = std::min(above, d);
                }
                ASSERT_LE(above - below, 1e8) << "a plane outside the stack";
                const double inside = std::min(margin(below), margin(above));
                const int value = stored(volume, i, j, k);
                if (inside > 1e-3) {
                    // Half a unit of the samples, half a unit of the result.
                    ASSERT_NEAR(value, field.at(p), 1.01) << i << ' ' << j << ' ' << k;
                    ++measured;
                } else if (inside < -0.51) {
                    ASSERT_EQ(value, *volume.padding) << i << ' ' << j << ' ' << k;
                    ++empty;
                }
            }
        }
    }
    EXPECT_GT(measured, 500);
    const bool tilted = stack.drift[0] != 0 || stack.drift[1] != 0;
    EXPECT_GE(empty, tilted ? 100 : 0);
}

Stack straight(int count) {
    Stack stack;
    stack.like.columns = 14;
    stack.like.rows = 12;
    stack.like.pixelSpacing = {0.7, 0.9};
    stack.like.position = {-20, 35, 400};
    for (int k = 0; k < count; ++k) stack.depths.push_back(2.0 * k);
    return stack;
}

const Field kField{7.3, -11.9, 4.1, 2000};

TEST(ReadRegrid, TiltAlongColumns) {
    Stack stack = straight(9);
    stack.drift = {0, -0.31};
    const TemporaryFolder folder;
    draw(folder.path(), stack, kField);
    expect_refused(folder.path(), {}, {"tilted", "17.2 degrees", "planes 2 mm apart", "drift by 5.0 mm"});
    const Volume volume = read_volume(folder.path(), {true, {}, {}}).volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{14, 12 + 8, 9}));
    expect_field(volume, stack, kField);
}

TEST(ReadRegrid, TiltAlongBothInRandomOrientations) {
    for (const Seed seed : seeds(25)) {
        Random random(seed);
        const double a = static_cast<double>(random.real(-3, 3)),
                     b = static_cast<double>(random.real(-1.5F, 1.5F));
        Stack stack = straight(7);
        stack.like.alongRow = {std::cos(a), std::sin(a), 0};
        stack.like.alongColumn = {-std::sin(a) * std::cos(b), std::cos(a) * std::cos(b), std::sin(b)};
        stack.normal = {std::sin(a) * std::sin(b), -std::cos(a) * std::sin(b), std::cos(b)};
        stack.drift = {static_cast<double>(random.real(0.1F, 0.5F)),
                       static_cast<double>(random.real(-0.5F, -0.1F))};
        const TemporaryFolder folder;
        draw(folder.path(), stack, kField);
        expect_refused(folder.path(), {}, {"tilted"});
        expect_field(read_volume(folder.path(), {true, {}, {}}).volume, stack, kField);
        if (HasFailure()) FAIL() << replay(seed);
    }
}

TEST(ReadRegrid, MissingSlicesAreFilled) {
    Stack stack = straight(12);
    stack.depths.erase(stack.depths.begin() + 7, stack.depths.begin() + 9);
    stack.depths.erase(stack.depths.begin() + 3);
    const TemporaryFolder folder;
    draw(folder.path(), stack, kField);
    expect_refused(folder.path(), {}, {"3 slices are missing", "slices 3 and 4 of 9", "4 mm apart", "2 mm"});
    const Volume volume = read_volume(folder.path(), {true, {}, {}}).volume;
    EXPECT_EQ(volume.grid().size[2], 12);
    expect_field(volume, stack, kField);
}

TEST(ReadRegrid, UnevenGaps) {
    Stack stack = straight(0);
    stack.depths = {0, 2.5, 5, 7.5, 11, 14.7, 20, 25};
    const TemporaryFolder folder;
    draw(folder.path(), stack, kField);
    expect_refused(folder.path(), {}, {"uneven", "2.5 to 5.3 mm", "slices 6 and 7 of 8"});
    const Volume volume = read_volume(folder.path(), {true, {}, {}}).volume;
    EXPECT_NEAR(volume.grid().spacing[2], 2.5, 1e-9);
    EXPECT_EQ(volume.grid().size[2], 11);
    expect_field(volume, stack, kField);
}

TEST(ReadRegrid, TiltAndGapAtOnce) {
    Stack stack = straight(10);
    stack.depths.erase(stack.depths.begin() + 4);
    stack.drift = {0.2, 0.3};
    const TemporaryFolder folder;
    draw(folder.path(), stack, kField);
    expect_refused(folder.path(), {}, {"tilted", "a slice is missing"});
    expect_field(read_volume(folder.path(), {true, {}, {}}).volume, stack, kField);
}

TEST(ReadRegrid, OutsideIsTheLeastSampleOrPadding) {
    Stack stack = straight(5);
    stack.drift = {0, 0.4};
    const TemporaryFolder folder;
    draw(folder.path(), stack, {1, 0, 0, 500});
    // 500 - 20 in the first column of every slice is the least.
    EXPECT_EQ(read_volume(folder.path(), {true, {}, {}}).volume.padding, 480);
}

TEST(ReadRegrid, ColoursAndBytes) {
    for (const bool colour : {false, true}) {
        Stack stack = straight(5);
        DicomSlice& like = stack.like;
        like.bitsAllocated = like.bitsStored = 8;
        like.highBit = 7;
        like.channels = colour ? 3 : 1;
        if (colour) like.photometric = "RGB";
        like.position = {0, 0, 0};
        const TemporaryFolder folder;
        // Rows 10 units apart; slices shift by half a row each: new rows lie halfway between old ones.
        write_series(folder.path(), like, 5, {0, 0.35, 2}, [colour](DicomSlice& slice, int) {
            for (int pixel = 0; pixel < 14 * 12; ++pixel) {
                slice.pixels.push_back(10 * (pixel / 14) + 50);
                if (colour) slice.pixels.insert(slice.pixels.end(), {20 * (pixel / 14), 7});
            }
        });
        const Volume volume = read_volume(folder.path(), {true, {}, {}}).volume;
        ASSERT_EQ(volume.kind(), colour ? rzobl::SampleKind::Rgb : rzobl::SampleKind::UInt8);
        EXPECT_EQ(volume.grid().size, (std::array<int, 3>{14, 14, 5}));
        // Slice 1 lies half a row further: its row 5 of the grid is 4.5 of its own.
        const int value = stored(volume, 3, 5, 1);
        EXPECT_EQ(value & 0xff, 95);
        if (colour) {
            EXPECT_EQ(value >> 8 & 0xff, 90);
            EXPECT_EQ(value >> 16, 7);
        }
    }
}

TEST(ReadRegrid, GridsBeyondReasonAreRefused) {
    Stack stack = straight(4);
    stack.drift = {300, 300};
    const TemporaryFolder folder;
    draw(folder.path(), stack, {0, 0, 0, 10});
    expect_refused(folder.path(), {true, {}, {}}, {"2014 x 2584 x 4 samples", "64 times"});
    stack.drift = {1e5, 0};
    const TemporaryFolder wide;
    draw(wide.path(), stack, {0, 0, 0, 10});
    expect_refused(wide.path(), {true, {}, {}}, {"width or height of 666681 samples"});
}

TEST(ReadRegrid, EvenStacksStayAsTheyAre) {
    const Stack stack = straight(6);
    const TemporaryFolder folder;
    draw(folder.path(), stack, kField);
    const ReadResult plain = read_volume(folder.path()), asked = read_volume(folder.path(), {true, {}, {}});
    EXPECT_TRUE(asked.warnings.empty());
    EXPECT_EQ(plain.volume.grid().size, asked.volume.grid().size);
    EXPECT_FALSE(asked.volume.padding);
}

}  // namespace
