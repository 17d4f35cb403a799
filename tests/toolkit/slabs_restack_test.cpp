#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>

#include "tests/toolkit/slabs_fields.h"
#include "toolkit/core/error.h"
#include "toolkit/core/outline.h"
#include "toolkit/core/phantom.h"
#include "toolkit/core/restack.h"

// Stacks of new slices: where they lie, and what is on them.

namespace rz_test {

using namespace rzobl;
using testing::HasSubstr;

namespace {

std::string refusal(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        return error.what();
    }
    return "no refusal";
}

std::size_t raster_bytes(const Volume& volume) {
    return static_cast<std::size_t>(volume.grid().size[0] * volume.grid().size[1]) *
           bytesPerSample(volume.kind());
}

int channel_at(const Volume& volume, int i, int j, int k, int channel) {
    return static_cast<unsigned char*>(volume.raster(k))[4 * (j * volume.grid().size[0] + i) + channel];
}

}  // namespace

TEST(SlabsRestack, EveryPixelToTheEdgesHasTheValueOfItsPlace) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 2, 24);
        Volume volume = Volume::allocate(grid, SampleKind::Int16);
        const Ramp ramp = random_ramp(random, grid, 100, 0);
        paint<std::int16_t>(volume, ramp);
        const int last = grid.size[2] - 1, first = random.between(0, last - 1);
        const double depth = (last - first) * grid.spacing[2];
        const double spacing = depth * static_cast<double>(random.real(0.02F, 1));
        const Volume stack = restack(volume, spacing, SliceRange{first, last});

        EXPECT_EQ(stack.grid().size[0], grid.size[0]);
        EXPECT_EQ(stack.grid().size[1], grid.size[1]);
        EXPECT_EQ(stack.grid().size[2], static_cast<int>(std::floor(depth / spacing + 1e-6)) + 1);
        EXPECT_EQ(stack.grid().spacing[2], spacing);
        expect_vector(stack.grid().origin, grid.toPhysical(index(0, 0, first)), 1e-9);
        for (int k = 0; k < stack.grid().size[2]; ++k)
            for (int j = 0; j < grid.size[1]; ++j)
                for (int i = 0; i < grid.size[0]; ++i)
                    // Rounded samples and a bias of up to 3.
                    ASSERT_NEAR(sample_at(stack, i, j, k), ramp(stack.grid().toPhysical(index(i, j, k))), 5)
                        << i << ' ' << j << ' ' << k;
    }
}

TEST(SlabsRestack, SlicesOnStoredOnesAreThose) {
    Random random(5);
    Grid grid = random_grid(random, 9, 9);
    grid.spacing[2] = 1.7;
    for (const SampleKind kind : {SampleKind::Int16, SampleKind::UInt8, SampleKind::Rgb}) {
        const Volume volume = kind == SampleKind::Rgb
                                  ? make_phantom(grid, SampleKind::Rgb)
                                  : noise_volume(random, grid, kind, kind == SampleKind::Int16, 0, 255);
        const Volume halves = restack(volume, 0.85, SliceRange{2, 7});
        ASSERT_EQ(halves.grid().size[2], 11);
        for (int k = 0; k < 11; k += 2)
            EXPECT_EQ(std::memcmp(halves.raster(k), volume.raster(2 + k / 2), raster_bytes(volume)), 0) << k;
        const Volume thirds = restack(volume, 3 * 1.7, {});
        ASSERT_EQ(thirds.grid().size[2], 3);
        for (int k = 0; k < 3; ++k)
            EXPECT_EQ(std::memcmp(thirds.raster(k), volume.raster(3 * k), raster_bytes(volume)), 0) << k;
    }
}

TEST(SlabsRestack, AgreesWithThePictureOfTheSamePlane) {
    for (const Seed seed : seeds(30)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        Grid grid = random_grid(random, 8, 20);
        grid.spacing[1] = grid.spacing[0];
        const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 3000);
        const double spacing = grid.spacing[2] * static_cast<double>(random.real(0.2F, 1.5F));
        const Volume stack = restack(volume, spacing, {});
        for (int k = 0; k < stack.grid().size[2]; ++k) {
            PlaneRequest plane;
            plane.normal = cross(grid.direction[0], grid.direction[1]);
            plane.up = scaled(grid.direction[1], -1);
            plane.centre =
                stack.grid().toPhysical(index(0.5 * (grid.size[0] - 1), 0.5 * (grid.size[1] - 1), k));
            plane.size = {grid.size[0], grid.size[1]};
            plane.spacing = grid.spacing[0];
            plane.background = -2000;
            const double at = grid.toIndex(*plane.centre)[2];
            if (at < 0.001 || at > grid.size[2] - 1.001) continue;
            const Image picture = reformat(volume, plane);
            for (int j = 1; j < grid.size[1] - 1; ++j)
                for (int i = 1; i < grid.size[0] - 1; ++i)
                    // One is a copy where the slice is a stored one; the other has the bias.
                    ASSERT_NEAR(sample_at(stack, i, j, k), picture.stored(i, j), 4)
                        << i << ' ' << j << ' ' << k;
        }
    }
}

TEST(SlabsRestack, BytesAndColours) {
    Random random(6);
    const Grid grid = random_grid(random, 10, 16);
    Volume bytes = Volume::allocate(grid, SampleKind::UInt8);
    const Ramp grey = random_ramp(random, grid, 2, 120);
    paint<std::uint8_t>(bytes, grey);
    Volume colours = Volume::allocate(grid, SampleKind::Rgb);
    const Ramp ramps[3] = {random_ramp(random, grid, 1.5, 90), random_ramp(random, grid, 1.5, 120),
                           random_ramp(random, grid, 1.5, 150)};
    for (int c = 0; c < 3; ++c) paint<std::uint32_t>(colours, ramps[c], c);
    const Volume greys = restack(bytes, 0.7 * grid.spacing[2], {});
    const Volume hues = restack(colours, 0.7 * grid.spacing[2], {});
    for (int k = 0; k < greys.grid().size[2]; ++k)
        for (int j = 0; j < grid.size[1]; ++j)
            for (int i = 0; i < grid.size[0]; ++i) {
                const Vec3 place = greys.grid().toPhysical(index(i, j, k));
                ASSERT_NEAR(sample_at(greys, i, j, k), grey(place), 2);
                for (int c = 0; c < 3; ++c) ASSERT_NEAR(channel_at(hues, i, j, k, c), ramps[c](place), 2);
            }
}

TEST(SlabsRestackShared, SharesStoredSlicesAndStatesTheEvenDivision) {
    Random random(7);
    Grid grid = random_grid(random, 10, 10);
    grid.spacing[2] = 1.5;
    const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 1000);
    const Volume stack = restack_shared(volume, 0.75, SliceRange{2, 5});
    ASSERT_EQ(stack.grid().size[2], 8);
    EXPECT_NEAR(stack.grid().spacing[2], 0.75, 1e-12);
    // Half a new slice behind the near face of slice 2.
    expect_vector(stack.grid().origin, grid.toPhysical({0, 0, 1.5 + 0.25}), 1e-9);
    for (int k = 0; k < 8; k += 2)
        EXPECT_EQ(std::memcmp(stack.raster(k), volume.raster(2 + k / 2), raster_bytes(volume)), 0);
    // Slice 1 stands at 1.5 places of 0.75 mm from the near face: a quarter from slice 2 to slice 3.
    for (int j = 1; j < 9; ++j)
        for (int i = 1; i < 9; ++i)
            EXPECT_NEAR(sample_at(stack, i, j, 1),
                        0.75 * sample_at(volume, i, j, 2) + 0.25 * sample_at(volume, i, j, 3), 4);
}

TEST(SlabsRestack, RefusesWhatIsNoStack) {
    Random random(8);
    Grid grid;
    grid.size = {6, 6, 5};
    const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 1000);
    for (const double bad : {0.0, -1.0, std::nan(""), 1.0 / 0.0}) {
        EXPECT_THAT(refusal([&] { restack(volume, bad, {}); }), HasSubstr("the spacing must be"));
        EXPECT_THAT(refusal([&] { restack_shared(volume, bad, {}); }), HasSubstr("the spacing must be"));
        EXPECT_THAT(refusal([&] { oblique_stack(volume, {}, bad); }), HasSubstr("the spacing must be"));
    }
    EXPECT_THAT(refusal([&] { restack(volume, 4.5, {}); }), HasSubstr("more than the 4 mm"));
    EXPECT_THAT(refusal([&] { restack(volume, 1e-5, {}); }), HasSubstr("at most 32767"));
    EXPECT_THAT(refusal([&] { restack_shared(volume, 1e-5, {}); }), HasSubstr("at most 32767"));
    EXPECT_THAT(refusal([&] { oblique_stack(volume, {}, 1e-5); }), HasSubstr("at most 32767"));
    EXPECT_THAT(refusal([&] { oblique_stack(volume, {}, 50); }), HasSubstr("more than"));
    EXPECT_THAT(refusal([&] { restack(volume, 1, SliceRange{3, 3}); }), HasSubstr("single slice"));
    EXPECT_THAT(refusal([&] { restack(volume, 1, SliceRange{3, 1}); }), HasSubstr("backwards"));
    EXPECT_THAT(refusal([&] { restack(volume, 1, SliceRange{3, 5}); }), HasSubstr("slices are 0 to 4"));
    const Volume bytes = noise_volume(random, grid, SampleKind::UInt8, false, 0, 255);
    EXPECT_THAT(refusal([&] { restack_shared(bytes, 1, {}); }), HasSubstr("16-bit"));
    grid.size = {1, 6, 5};
    EXPECT_THAT(refusal([&] { restack(Volume::allocate(grid, SampleKind::Int16), 1, {}); }),
                HasSubstr("single column"));
}

TEST(SlabsObliqueStack, EverySliceIsThePictureOfItsPlaneAndAllOfThemCoverTheVolume) {
    for (const Seed seed : seeds(12)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 12, 20);
        const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 1000);
        PlaneRequest plane;
        plane.normal = random_direction(random);
        plane.background = -1500;
        plane.thickness = random.once_in(2) ? 2.0 : 0.0;
        if (plane.thickness > 0) plane.type = RZ_OBL_RenditionType::Maximum;
        const double spacing = static_cast<double>(random.real(1, 4));
        const Volume stack = oblique_stack(volume, plane, spacing);
        EXPECT_EQ(stack.grid().spacing[2], spacing);
        expect_vector(stack.grid().direction[2], plane.normal, 1e-12);
        expect_vector(stack.grid().centre(), grid.centre(), 1e-9);
        double nearest = 1e9, farthest = -1e9;
        for (int corner = 0; corner < 8; ++corner) {
            const Vec3 at = grid.toPhysical({corner & 1 ? grid.size[0] - 0.5 : -0.5,
                                             corner & 2 ? grid.size[1] - 0.5 : -0.5,
                                             corner & 4 ? grid.size[2] - 0.5 : -0.5});
            nearest = std::min(nearest, dot(at, plane.normal));
            farthest = std::max(farthest, dot(at, plane.normal));
        }
        const int slices = stack.grid().size[2];
        EXPECT_LE(std::abs(dot(stack.grid().origin, plane.normal) - nearest), spacing);
        EXPECT_GE(slices * spacing, farthest - nearest - 0.01 * spacing);
        EXPECT_LT((slices - 1) * spacing, farthest - nearest);

        int drawn = 0;
        for (int k = 0; k < slices; ++k) {
            PlaneRequest here = plane;
            here.size = {stack.grid().size[0], stack.grid().size[1]};
            here.spacing = stack.grid().spacing[0];
            here.centre = stack.grid().toPhysical(
                index(0.5 * (stack.grid().size[0] - 1), 0.5 * (stack.grid().size[1] - 1), k));
            try {
                const Image picture = reformat(volume, here);
                ASSERT_EQ(std::memcmp(stack.raster(k), picture.samples.data(), picture.samples.size()), 0)
                    << k;
                ++drawn;
            } catch (const Error&) {
                for (int i = 0; i < (*here.size)[0] * (*here.size)[1]; ++i)
                    ASSERT_EQ(static_cast<std::int16_t*>(stack.raster(k))[i], -1500);
            }
        }
        EXPECT_GT(drawn, slices / 3);
    }
}

TEST(SlabsOutline, CornersLieOnThePlaneAndOnTheBoxInTheirOrder) {
    for (const Seed seed : seeds(100)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 5, 40);
        const Vec3 normal = random_direction(random);
        const Vec3 point = grid.toPhysical(index(0.3 * grid.size[0], 0.6 * grid.size[1], 0.5 * grid.size[2]));
        const std::vector<Vec3> corners = outline(grid, normal, point);
        ASSERT_GE(corners.size(), 3U);
        ASSERT_LE(corners.size(), 6U);
        double turning = 0;
        for (std::size_t i = 0; i < corners.size(); ++i) {
            EXPECT_NEAR(dot(added(corners[i], scaled(point, -1)), normal), 0, 2e-3);
            const Vec3 at = grid.toIndex(corners[i]);
            int faces = 0;
            for (std::size_t k = 0; k < 3; ++k) {
                EXPECT_GT(at[k], -0.51);
                EXPECT_LT(at[k], grid.size[k] - 0.49);
                faces += std::abs(at[k] + 0.5) < 5e-3 || std::abs(at[k] - grid.size[k] + 0.5) < 5e-3;
            }
            EXPECT_GE(faces, 2);
            const Vec3& next = corners[(i + 1) % corners.size()];
            const Vec3& after = corners[(i + 2) % corners.size()];
            const double turn =
                dot(cross(added(next, scaled(corners[i], -1)), added(after, scaled(next, -1))), normal);
            EXPECT_GE(turn * turning, -1e-3) << "turns back at corner " << i;
            if (std::abs(turn) > std::abs(turning)) turning = turn;
        }
    }
}

TEST(SlabsOutline, OfACubeAcrossItsDiagonalIsAHexagon) {
    Grid grid;
    grid.size = {10, 10, 10};
    EXPECT_EQ(outline(grid, {1, 1, 1}, grid.centre()).size(), 6U);
    EXPECT_EQ(outline(grid, {0, 0, 5}, grid.centre()).size(), 4U);
    EXPECT_TRUE(outline(grid, {0, 0, 5}, {0, 0, 30}).empty());
    EXPECT_THAT(refusal([&] { outline(grid, {0, 0, 0}, grid.centre()); }), HasSubstr("zero vector"));
    EXPECT_THAT(refusal([&] { outline(grid, {0, 0, std::nan("")}, grid.centre()); }), HasSubstr("finite"));
    const std::string svg = outline_svg(grid, outline(grid, {1, 1, 1}, grid.centre()));
    EXPECT_THAT(svg, HasSubstr("<polygon"));
    EXPECT_THAT(svg, HasSubstr("</svg>"));
}

}  // namespace rz_test
