#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/services/voldata_case.h"
#include "tests/services/voldata_recorder.h"

// New volumes against the plain form: boxes, rasters, shares and fields.

namespace {

using namespace rz_test;
using rz_reference::MadeVolume;

constexpr short kFresh = 0x5a5a;

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
        VoldataPlane c(seed);
        const RZ_PlaneParams before = c.plane;
        const MadeVolume want =
            rz_reference::calc_oblique_voldata(*c.source->volume, c.plane, c.type, c.thickness, kFresh);
        const Recording recording;
        recording->fresh = kFresh;
        const std::unique_ptr<RZ_VolData> got(
            RZ_OBLUtils::CalcObliqueVoldata(*c.source->volume, c.plane, c.type, c.thickness));
        ASSERT_EQ(first_difference(*c.source, want, got.get(), kFresh, branches), "");
        ASSERT_TRUE(same_plane(before, c.plane));
    }
    EXPECT_EQ(branches.never_met(
                  {"second half of a raster not cleared", "first half of a raster cleared", "plane drawn"}),
              "");
}

TEST(ObliqueVoldataRandom, ranges_at_any_spacing) {
    Branches branches;
    for (const Seed seed : seeds(500)) {
        SCOPED_TRACE(replay(seed));
        const VoldataRange c(seed);
        const MadeVolume want =
            rz_reference::calc_oblique_voldata(*c.source->volume, c.first, c.last, c.spacing, kFresh);
        if (want.box.zDim == 0) branches.met("no slice");
        if (want.box.zDim < 0) branches.met("count below zero");
        // Multiples of the spacing that round away from the slice they lie on.
        const float d = c.source->volume->GetBox()->GetZMmPerPixel();
        for (std::size_t i = 1; i < want.slices.size(); ++i) {
            const float p = static_cast<float>(i) * c.spacing / d;
            const float off = std::abs(p - std::round(p));
            if (want.slices[i].sharedFrom < 0 && off < 1e-6F) branches.met("on a slice but for the rounding");
        }
        const Recording recording;
        recording->fresh = kFresh;
        const std::unique_ptr<RZ_VolData> got(
            RZ_OBLUtils::CalcObliqueVoldata(*c.source->volume, c.first, c.last, c.spacing));
        ASSERT_EQ(first_difference(*c.source, want, got.get(), kFresh, branches), "");
    }
    EXPECT_EQ(branches.never_met({"slice shared", "plane drawn", "no slice", "count below zero",
                                  "on a slice but for the rounding"}),
              "");
}

}  // namespace
