#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/frames/recorder.h"
#include "tests/reference/planar.h"

// Seeded requests against the plain frame: first what reaches the selection, bit for bit, then raster and
// bounds.

namespace {

using namespace rz_test;
using rz_reference::PlanarPlan;

RZ_OBL_RenditionQuality quality_of(const PlanarRequest& request) {
    return static_cast<RZ_OBL_RenditionQuality>(request.quality);
}

RZ_OBL_RenditionType type_of(const PlanarRequest& request) {
    return static_cast<RZ_OBL_RenditionType>(request.type);
}

template <class T>
bool same_bits(const T& a, const T& b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

void expect_same_scan(const PlanarRequest& request, const PlanarPlan& plan, const Recorded& r) {
    const rz_reference::Frame& frame = plan.frame;
    EXPECT_EQ(r.rowCount, frame.height);
    EXPECT_EQ(r.rowStride, frame.width);
    EXPECT_EQ(r.slabSteps, frame.slabSteps);
    EXPECT_EQ(r.spans, frame.spans);
    std::array<float, 16> matrix;
    std::memcpy(matrix.data(), frame.planeToIndex, sizeof(matrix));
    EXPECT_TRUE(same_bits(r.planeToIndex, matrix));
    EXPECT_EQ(r.sourceWidth, request.volume.box.xDim);
    EXPECT_EQ(r.sourceHeight, request.volume.box.yDim);
    EXPECT_EQ(r.quality, plan.quality);
    EXPECT_EQ(r.fastIndex, nullptr);
    if (r.entry.find("avg") != std::string::npos || request.volume.pixelKind == 1) {
        if (request.volume.pixelKind != 2) {
            EXPECT_EQ(r.isSigned, request.volume.isSigned);
            EXPECT_EQ(r.bitDepth, request.volume.bitDepth);
        }
    }
    if (r.entry.find("avg_12") != std::string::npos) {
        EXPECT_EQ(r.dominantAxis, frame.dominantAxis);
    }
}

void count_kinds(const PlanarPlan& plan, const PlanarRequest& request, Branches& branches) {
    const auto& f = plan.frame;
    branches.met(f.dominantAxis == 0 ? "axis 0" : f.dominantAxis == 1 ? "axis 1" : "axis 2");
    if (f.slabSteps > 0) branches.met("slab of several planes");
    if (f.slabSteps == 0 && request.halfThickness > 0.0F && request.quality != 0)
        branches.met("slab below a step");
    if (f.slabSteps < 0) branches.met("negative slab steps");
    if (f.columnStepQ18[0] == 0x8000000) branches.met("column step saturated up");
    if (f.columnStepQ18[0] == -0x8000000) branches.met("column step saturated down");
    if (f.slabStepQ18[0] < 0) branches.met("slab step negative in x");
    bool any = false;
    for (std::size_t i = 0; i < f.spans.size(); i += 2) any |= f.spans[i] < f.spans[i + 1];
    branches.met(any ? "pixels" : "no pixel");
    if (any && f.slabSteps > 0) branches.met("pixels of a slab");
    if (any && request.hasClip) branches.met("clipped pixels");
    if (any && request.quality == 0) branches.met("pixels of quality 0");
}

constexpr auto kMadeKinds = {"sheared volume",
                             "left-handed volume",
                             "right-handed volume",
                             "plane along a source axis",
                             "tie of two axes",
                             "tie of three axes",
                             "column step beyond 512 samples",
                             "clip by the raster's own box",
                             "clip by another box",
                             "negative half thickness",
                             "half thickness out of the ordinary",
                             "part of the volume"};
constexpr auto kPlannedKinds = {"axis 0",
                                "axis 1",
                                "axis 2",
                                "slab of several planes",
                                "slab below a step",
                                "negative slab steps",
                                "pixels",
                                "no pixel",
                                "pixels of a slab",
                                "clipped pixels",
                                "pixels of quality 0"};

TEST(RandomRequests, RZ_CalcOblique) {
    Branches branches;
    for (const Seed seed : seeds(3000)) {
        PlanarRequest request = make_planar_request(seed, 0, branches);
        SCOPED_TRACE(request.describe());
        const auto samples = static_cast<std::size_t>(request.outputBox.xDim * request.outputBox.yDim);
        Fenced<short> want(samples, seed);
        Fenced<short> got(samples, seed);
        auto wantBounds = request.bounds;
        auto gotBounds = request.bounds;
        auto slices = request.volume.shortSlices();
        recorder() = {};
        recorder().depth = request.volume.box.zDim;

        EXPECT_EQ(RZ_CalcOblique(slices.data(), request.volume.box, request.volumeParams, request.plane,
                                 request.clipParams(), got.data(), request.outputBox, &gotBounds[0],
                                 &gotBounds[1], &gotBounds[2], &gotBounds[3], 0, request.volume.box.zDim - 1,
                                 quality_of(request), request.halfThickness, type_of(request),
                                 request.volume.isSigned, request.volume.bitDepth),
                  1);

        const PlanarPlan plan = rz_reference::plan_calc_oblique(request);
        count_kinds(plan, request, branches);
        const std::string entry = rz_reference::entry_of_calc_oblique(request.type);
        if (entry.empty()) {
            EXPECT_TRUE(recorder().calls.empty());
        } else {
            ASSERT_EQ(recorder().calls.size(), 1U);
            const Recorded& r = recorder().calls[0];
            EXPECT_EQ(r.entry, entry);
            expect_same_scan(request, plan, r);
            EXPECT_EQ(r.columnStepQ18, plan.frame.columnStepQ18);
            EXPECT_EQ(r.slabStepQ18, plan.frame.slabStepQ18);
            EXPECT_EQ(r.output, got.data());
            const auto table =
                rz_reference::make_slice_table(request.volume.shortRasters(), 0, request.volume.box.zDim - 1);
            EXPECT_TRUE(std::equal(table.begin(), table.end(), r.slices.begin(), r.slices.end()));
        }
        ASSERT_FALSE(HasFailure());

        rz_reference::calc_oblique(request, want.data(), wantBounds);
        ASSERT_TRUE(want == got);
        ASSERT_TRUE(got.fencesIntact());
        ASSERT_EQ(wantBounds, gotBounds);
    }
    EXPECT_EQ(branches.never_met(kMadeKinds), "");
    EXPECT_EQ(branches.never_met(kPlannedKinds), "");
    EXPECT_EQ(branches.never_met(
                  {"column step saturated up", "column step saturated down", "slab step negative in x"}),
              "");
    if (!is_replay()) {
        EXPECT_GT(branches.count("pixels"), 1500);
    }
}

template <class Sample>
void compare_projection(int pixelKind, int count) {
    Branches branches;
    for (const Seed seed : seeds(count)) {
        PlanarRequest request = make_planar_request(seed, pixelKind, branches);
        SCOPED_TRACE(request.describe());
        const auto samples = static_cast<std::size_t>(request.outputBox.xDim * request.outputBox.yDim);
        Fenced<Sample> want(samples, seed);
        Fenced<Sample> got(samples, seed);
        auto wantBounds = request.bounds;
        auto gotBounds = request.bounds;
        auto slices = request.volume.anySlices();
        recorder() = {};
        recorder().depth = request.volume.box.zDim;

        EXPECT_EQ(
            RZ_PlanarObliqueProjection(slices.data(), request.volume.box, request.volumeParams, request.plane,
                                       request.clipParams(), reinterpret_cast<char*>(got.data()),
                                       request.outputBox, &gotBounds[0], &gotBounds[1], &gotBounds[2],
                                       &gotBounds[3], 0, request.volume.box.zDim - 1, quality_of(request),
                                       request.halfThickness, type_of(request)),
            1);

        const PlanarPlan plan = rz_reference::plan_projection(request);
        count_kinds(plan, request, branches);
        if (request.quality == 3) branches.met(plan.quality == 3 ? "gate passed" : "gate closed");
        const std::string entry = rz_reference::entry_of_projection(pixelKind, request.type);
        if (entry.empty()) {
            EXPECT_TRUE(recorder().calls.empty());
        } else {
            ASSERT_EQ(recorder().calls.size(), 1U);
            const Recorded& r = recorder().calls[0];
            EXPECT_EQ(r.entry, entry);
            expect_same_scan(request, plan, r);
            if (pixelKind == 0) {
                EXPECT_EQ(r.columnStepQ18, plan.frame.columnStepQ18);
                EXPECT_EQ(r.slabStepQ18, plan.frame.slabStepFloatQ18);
            } else {
                EXPECT_TRUE(same_bits(r.columnStepFloat, plan.frame.columnStepFloat));
                EXPECT_TRUE(same_bits(r.slabStepFloat, plan.frame.slabStepFloat));
            }
            EXPECT_EQ(r.output, got.data());
            std::vector<void*> rasters;
            for (RZ_Slice* slice : slices) rasters.push_back(slice->MappedRaster());
            const auto table = rz_reference::make_slice_table(rasters, 0, request.volume.box.zDim - 1);
            EXPECT_TRUE(std::equal(table.begin(), table.end(), r.slices.begin(), r.slices.end()));
        }
        ASSERT_FALSE(testing::Test::HasFailure());

        rz_reference::planar_projection(request, want.data(), wantBounds);
        ASSERT_TRUE(want == got);
        ASSERT_TRUE(got.fencesIntact());
        ASSERT_EQ(wantBounds, gotBounds);
    }
    EXPECT_EQ(branches.never_met(kMadeKinds), "");
    EXPECT_EQ(branches.never_met(kPlannedKinds), "");
    EXPECT_EQ(branches.never_met({"gate passed", "gate closed"}), "");
}

TEST(RandomRequests, RZ_PlanarObliqueProjection_16_bits) {
    compare_projection<short>(0, 3000);
}

TEST(RandomRequests, RZ_PlanarObliqueProjection_8_bits) {
    compare_projection<unsigned char>(1, 2000);
}

TEST(RandomRequests, RZ_PlanarObliqueProjection_32_bits) {
    compare_projection<std::uint32_t>(2, 2000);
}

}  // namespace
