#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "tests/toolkit/core_fields.h"
#include "toolkit/core/error.h"
#include "toolkit/core/phantom.h"
#include "toolkit/core/text.h"

namespace rz_test {

using namespace rzobl;
using testing::HasSubstr;

namespace {

std::string complaint(const std::function<void(Grid&)>& change) {
    Grid grid;
    grid.size = {4, 4, 4};
    change(grid);
    try {
        grid.check();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}

}  // namespace

TEST(CoreVolume, NeighbouringRastersDoNotCompeteForCacheSets) {
    for (const SampleKind kind : {SampleKind::Int16, SampleKind::UInt8, SampleKind::Rgb}) {
        Grid grid;
        grid.size = {64, 32, 64};
        const Volume volume = Volume::allocate(grid, kind);
        std::set<std::uintptr_t> starts;
        for (int k = 0; k < 64; ++k) {
            const auto start = reinterpret_cast<std::uintptr_t>(volume.raster(k));
            EXPECT_EQ(start % 64, 0U);
            starts.insert(start % 4096);
            if (k > 0) {
                const auto before = reinterpret_cast<std::uintptr_t>(volume.raster(k - 1));
                EXPECT_GE(start, before + 64 * 32 * bytesPerSample(kind));
            }
        }
        EXPECT_EQ(starts.size(), 64U);
    }
}

TEST(CoreGrid, IndexAndPositionAreInverse) {
    for (const Seed seed : seeds(200)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 1, 2000);
        const Vec3 index{random.real(-10, 2000), random.real(-10, 2000), random.real(-10, 2000)};
        const Vec3 back = grid.toIndex(grid.toPhysical(index));
        for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(back[k], index[k], 1e-9);
    }
}

TEST(CoreGrid, TheLibrarysBoxPlacesSamplesAlike) {
    for (const Seed seed : seeds(200)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 1, 500);
        float matrix[4][4];
        grid.box().GetIndexToPhysicalTrans(matrix);
        const float index[3] = {random.real(-1, 500), random.real(-1, 500), random.real(-1, 500)};
        const Vec3 want = grid.toPhysical({index[0], index[1], index[2]});
        for (std::size_t k = 0; k < 3; ++k) {
            const double got = static_cast<double>(index[0]) * matrix[0][k] +
                               static_cast<double>(index[1]) * matrix[1][k] +
                               static_cast<double>(index[2]) * matrix[2][k] + matrix[3][k];
            EXPECT_NEAR(got, want[k], 1e-3);
        }
    }
}

TEST(CoreGrid, SaysWhatIsWrong) {
    EXPECT_EQ(complaint([](Grid&) {}), "");
    EXPECT_THAT(complaint([](Grid& g) { g.size[1] = 0; }), HasSubstr("rows"));
    EXPECT_THAT(complaint([](Grid& g) { g.size[2] = 32768; }), HasSubstr("32768"));
    EXPECT_THAT(complaint([](Grid& g) { g.spacing[0] = 0; }), HasSubstr("spacing of the columns"));
    EXPECT_THAT(complaint([](Grid& g) { g.spacing[0] = std::nan(""); }), HasSubstr("spacing of the columns"));
    EXPECT_THAT(complaint([](Grid& g) { g.origin[2] = std::nan(""); }), HasSubstr("origin"));
    EXPECT_THAT(complaint([](Grid& g) { g.direction[0] = {1, 0.1, 0}; }), HasSubstr("right angles"));
    EXPECT_THAT(complaint([](Grid& g) { g.direction[2] = {0, 0, 1.01}; }), HasSubstr("right angles"));
    EXPECT_EQ(complaint([](Grid& g) { g.direction[2] = {0, 0, -1}; }), "");
}

TEST(CoreVolume, AllocatedSamplesAreZeroAndSlicesKnowTheirKind) {
    Grid grid;
    grid.size = {5, 4, 3};
    const SampleKind kinds[] = {SampleKind::Int16, SampleKind::UInt8, SampleKind::Rgb};
    for (int kind = 0; kind < 3; ++kind) {
        const Volume volume = Volume::allocate(grid, kinds[kind]);
        for (int k = 0; k < 3; ++k) {
            const auto* const bytes = static_cast<const unsigned char*>(volume.raster(k));
            EXPECT_EQ(std::accumulate(bytes, bytes + 20 * bytesPerSample(kinds[kind]), 0), 0);
            EXPECT_EQ(volume.slices()[k]->pixelKind, kind);
            EXPECT_EQ(volume.slices()[k]->MappedRaster(), volume.raster(k));
        }
    }
}

TEST(CoreVolume, RefusesWhatTheMachineCannotHold) {
    Grid grid;
    grid.size = {32767, 32767, 32767};
    try {
        Volume::allocate(grid, SampleKind::Int16);
        FAIL();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), HasSubstr("64.0 TiB"));
    }
}

TEST(CoreVolume, BorrowedSamplesAreNotCopiedAndTheirOwnerIsKept) {
    Grid grid;
    grid.size = {5, 4, 3};
    const auto owner = std::make_shared<std::vector<std::int16_t>>(60);
    std::iota(owner->begin(), owner->end(), std::int16_t{0});
    {
        const Volume volume = Volume::borrow(grid, SampleKind::Int16, owner->data(), owner);
        const Volume copy = volume;
        EXPECT_EQ(copy.raster(1), owner->data() + 20);
        EXPECT_EQ(owner.use_count(), 3);
    }
    EXPECT_EQ(owner.use_count(), 1);
    EXPECT_THROW(Volume::borrow(grid, SampleKind::Int16, nullptr, nullptr), Error);
}

TEST(CoreVolume, BorrowedColoursAreCopied) {
    Grid grid;
    grid.size = {5, 4, 3};
    std::vector<std::uint32_t> colours(60, 0x00112233);
    const Volume volume = Volume::borrow(grid, SampleKind::Rgb, colours.data(), nullptr);
    EXPECT_NE(volume.raster(0), colours.data());
    EXPECT_EQ(static_cast<std::uint32_t*>(volume.raster(2))[19], 0x00112233U);
}

TEST(CorePhantom, IsTheSameHeadInEveryGrid) {
    Random random(7);
    Grid turned = random_grid(random, 6, 9);
    turned.origin = {-20, -30, 10};
    const Volume a = make_phantom(turned, SampleKind::Int16);
    // The same positions, read backwards along the first axis.
    Grid flipped = turned;
    flipped.origin = turned.toPhysical({static_cast<double>(turned.size[0] - 1), 0, 0});
    flipped.direction[0] = scaled(turned.direction[0], -1);
    const Volume b = make_phantom(flipped, SampleKind::Int16);
    for (int k = 0; k < turned.size[2]; ++k)
        for (int i = 0; i < turned.size[0]; ++i)
            EXPECT_EQ(static_cast<std::int16_t*>(a.raster(k))[i],
                      static_cast<std::int16_t*>(b.raster(k))[turned.size[0] - 1 - i]);
}

TEST(CorePhantom, HasItsVesselAlongTheHelix) {
    for (double t = 0.02; t < 1; t += 0.02) {
        Grid grid;
        grid.size = {1, 1, 1};
        grid.spacing = {0.5, 0.5, 0.5};
        grid.origin = phantom_helix(t);
        EXPECT_EQ(static_cast<std::int16_t*>(make_phantom(grid, SampleKind::Int16).raster(0))[0], 320) << t;
    }
}

TEST(CoreText, NumbersReadAsAPersonWritesThem) {
    EXPECT_EQ(text(0.45123456), "0.451235");
    EXPECT_EQ(text(-0.0), "0");
    EXPECT_EQ(text(Vec3{1, -2.5, 0}), "(1, -2.5, 0)");
    EXPECT_EQ(bytes_text(1.5 * 1024 * 1024 * 1024), "1.5 GiB");
    EXPECT_EQ(bytes_text(17), "17 bytes");
}

}  // namespace rz_test
