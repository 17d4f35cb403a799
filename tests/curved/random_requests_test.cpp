#include <gtest/gtest.h>

#include <cstdint>

#include "tests/curved/log_lines.h"
#include "tests/curved/run_curved.h"
#include "tests/curved/simple_curve.h"

// Seeded requests against the plain forms: the preparation with everything that it changes, then rasters and
// every output of the image, bit for bit.

namespace {

using namespace rz_test;

// Prepares twice, by the reference and by the entry point, and compares. False where both refused.
bool prepare_both(CurvedRequest& request, rz_reference::CurveData& want, RZ_CurveProjectData& got,
                  Branches& branches) {
    CurvedRequest copy;
    copy.imageBox = request.imageBox;
    copy.secondBox = request.secondBox;
    const bool transposedIn = request.transposedIn.value_or(false);
    const int signIn = request.signIn.value_or(0);
    LogLines log(7);
    const int expected = rz_reference::prepare_curve_data(
        request.spline, copy.imageBox, request.localFrames, request.transposedIn ? &transposedIn : nullptr,
        request.signIn ? &signIn : nullptr, request.margin, want, copy.secondBox ? &*copy.secondBox : nullptr,
        branches);
    EXPECT_EQ(prepare(request, got), expected);
    EXPECT_TRUE(same_box(copy.imageBox, request.imageBox));
    EXPECT_TRUE(!request.secondBox || same_box(*copy.secondBox, *request.secondBox));
    EXPECT_EQ(log.lines().size(), want.warned ? 1U : 0U);
    EXPECT_EQ(expected != 0 ? difference(want, got) : "", "");
    return expected != 0;
}

template <class Sample>
void expect_same_image(CurvedRequest& request, RZ_CurveProjectData& data, Branches& branches) {
    ImageRaster<Sample> want(request);
    ImageRaster<Sample> got(request);
    const CurvedOutputs wantOut =
        draw(request, data, want.data(), request.rangeStart, request.rangeEnd, draw_by_reference, branches);
    const CurvedOutputs gotOut =
        draw(request, data, got.data(), request.rangeStart, request.rangeEnd, draw_by_entry, branches);
    EXPECT_EQ(wantOut.describe(), gotOut.describe());
    EXPECT_TRUE(wantOut == gotOut);
    EXPECT_TRUE(want == got);
    EXPECT_TRUE(got.block().fencesIntact());
    branches.met(got.block().untouched() ? "no pixel" : "pixels");
    if (!got.block().untouched()) {
        const bool transposed = wantOut.transposedOut != 0;
        constexpr const char* kKinds[2][2][3] = {
            {{"mean of 16 bits", "maximum of 16 bits", "minimum of 16 bits"},
             {"mean of 16 bits along y", "maximum of 16 bits along y", "minimum of 16 bits along y"}},
            {{"mean of 8 bits", "maximum of 8 bits", "minimum of 8 bits"},
             {"mean of 8 bits along y", "maximum of 8 bits along y", "minimum of 8 bits along y"}}};
        branches.met(kKinds[request.volume.pixelKind][transposed ? 1 : 0][request.type]);
    }
}

// Draws whole, in parts, and with a null raster.
template <class Sample>
void expect_parts_make_the_whole(CurvedRequest& request, RZ_CurveProjectData& data, Branches& branches) {
    ImageRaster<Sample> whole(request);
    const CurvedOutputs wholeOut = draw(request, data, whole.data(), 0.0F, 1.0F, draw_by_entry, branches);
    for (const int parts : {2, 3, 7}) {
        ImageRaster<Sample> together(request);
        for (int i = 0; i < parts; ++i) {
            const auto count = static_cast<float>(parts);
            const float from = static_cast<float>(i) / count;
            const float to = static_cast<float>(i + 1) / count;
            const CurvedOutputs out = draw(request, data, together.data(), from, to, draw_by_entry, branches);
            const bool drew = !out.boundsUntouched() || wholeOut.boundsUntouched();
            EXPECT_TRUE(!drew || out == wholeOut);
        }
        EXPECT_TRUE(together == whole) << parts << " parts";
    }
    EXPECT_TRUE(draw(request, data, nullptr, 0.0F, 1.0F, draw_by_entry, branches) == wholeOut);
}

// Drops optional outputs: the others stay.
template <class Sample>
void expect_outputs_are_optional(CurvedRequest& request, RZ_CurveProjectData& data, Branches& branches) {
    ImageRaster<Sample> all(request);
    ImageRaster<Sample> few(request);
    CurvedOutputs expected = draw(request, data, all.data(), 0.0F, 1.0F, draw_by_entry, branches);
    Random random(request.seed);
    WantedOutputs wanted;
    const CurvedOutputs fresh;
    const auto drop = [&](bool& flag) {
        flag = random.once_in(2);
        return !flag;
    };
    if (drop(wanted.columnBounds)) std::copy_n(fresh.columnBounds, 2, expected.columnBounds);
    if (drop(wanted.corner)) std::copy_n(fresh.corner, 4, expected.corner);
    if (drop(wanted.startFraction)) expected.startFraction = fresh.startFraction;
    if (drop(wanted.endFraction)) expected.endFraction = fresh.endFraction;
    if (drop(wanted.transposedOut)) expected.transposedOut = fresh.transposedOut;
    if (drop(wanted.signOut)) expected.signOut = fresh.signOut;
    const CurvedOutputs got = draw(request, data, few.data(), 0.0F, 1.0F, draw_by_entry, branches, wanted);
    EXPECT_EQ(expected.describe(), got.describe());
    EXPECT_TRUE(all == few);
}

constexpr auto kMadeKinds = {"sweep along a physical axis",
                             "sweep with a tie of components",
                             "sweep along a side of the volume",
                             "sweep of any direction",
                             "no thickness",
                             "tiny thickness",
                             "thickness below a sample",
                             "thickness is not a number",
                             "thickness beyond the volume",
                             "negative thickness",
                             "thickness of whole samples",
                             "thickness of several samples",
                             "some slices only",
                             "crop along the volume",
                             "crop across the volume",
                             "frame box of its own",
                             "frame box elsewhere",
                             "equal spacing",
                             "unequal spacing",
                             "volume along the axes",
                             "volume of any orientation",
                             "volume far from the origin",
                             "spline of two points",
                             "dense spline",
                             "spline of a hundred points",
                             "spline through random points",
                             "spline without length",
                             "closed spline",
                             "raster wider than the image",
                             "part of the columns",
                             "slab along the mean normal"};
constexpr auto kPrepared = {"sweep along x",
                            "sweep along -x",
                            "sweep along y",
                            "sweep along -y",
                            "sweep along z",
                            "sweep along -z",
                            "line along x",
                            "line along y",
                            "line along z",
                            "sweep along y across a line along z",
                            "sweep turned round for the given sign",
                            "pixels are not square",
                            "no pixel along the curve",
                            "curve of less than two samples",
                            "view before the curve",
                            "view beyond the curve",
                            "view within the curve",
                            "view about the whole curve",
                            "view over the curve's start",
                            "view over the curve's end",
                            "more curve samples than pixels",
                            "directions of the curve itself",
                            "directions of the thinned curve"};
constexpr auto kFramed = {"orientation given",
                          "orientation computed",
                          "curve along image x",
                          "curve along image y",
                          "one pass over the spans",
                          "two passes over the spans",
                          "column dropped whole",
                          "column dropped by the second face",
                          "second face without a range",
                          "no range in the frame box",
                          "no range in the crop box",
                          "ray beside the box",
                          "ray along a face, inside",
                          "ray enters ahead of the curve",
                          "ray leaves behind the curve",
                          "image ends within the frame box",
                          "image begins before the frame box",
                          "band about the curve",
                          "band narrower than the image",
                          "empty range",
                          "surface misses the frame box"};
constexpr auto kDrawn = {"pixels",
                         "no pixel",
                         "type without a worker",
                         "column without a span",
                         "column drawn",
                         "column set up by the frame",
                         "thickness step turned round",
                         "thickness in samples differs by column",
                         "several samples along the thickness",
                         "thickness below one step",
                         "start limited in x",
                         "start limited in y",
                         "extrapolated before the first sample of a row or column",
                         "extrapolated before the first slice",
                         "mean of nothing",
                         "seed at the last extreme's depth",
                         "limited from below",
                         "limited from above"};

template <class Sample>
void run_requests(int pixelKind, int count) {
    Branches branches;
    for (const Seed seed : seeds(count)) {
        CurvedRequest request = make_curved_request(seed, pixelKind, branches);
        SCOPED_TRACE(request.describe());
        rz_reference::CurveData want;
        RZ_CurveProjectData got;
        if (!prepare_both(request, want, got, branches)) {
            ASSERT_FALSE(testing::Test::HasFailure());
            // The image refuses the same requests.
            ImageRaster<Sample> raster(request);
            const CurvedOutputs out = draw(request, got, raster.data(), 0.0F, 1.0F, draw_by_entry, branches);
            ASSERT_EQ(out.result, 0);
            ASSERT_TRUE(out.untouchedButRemainders());
            ASSERT_EQ(out.alongRemainder, 0.0F);
            ASSERT_EQ(out.crossRemainder, 0.0F);
            ASSERT_TRUE(raster.block().untouched());
            continue;
        }
        if (request.dropDirections) {
            delete[] got.directions;
            got.directions = nullptr;
        }
        expect_same_image<Sample>(request, got, branches);
        ASSERT_FALSE(testing::Test::HasFailure());
        if (seed % 3 == 0) {
            expect_parts_make_the_whole<Sample>(request, got, branches);
            expect_outputs_are_optional<Sample>(request, got, branches);
            ASSERT_FALSE(testing::Test::HasFailure());
        }
    }
    EXPECT_EQ(branches.never_met(kMadeKinds), "");
    EXPECT_EQ(branches.never_met(kPrepared), "");
    EXPECT_EQ(branches.never_met(kFramed), "");
    EXPECT_EQ(branches.never_met(kDrawn), "");
    if (pixelKind == 0) {
        EXPECT_EQ(branches.never_met({"mean of 16 bits", "maximum of 16 bits", "minimum of 16 bits",
                                      "mean of 16 bits along y", "maximum of 16 bits along y",
                                      "minimum of 16 bits along y"}),
                  "");
    } else {
        EXPECT_EQ(branches.never_met({"mean of 8 bits", "maximum of 8 bits", "minimum of 8 bits",
                                      "mean of 8 bits along y", "maximum of 8 bits along y",
                                      "minimum of 8 bits along y"}),
                  "");
    }
    if (!is_replay()) {
        // Most requests draw something.
        EXPECT_GT(branches.count("pixels"), count / 3);
        EXPECT_GT(branches.count("column drawn"), 4L * count);
    }
}

// A row of equal samples keeps the depth of the winner before it; the next row is noise, steep enough to show
// how the seed at that depth was rounded.
TEST(RandomCurvedRequests, WinnersAcrossTies) {
    Branches branches;
    for (const Seed seed : seeds(600)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        CurvedRequest r = simple_request();
        fill_volume(r.volume,
                    [&](int, int y, int) { return y % 2 == 0 ? 0 : random.between(-32768, 32767); });
        const float low = random.real(4.5F, 7.0F);
        const float high = random.real(9.0F, 11.5F);
        r.spline = straight_spline({2.0F, 8.5F, low}, {14.0F, 8.5F, high}, {0.0F, 1.0F, 0.0F});
        r.thickness = random.real(2.5F, 4.0F);
        r.type = random.between(1, 2);
        RZ_CurveProjectData data;
        ASSERT_EQ(prepare(r, data), 1);
        expect_same_image<short>(r, data, branches);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(
        branches.never_met({"maximum of 16 bits", "minimum of 16 bits", "seed at the last extreme's depth"}),
        "");
}

TEST(RandomCurvedRequests, SixteenBits) {
    run_requests<std::int16_t>(0, 4000);
}

TEST(RandomCurvedRequests, EightBits) {
    run_requests<std::uint8_t>(1, 4000);
}

}  // namespace
