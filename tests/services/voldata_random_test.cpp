#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/lower/geometry_cases.h"
#include "tests/reference/services/oblique_voldata.h"
#include "tests/services/voldata_recorder.h"
#include "tests/services/voldata_source.h"
#include "tests/support/branches.h"

// New volumes against the same steps done by hand with RZ_CalcOblique: boxes, rasters, shares and fields.

namespace {

using namespace rz_test;
using rz_reference::MadeSlice;
using rz_reference::MadeVolume;

constexpr short kFresh = 0x5a5a;

void expect_same_box(const RZ_Box& want, const RZ_Box& got) {
    EXPECT_EQ(want.xDim, got.xDim);
    EXPECT_EQ(want.yDim, got.yDim);
    EXPECT_EQ(want.zDim, got.zDim);
    EXPECT_EQ(want.rowStride, got.rowStride);
    double a[4][4];
    double b[4][4];
    want.params.GetPhysicalFromNorm(a);
    got.params.GetPhysicalFromNorm(b);
    EXPECT_EQ(std::memcmp(a, b, sizeof a), 0) << "another extent";
}

void expect_share(const VoldataSource& source, int k, const RZ_Slice& slice) {
    EXPECT_TRUE(typeid(slice) == typeid(RZ_Slice));
    EXPECT_EQ(slice.MappedRaster(), source.raster(k));
    EXPECT_FALSE(slice.computed);
    const RZ_Slice& from = *source.volume->GetSlice(static_cast<unsigned>(k));
    EXPECT_EQ(slice.bitDepth, from.bitDepth);
    EXPECT_EQ(slice.isSigned, from.isSigned);
    EXPECT_EQ(slice.pixelKind, from.pixelKind);
}

void expect_computed(const MadeSlice& want, const RZ_Slice& slice, Branches& branches) {
    ASSERT_TRUE(typeid(slice) == typeid(RZ_ShortSlice));
    EXPECT_TRUE(slice.computed);
    EXPECT_EQ(slice.pixelKind, 0);
    EXPECT_EQ(slice.GetAttributes().width, want.width);
    EXPECT_EQ(slice.GetAttributes().height, want.height);
    EXPECT_EQ(slice.GetAttributes().bitsAllocated, 16);
    EXPECT_EQ(slice.GetAttributes().samplesPerPixel, 1);
    const short* got = static_cast<const RZ_ShortSlice&>(slice).GetMappedSlice();
    const auto first = std::mismatch(want.raster.begin(), want.raster.end(), got).first;
    EXPECT_EQ(first, want.raster.end()) << "sample " << first - want.raster.begin();
    if (want.raster.back() == kFresh) branches.met("second half of a raster not cleared");
    if (want.raster.front() == 0) branches.met("first half of a raster cleared");
    if (std::any_of(want.raster.begin(), want.raster.end(), [](short s) { return s != 0 && s != kFresh; }))
        branches.met("plane drawn");
}

void expect_equal(const VoldataSource& source, const MadeVolume& want, const RZ_VolData* got,
                  Branches& branches) {
    ASSERT_NE(got, nullptr);
    expect_same_box(want.box, *got->GetBox());
    for (std::size_t i = 0; i < want.slices.size(); ++i) {
        const RZ_Slice* slice = got->GetSlice(static_cast<unsigned>(i));
        ASSERT_NE(slice, nullptr) << i;
        if (want.slices[i].sharedFrom >= 0) {
            branches.met("slice shared");
            expect_share(source, want.slices[i].sharedFrom, *slice);
        } else {
            expect_computed(want.slices[i], *slice, branches);
        }
    }
    EXPECT_EQ(got->GetSlice(static_cast<unsigned>(want.slices.size())), nullptr);
    double a[2];
    double b[2];
    source.volume->GetRescaleTrans(&a[0], &a[1]);
    got->GetRescaleTrans(&b[0], &b[1]);
    EXPECT_EQ(a[0], b[0]);
    EXPECT_EQ(a[1], b[1]);
    EXPECT_TRUE(source.untouched());
}

BoxCase random_volume(Random& random) {
    BoxCase c = random_box(random, random.pick({0.0, 30.0}), 11);
    for (int& dim : c.dims) dim = std::max(dim, 2);
    if (random.once_in(2)) {
        for (double& spacing : c.spacing) spacing = random.pick({0.5, 1.0, 1.5, 0.1});
    }
    if (random.once_in(3)) c.axes = {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    return c;
}

bool same_plane(const RZ_PlaneParams& a, const RZ_PlaneParams& b) {
    double from[2][4][4];
    a.GetPhysicalFromPlane(from[0]);
    b.GetPhysicalFromPlane(from[1]);
    return std::memcmp(from[0], from[1], sizeof from[0]) == 0;
}

TEST(ObliqueVoldataRandom, planes_and_slabs) {
    Branches branches;
    for (const Seed seed : seeds(400)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const BoxCase c = random_volume(random);
        const VoldataSource source(c.box(), seed);
        const auto part = [&random] { return static_cast<double>(random.real(0.0F, 1.0F)); };
        const Vec3 at = c.physical({part() * c.dims[0], part() * c.dims[1], part() * c.dims[2]});
        const auto axes = random_axes(random, false);
        const auto coord = [](const Vec3& v) {
            return RZ_3Coord(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]));
        };
        RZ_PlaneParams plane(coord(axes[0]), coord(at), coord(axes[1]));
        const RZ_PlaneParams before = plane;
        const auto type = static_cast<RZ_OBL_RenditionType>(random.between(0, 2));
        const float thickness = random.once_in(3) ? 0.0F : random.real(0.1F, 6.0F);

        const MadeVolume want =
            rz_reference::calc_oblique_voldata(*source.volume, plane, type, thickness, kFresh);
        const Recording recording;
        recording->fresh = kFresh;
        const std::unique_ptr<RZ_VolData> got(
            RZ_OBLUtils::CalcObliqueVoldata(*source.volume, plane, type, thickness));
        expect_equal(source, want, got.get(), branches);
        EXPECT_TRUE(same_plane(before, plane));
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(branches.never_met(
                  {"second half of a raster not cleared", "first half of a raster cleared", "plane drawn"}),
              "");
}

TEST(ObliqueVoldataRandom, ranges_at_any_spacing) {
    Branches branches;
    for (const Seed seed : seeds(500)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const BoxCase c = random_volume(random);
        const VoldataSource source(c.box(), seed);
        const auto first = static_cast<unsigned>(random.between(0, c.dims[2] - 1));
        const auto last = static_cast<unsigned>(random.between(static_cast<int>(first), c.dims[2] - 1));
        const float d = source.volume->GetBox()->GetZMmPerPixel();
        float spacing = d * random.pick({1.0F, 2.0F, 3.0F, 0.5F, 0.25F, 0.75F, 1.5F, 100.0F});
        if (random.once_in(3)) spacing = random.real(0.3F, 3.0F) * d;
        if (random.once_in(3)) spacing = random.pick({0.1F, 0.2F, 0.3F, 0.5F, 0.7F}) * (d < 1.0F ? 1.0F : d);
        if (random.once_in(25)) spacing = random.pick({0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()});

        const MadeVolume want =
            rz_reference::calc_oblique_voldata(*source.volume, first, last, spacing, kFresh);
        if (want.box.zDim == 0) branches.met("no slice");
        if (want.box.zDim < 0) branches.met("count below zero");
        // Multiples of the spacing that round away from the slice they lie on.
        for (std::size_t i = 1; i < want.slices.size(); ++i) {
            const float p = static_cast<float>(i) * spacing / d;
            const float off = std::abs(p - std::round(p));
            if (want.slices[i].sharedFrom < 0 && off < 1e-6F) branches.met("on a slice but for the rounding");
        }
        const Recording recording;
        recording->fresh = kFresh;
        const std::unique_ptr<RZ_VolData> got(
            RZ_OBLUtils::CalcObliqueVoldata(*source.volume, first, last, spacing));
        expect_equal(source, want, got.get(), branches);
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(branches.never_met({"slice shared", "plane drawn", "no slice", "count below zero",
                                  "on a slice but for the rounding"}),
              "");
}

}  // namespace
