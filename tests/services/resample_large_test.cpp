#include <gtest/gtest.h>

#include <array>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/lower/geometry_cases.h"
#include "tests/reference/services/resample.h"
#include "tests/services/resample_case.h"

// Destinations of many columns, slices and bytes, which are not drawn in the order of their voxels, and those
// that share memory with their source, where that order counts.

namespace {

using namespace rz_test;

/// A destination of `dims` voxels about the middle of `source`, at `extent` times its size.
BoxCase about_the_middle(Random& random, const BoxCase& source, const std::array<int, 3>& dims,
                         double extent) {
    BoxCase to = random_box(random, 0.0, 2);
    if (random.once_in(2)) to.axes = source.axes;
    to.dims = dims;
    Vec3 start = source.physical({source.dims[0] * 0.5, source.dims[1] * 0.5, source.dims[2] * 0.5});
    for (std::size_t k = 0; k < 3; ++k) {
        to.spacing[k] = extent * source.spacing[k] * source.dims[k] / dims[k];
        start = along(start, -0.5 * to.spacing[k] * to.dims[k], to.axes[k]);
    }
    to.start = start;
    return to;
}

template <class T>
void compare(const BoxCase& from, const BoxCase& to, Random& random, Branches& branches) {
    SourceVolume<T> source(from.box());
    source.fill(random, false);
    FloatVolume want(to.box(), 1);
    FloatVolume got(to.box(), 1);
    rz_reference::resample<T>(source.volume, want.volume, -5.5F, branches);
    EXPECT_EQ(RZ_OBLUtils::Resample(source.volume, got.volume, -5.5F, 0), 1);
    EXPECT_EQ(FloatVolume::first_difference(want, got), "");
}

BoxCase source_case(Random& random) {
    BoxCase from = random_box(random, 50.0, 2);
    from.spacing = {1.0, 1.25, 0.75};
    from.dims = {40, 33, 37};
    return from;
}

template <class T>
void compare_long_rows_and_many_slices() {
    Branches branches;
    for (const Seed seed : seeds(40)) {
        Random random(seed);
        const BoxCase from = source_case(random);
        const int columns = random.pick({127, 128, 129, 136, 255, 256, 300, 7});
        const int planes = random.pick({31, 32, 33, 70});
        const int rows = random.between(1, 4);
        const double extent = random.pick({0.3, 0.6, 0.9, 1.3});
        const BoxCase to = about_the_middle(random, from, {columns, rows, planes}, extent);
        compare<T>(from, to, random, branches);
        if (testing::Test::HasFailure()) FAIL() << replay(seed);
    }
    EXPECT_EQ(branches.never_met({"interior", "eight interior voxels in a row", "clamped",
                                  "outside in the slice", "outside below", "outside above"}),
              "");
}

TEST(ResampleLarge, long_rows_and_many_slices_of_words) {
    compare_long_rows_and_many_slices<short>();
}

TEST(ResampleLarge, long_rows_and_many_slices_of_floats) {
    compare_long_rows_and_many_slices<float>();
}

// Above 8 MB, with rows that begin at any multiple of four bytes.
TEST(ResampleLarge, eight_megabytes) {
    Branches branches;
    Random random(3);
    const BoxCase from = source_case(random);
    for (const int columns : {301, 304}) {
        const BoxCase to = about_the_middle(random, from, {columns, 100, 70}, 0.8);
        compare<short>(from, to, random, branches);
        compare<float>(from, to, random, branches);
    }
}

// A volume resampled onto itself, half a voxel to the left: each voxel blends one not yet written with the
// one that was written before it, row by row and slice by slice.
TEST(ResampleLarge, destination_that_is_its_source_is_drawn_voxel_by_voxel) {
    BoxCase from{};
    from.axes = {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    from.spacing = {1.0, 1.0, 1.0};
    from.dims = {40, 12, 40};
    for (const Vec3& shift : {Vec3{-0.5, 0, 0}, Vec3{0, -0.5, 0}, Vec3{0, 0, -0.5}, Vec3{-1.0, -1.0, -1.0}}) {
        BoxCase to = from;
        for (std::size_t k = 0; k < 3; ++k) to.start[k] = from.start[k] + shift[k];
        FloatVolume want(from.box(), 9);
        FloatVolume got(from.box(), 9);
        Branches branches;
        const auto on_itself = [&](FloatVolume& volume, const auto& resample) {
            const RZ_TVolume<float> source = volume.volume;
            RZ_TVolume<float> destination = volume.volume;
            static_cast<RZ_Box&>(destination) = to.box();
            resample(source, destination);
        };
        on_itself(want, [&](const RZ_TVolume<float>& source, RZ_TVolume<float>& destination) {
            rz_reference::resample<float>(source, destination, 7.0F, branches);
        });
        on_itself(got, [&](RZ_TVolume<float> source, RZ_TVolume<float>& destination) {
            RZ_OBLUtils::Resample(source, destination, 7.0F, 0);
        });
        EXPECT_EQ(FloatVolume::first_difference(want, got), "") << shift[0] << shift[1] << shift[2];
    }
}

}  // namespace
