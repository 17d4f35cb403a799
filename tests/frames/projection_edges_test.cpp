#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/frames/answer.h"

// What RZ_PlanarObliqueProjection and RZ_CalcOblique do beyond the frame: slice tables, the gate of cubic
// interpolation, sample layouts.

namespace {

int g_builds = 0;

}  // namespace

// Calls that build the weight table pass here.
void wrap_build(rz_obl::CubicWeightTable& table) __asm__(
    "__wrap__ZN6rz_obl18build_weight_tableERNS_16CubicWeightTableE");
void real_build(rz_obl::CubicWeightTable& table) __asm__(
    "__real__ZN6rz_obl18build_weight_tableERNS_16CubicWeightTableE");
void wrap_build(rz_obl::CubicWeightTable& table) {
    ++g_builds;
    real_build(table);
}

namespace {

using namespace rz_test;
using Span = std::array<int, 2>;
using Steps = std::array<int, 3>;
using Bounds = std::array<int, 4>;

/// An axial plane through the middle of a volume whose slices lie that many millimetres apart.
PlanarRequest slices_apart(double spacing) {
    auto request = simple_request({12, 10, 8}, {1.0, 1.0, spacing});
    set_plane(request, {0.9, 0, 0.1}, {6, 5, 4 * spacing}, {0, 1, 0});
    set_output(request, 8, 8, 1.0, 1.0, {-4, -4});
    request.quality = 3;
    return request;
}

TEST(QualityGate, is_open_at_a_factor_of_4_exactly) {
    auto request = slices_apart(4.0);
    ASSERT_EQ(request.volume.box.GetSliceZf(), 4.0F);
    g_builds = 0;
    const Answer a = project(request, false);
    EXPECT_EQ(a.scan->quality, 3);
    EXPECT_EQ(a.scan->dominantAxis, 0);
    EXPECT_EQ(g_builds, 1);
    EXPECT_NE(rz_obl::g_cubicWeightTable.weights, nullptr);
}

TEST(QualityGate, is_shut_just_above_with_slices_as_the_linear_axis) {
    auto request = slices_apart(4.001);
    g_builds = 0;
    const Answer a = project(request, false);
    EXPECT_EQ(a.scan->quality, 2);
    EXPECT_EQ(a.scan->dominantAxis, 2);
    EXPECT_EQ(g_builds, 0);
}

TEST(QualityGate, leaves_other_qualities_and_their_axis) {
    auto request = slices_apart(4.5);
    g_builds = 0;
    for (const int quality : {0, 1, 2, 4, 5}) {
        request.quality = quality;
        const Answer a = project(request, false);
        EXPECT_EQ(a.scan->quality, quality);
        EXPECT_EQ(a.scan->dominantAxis, 0);
    }
    EXPECT_EQ(g_builds, 0);
}

TEST(QualityGate, builds_the_table_for_any_type) {
    for (const int type : {1, 2, 3, -1}) {
        auto request = slices_apart(1.0);
        request.type = type;
        g_builds = 0;
        const Answer a = project(request);
        EXPECT_EQ(a.result, 1);
        EXPECT_EQ(g_builds, 1);
        EXPECT_NE(rz_obl::g_cubicWeightTable.weights, nullptr);
        if (type == 1) {
            EXPECT_EQ(a.scan->entry, "scan_max_12");
            EXPECT_EQ(a.scan->quality, 3);
        }
    }
}

TEST(QualityGate, has_no_say_in_RZ_CalcOblique) {
    auto request = slices_apart(4.5);
    g_builds = 0;
    const Answer a = calc_oblique(request, false);
    EXPECT_EQ(a.scan->quality, 3);
    EXPECT_EQ(a.scan->dominantAxis, 0);
    EXPECT_EQ(g_builds, 0);
}

/// The same plane with the gate open for cubic and with semi-cubic along y: the names mean different kernels
/// in the two functions.
TEST(Projection, and_RZ_CalcOblique_differ_by_half_a_sample_in_the_semicubic_kernels) {
    auto request = simple_request({16, 14, 6}, {1.0, 1.0, 1.0});
    set_plane(request, {0, 0, 1}, {0, 0, 2.5}, {1, 0, 0});
    request.volume.bitDepth = 16;
    for (auto& slice : request.volume.slices) slice->bitDepth = 16;
    request.quality = 2;
    const Answer semi = project(request);
    request.quality = 3;
    const Answer shifted = calc_oblique(request);
    // Samples fall by 1 per column and 40 per row: half a sample each way is 20.5.
    EXPECT_EQ(semi.output.data()[5 * 16 + 5], -(5 + 40 * 5 + 2000));
    EXPECT_NEAR(shifted.output.data()[5 * 16 + 5], -(5.5 + 40 * 5.5 + 2000), 1.0);
}

TEST(Projection, takes_sign_and_depth_from_the_first_slice) {
    auto request = simple_request({12, 10, 3});
    request.volume.slices[0]->isSigned = false;
    request.volume.slices[0]->bitDepth = 9;
    request.volume.slices[1]->bitDepth = 14;
    const Answer a = project(request, false);
    EXPECT_FALSE(a.scan->isSigned);
    EXPECT_EQ(a.scan->bitDepth, 9);
}

TEST(Projection, settles_the_sign_of_the_slab_step) {
    auto request = simple_request({30, 30, 30});
    set_plane(request, {-2, 1, -1}, {15, 15, 15}, {0, 1, 1});
    request.halfThickness = 3.0F;
    request.type = 1;
    const Answer before = calc_oblique(request, false);
    const Answer after = project(request, false);
    EXPECT_EQ(before.scan->slabStepQ18[0], -262144);
    EXPECT_NEAR(before.scan->slabStepQ18[1], 131072, 1);
    EXPECT_NEAR(before.scan->slabStepQ18[2], -131072, 1);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_EQ(after.scan->slabStepQ18[k], -before.scan->slabStepQ18[k]);
}

/// A volume of bytes or of 32-bit pixels over the geometry of a simple one.
PlanarRequest of_kind(int pixelKind) {
    auto request = simple_request({10, 9, 4});
    set_plane(request, {0, 0, 1}, {0, 0, 1.5}, {1, 0, 0});
    request.volume.shorts.clear();
    request.volume.pixelKind = pixelKind;
    for (int z = 0; z < 4; ++z) {
        if (pixelKind == 1) {
            request.volume.bytes.emplace_back(90);
            for (int i = 0; i < 90; ++i)
                request.volume.bytes.back().data()[i] = static_cast<unsigned char>(i + z);
        } else {
            request.volume.pixels.emplace_back(90, Readable{11, 11});
            for (int i = 0; i < 90; ++i) {
                request.volume.pixels.back().data()[i] = 0xff000000U + static_cast<unsigned>(i * 0x010203);
            }
        }
    }
    request.volume.isSigned = false;
    request.volume.bitDepth = 8;
    wrap_rasters(request.volume);
    return request;
}

template <class Sample>
int project_kind(PlanarRequest& request, Fenced<Sample>& output, Bounds& bounds) {
    recorder() = {};
    recorder().depth = request.volume.box.zDim;
    auto slices = request.volume.anySlices();
    return RZ_PlanarObliqueProjection(
        slices.data(), request.volume.box, request.volumeParams, request.plane, nullptr,
        reinterpret_cast<char*>(output.data()), request.outputBox, &bounds[0], &bounds[1], &bounds[2],
        &bounds[3], 0, request.volume.box.zDim - 1, static_cast<RZ_OBL_RenditionQuality>(request.quality),
        request.halfThickness, static_cast<RZ_OBL_RenditionType>(request.type));
}

TEST(Projection, of_bytes_gives_the_samples_at_sample_centres) {
    for (const int type : {0, 1, 2}) {
        auto request = of_kind(1);
        request.type = type;
        Fenced<unsigned char> output(90, 3);
        Bounds b = request.bounds;
        EXPECT_EQ(project_kind(request, output, b), 1);
        EXPECT_EQ(b, (Bounds{1, 7, 1, 8}));
        for (int i : {11, 18, 44, 78}) EXPECT_EQ(output.data()[i], i + 1);
        EXPECT_EQ(recorder().calls[0].columnStepFloat, (std::array<float, 3>{1, 0, 0}));
        EXPECT_TRUE(output.fencesIntact());
    }
}

TEST(Projection, of_pixels_exchanges_the_outer_channels) {
    auto request = of_kind(2);
    Fenced<std::uint32_t> output(90, 3);
    Bounds b = request.bounds;
    EXPECT_EQ(project_kind(request, output, b), 1);
    EXPECT_EQ(b, (Bounds{1, 7, 1, 8}));
    for (unsigned i : {11U, 18U, 44U, 78U}) EXPECT_EQ(output.data()[i], i * 0x030201U);
}

TEST(Projection, of_pixels_has_no_maximum_and_no_minimum) {
    for (const int type : {1, 2, 3}) {
        for (const int quality : {3, 4}) {
            auto request = of_kind(2);
            request.type = type;
            request.quality = quality;
            Fenced<std::uint32_t> output(90, 3);
            Bounds b = {4, 3, 2, 1};
            EXPECT_EQ(project_kind(request, output, b), 1);
            EXPECT_TRUE(output.untouched());
            EXPECT_EQ(b, (Bounds{4, 3, 2, 1}));
        }
    }
}

TEST(Projection, treats_every_slice_as_the_first_ones_kind) {
    auto request = simple_request({10, 9, 4});
    set_plane(request, {0, 0, 1}, {0, 0, 2.5}, {1, 0, 0});
    for (std::size_t z = 1; z < 4; ++z) request.volume.slices[z]->pixelKind = 1;
    const Answer a = project(request);
    EXPECT_EQ(a.scan->entry, "scan_avg_12_2");
    EXPECT_EQ(a.output.data()[44], -(4 + 40 * 4 + 2000));
}

TEST(SliceTable, of_one_slice_repeats_it_five_times) {
    auto request = simple_request({10, 9, 1});
    for (const bool projected : {false, true}) {
        const Answer a = projected ? project(request) : calc_oblique(request);
        const void* raster = request.volume.shorts[0].data();
        EXPECT_EQ(a.scan->slices, (std::vector<const void*>(5, raster)));
        EXPECT_EQ(a.output.data()[44], -(4 + 40 * 4));
    }
}

TEST(SliceTable, guards_repeat_the_end_slices) {
    auto request = simple_request({10, 9, 3});
    const Answer a = calc_oblique(request, false);
    const auto raster = [&](std::size_t z) -> const void* { return request.volume.shorts[z].data(); };
    EXPECT_EQ(a.scan->slices, (std::vector<const void*>{raster(0), raster(0), raster(0), raster(1), raster(2),
                                                        raster(2), raster(2)}));
}

TEST(SliceTable, of_an_empty_range_maps_nothing) {
    // No slice object is touched: null slices would show it.
    auto request = simple_request({10, 9, 3});
    set_plane(request, {0, 0, 1}, {0, 0, 99}, {1, 0, 0});
    std::vector<RZ_ShortSlice*> none(3, nullptr);
    Bounds b = request.bounds;
    Fenced<short> output(90, 3);
    recorder() = {};
    EXPECT_EQ(RZ_CalcOblique(none.data(), request.volume.box, request.volumeParams, request.plane, nullptr,
                             output.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3], 2, 1,
                             RZ_OBL_RenditionQuality::Linear, 0.0F, RZ_OBL_RenditionType::Average, true, 16),
              1);
    EXPECT_TRUE(output.untouched());
    EXPECT_EQ(b, (Bounds{0, 0, 10, 0}));
}

}  // namespace
