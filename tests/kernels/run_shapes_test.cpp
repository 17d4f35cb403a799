#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "tests/kernels/max_min_cases.h"
#include "tests/reference/linear.h"
#include "tests/support/branches.h"
#include "tests/support/scan_case.h"

// Runs along one source row per plane, as axial and coronal pictures have them, whole samples and fractions,
// and runs of sagittal pictures, whose planes lie side by side: the wide kernels have ways of their own for
// these, which general cases seldom meet. Rasters are exactly as large as they must be.

namespace {

using namespace rz_test;

constexpr int kOne = 262144;

/// Whether column j of a run at `start` can be sampled at every plane.
bool inside(const ScanCase16& c, const std::array<int, 3>& start, int j, int columnFactor) {
    const int planes = std::max(2 * c.slabSteps + 1, 1);
    for (int plane = 0; plane < planes; ++plane) {
        int index[3];
        for (std::size_t k = 0; k < 3; ++k) {
            index[k] = (start[k] + j * columnFactor * c.columnStep[k] + plane * c.slabStep[k]) >> 18;
        }
        if (index[0] < 0 || index[0] > c.sourceWidth - 2 || index[1] < 0 || index[1] > c.sourceHeight - 2)
            return false;
        if (index[2] < -2 || index[2] > c.depth) return false;
    }
    return true;
}

int column_step(Random& random, Branches& branches) {
    const int sign = random.once_in(2) ? 1 : -1;
    switch (random.between(0, 6)) {
        case 0:
        case 1:
        case 2:
            branches.met(sign > 0 ? "step of one sample" : "step of one sample down");
            return sign * kOne;
        case 3:
            branches.met("step of two samples");
            return sign * 2 * kOne;
        case 4:
            branches.met("step above two samples");
            return sign * (2 * kOne + random.between(1, kOne));
        default:
            branches.met("step with a fraction");
            return sign * random.between(1, 2 * kOne - 1);
    }
}

/// Positive samples close together are what the order of a minimum's planes shows on: each loses some units
/// on its way, so that planes lie below raw samples that they are tested by.
void fill(Random& random, ScanCase16& c, Branches& branches) {
    const bool close = random.once_in(2);
    branches.met(close ? "samples close together" : "samples of any value");
    for (auto& raster : c.rasters) {
        if (close)
            std::generate_n(raster.data(), raster.size(),
                            [&] { return static_cast<short>(random.between(4, 14)); });
        else
            fill_nasty(random, raster.data(), raster.size(), random.once_in(2), 16);
    }
}

/// Positions in eighths of a sample unit are exact in the start's float arithmetic.
float coordinate(Random& random, int least, int greatest, bool whole) {
    const auto position = static_cast<float>(random.between(least, std::max(least, greatest)));
    return whole ? position
                 : position + static_cast<float>(random.between(0, kOne - 1)) / static_cast<float>(kOne);
}

ScanCase16 make_case(Seed seed, Branches& branches) {
    Random random(seed);
    const int width = random.once_in(5)    ? random.between(2, 9)
                      : random.once_in(20) ? random.between(1030, 1400)
                      : random.once_in(8)  ? random.between(513, 530)
                                           : random.between(10, 700);
    const int height = random.between(2, 6);
    const int depth = random.between(1, 8);
    const int rows = random.between(1, 6);
    auto c = blank_scan_case<ScanCase16>(width, height, depth, rows, random.between(2, width + 40));
    c.seed = seed;
    fill(random, c, branches);
    c.bounds = {1000, -1, 1000, -1};

    const bool onGrid = !random.once_in(3);
    c.columnStep = {column_step(random, branches), 0, 0};
    c.slabSteps = random.once_in(3) ? 0 : random.between(1, 4);
    for (std::size_t k = 0; k < 3; ++k) {
        const int whole = random.between(-1, 1) * kOne;
        c.slabStep[k] = onGrid ? whole : random.between(-kOne / 2, kOne / 2);
    }
    c.slabStep[0] = std::abs(c.slabStep[0]);
    if (random.once_in(2)) c.slabStep[0] = 0;
    branches.met(onGrid ? "slab steps of whole samples" : "slab steps with fractions");

    const bool wholeStart = onGrid && !random.once_in(4);
    for (std::size_t k = 0; k < 3; ++k) {
        const int span[3] = {width, height, depth};
        c.planeToIndex[0][k] = static_cast<float>(c.columnStep[k]) / static_cast<float>(kOne);
        c.planeToIndex[1][k] = k == 0 ? 0.0F : (random.once_in(2) ? 1.0F : 0.25F) * (k == 1 ? 1.0F : 0.0F);
        c.planeToIndex[3][k] = coordinate(random, 0, span[k] - 2, wholeStart);
    }
    if (c.columnStep[0] < 0) c.planeToIndex[3][0] = static_cast<float>(width - 2);
    if (wholeStart) branches.met("start on the grid");
    // bits of a fraction that are never used
    if (wholeStart && random.once_in(3)) {
        c.planeToIndex[3][1] += 5.0F / static_cast<float>(kOne);
        branches.met("start on the grid but for unused bits");
    }
    return c;
}

/// Gives each row the longest run from a random column on.
void make_spans(ScanCase16& c, int columnFactor, Branches& branches) {
    const auto measure = [&](const rz_obl::scan_args_16& args) {
        Random random(c.seed + 7);
        for (int row = 0; row < c.rowCount; ++row) {
            const int first = random.once_in(2) ? 0 : random.between(0, c.rowStride - 1);
            const auto p = rz_reference::clamped(
                rz_reference::moved_to_first_plane(args, rz_reference::start_in_plane(args, row, first)));
            int last = first - 1;
            for (int j = 0; first + j * columnFactor < c.rowStride && inside(c, p, j, columnFactor); ++j) {
                last = first + j * columnFactor;
            }
            args.rowSpans[2 * row] = static_cast<short>(first);
            args.rowSpans[2 * row + 1] = static_cast<short>(last);
            const int columns = last - first + 1;
            if (columns > 1024) branches.met("more than one chunk of columns");
            if (columns > 512) branches.met("more than one chunk");
            if (columns > 512 && columns < 528) branches.met("a few columns more than a chunk");
            if (columns > 16 && columns % 16 != 0) branches.met("last block moved back");
            if (columns > 1 && columns < 16) branches.met("fewer than sixteen columns");
            if (columns > 16 && ((p[0] >> 18) == 0 || (p[0] >> 18) == c.sourceWidth - 2)) {
                branches.met("from the raster's edge");
            }
        }
    };
    c.spans = run(measure, c).spans;
}

/// Columns go through rows and slices by whole samples, planes through adjacent samples of a row.
ScanCase16 make_segment_case(Seed seed, Branches& branches) {
    Random random(seed);
    const int width = random.between(8, 90);
    const int height = random.between(2, 40);
    const int depth = random.between(2, 20);
    auto c = blank_scan_case<ScanCase16>(width, height, depth, random.between(1, 4), random.between(2, 40));
    c.seed = seed;
    fill(random, c, branches);
    c.bounds = {1000, -1, 1000, -1};

    const int x = random.once_in(3) ? random.between(-3, 3) : 0;
    const int y = random.between(-2, 2);
    const int z = random.between(-2, 2);
    c.columnStep = {x * kOne, y * kOne, z * kOne};
    c.slabSteps = random.between(0, std::min(24, (width - 2) / 2));
    c.slabStep = {random.once_in(8) ? kOne + random.between(-8, 8) : kOne, 0, 0};
    if (random.once_in(8)) c.slabStep[1] = random.between(-1, 1) * kOne;
    const bool fraction = random.once_in(6);
    const int planes = 2 * c.slabSteps + 1;
    branches.met(c.slabStep != std::array<int, 3>{kOne, 0, 0} ? "planes not side by side"
                 : fraction                                   ? "start between samples"
                 : planes == 1                                ? "one plane"
                 : planes < 16                                ? "fewer than sixteen planes"
                 : planes == 17                               ? "seventeen planes"
                 : planes > 32                                ? "more than thirty-two planes"
                                                              : "more than sixteen planes");

    const int span[3] = {width, height, depth};
    for (std::size_t k = 0; k < 3; ++k) {
        c.planeToIndex[0][k] = static_cast<float>(c.columnStep[k]) / static_cast<float>(kOne);
        c.planeToIndex[1][k] = k == 0 ? 0.0F : static_cast<float>(random.between(0, 1));
        // the start goes back by slabSteps
        const int least = k == 0 ? c.slabSteps : 0;
        const int greatest = k == 0 ? width - 2 - c.slabSteps : span[k] - 2;
        c.planeToIndex[3][k] = coordinate(random, least, greatest, !fraction);
    }
    if (random.once_in(3)) c.planeToIndex[3][1] += 5.0F / static_cast<float>(kOne);
    return c;
}

std::string segments_never_met(const Branches& branches) {
    return branches.never_met({"planes not side by side", "start between samples", "one plane",
                               "fewer than sixteen planes", "seventeen planes", "more than sixteen planes",
                               "more than thirty-two planes", "samples close together",
                               "samples of any value"});
}

std::string never_met(const Branches& branches) {
    return branches.never_met(
        {"step of one sample", "step of one sample down", "step of two samples", "step above two samples",
         "step with a fraction", "slab steps of whole samples", "slab steps with fractions",
         "start on the grid", "start on the grid but for unused bits", "more than one chunk",
         "more than one chunk of columns", "last block moved back", "fewer than sixteen columns",
         "from the raster's edge"});
}

TEST(RunShapes, linear_along_rows) {
    Branches branches;
    Branches unused;
    for (const Seed seed : seeds(6000)) {
        auto c = make_case(seed, branches);
        make_spans(c, 1, branches);
        const auto reference = [&](const rz_obl::scan_args_16& a) { rz_reference::scan_linear(a, unused); };
        const auto want = run(reference, c);
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear, c)), "");
        if (!rz_obl::g_cpuFeatures.hasAvx2()) continue;
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear_avx2, c)), "");
    }
    EXPECT_EQ(never_met(branches), "");
}

TEST(RunShapes, maximum_and_minimum_along_rows) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        Branches branches;
        Branches unused;
        for (const Seed seed : seeds(3000)) {
            auto c = make_case(seed, branches);
            const bool fast = seed % 3 == 0;
            make_spans(c, fast ? 2 : 1, branches);
            const auto want = run([&](const auto& a) { k.reference(a, fast, unused); }, c);
            ASSERT_EQ(first_difference(c, want, run([&](const auto& a) { k.kernel(a, fast); }, c)), "")
                << (fast ? "fast" : "every column");
        }
        EXPECT_EQ(never_met(branches), "");
    }
}

TEST(RunShapes, linear_of_planes_side_by_side) {
    Branches branches;
    Branches unused;
    for (const Seed seed : seeds(6000)) {
        auto c = make_segment_case(seed, branches);
        make_spans(c, 1, unused);
        const auto reference = [&](const rz_obl::scan_args_16& a) { rz_reference::scan_linear(a, unused); };
        const auto want = run(reference, c);
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear, c)), "");
        if (!rz_obl::g_cpuFeatures.hasAvx2()) continue;
        ASSERT_EQ(first_difference(c, want, run(rz_obl::scan_linear_avx2, c)), "");
    }
    EXPECT_EQ(segments_never_met(branches), "");
}

TEST(RunShapes, maximum_and_minimum_of_planes_side_by_side) {
    for (const NamedKernel& k : kernels_here()) {
        SCOPED_TRACE(k.name);
        Branches branches;
        Branches unused;
        for (const Seed seed : seeds(3000)) {
            auto c = make_segment_case(seed, branches);
            const bool fast = seed % 3 == 0;
            make_spans(c, fast ? 2 : 1, unused);
            const auto want = run([&](const auto& a) { k.reference(a, fast, unused); }, c);
            ASSERT_EQ(first_difference(c, want, run([&](const auto& a) { k.kernel(a, fast); }, c)), "")
                << (fast ? "fast" : "every column");
        }
        EXPECT_EQ(segments_never_met(branches), "");
    }
}

}  // namespace
