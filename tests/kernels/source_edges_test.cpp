#include <gtest/gtest.h>

#include <functional>
#include <type_traits>

#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/selection.h"
#include "tests/reference/tricubic.h"
#include "tests/support/scan_case.h"

// Scans over sources of exactly the readable size (see SourceBlock), from the first sample to the last one,
// by the entries that choose a kernel: whatever form this processor gets may read what the plain form may,
// not a byte more.

namespace {

using namespace rz_test;

template <class Sample, class Step>
struct Scan {
    const char* name;
    ScanOptions options;
    int quality;
    std::function<void(const rz_obl::scan_args<Sample, Step>&)> entry;
    std::function<void(const rz_obl::scan_args<Sample, Step>&)> reference;
};
using Scan16 = Scan<short, int>;
using Scan8 = Scan<unsigned char, float>;
using Scan32 = Scan<std::uint32_t, float>;

/// Kernels that leave it to the spans to stay inside.
ScanOptions inside() {
    ScanOptions options;
    options.negativeSlabSteps = false;
    return options;
}

/// Kernels that look at x and y themselves, and at one more slice to each side.
ScanOptions anywhere() {
    ScanOptions options = inside();
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    return options;
}

ScanOptions limited_above() {
    ScanOptions options = inside();
    options.limitsAbove = true;
    return options;
}

/// The cubic kernels of 32-bit pixels read a row and a pixel about the raster.
ScanOptions with_neighbours() {
    ScanOptions options = inside();
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.neighboursBefore = 1;
    options.neighboursBehind = 1;
    return options;
}

/// Steps and fractions that floats hold exactly, so that the last column of a run is known beforehand.
template <class Step>
Step exact_step(float samples) {
    return static_cast<Step>(std::is_same_v<Step, int> ? samples * 262144.0F : samples);
}

/// A walk along two source axes over the whole of a source, as far as the kernel may go at both ends.
template <class Case>
Case whole_source(Seed seed, const ScanOptions& options) {
    using Sample = std::decay_t<decltype(*std::declval<Case>().slices()[0])>;
    using Step = std::decay_t<decltype(std::declval<Case>().columnStep[0])>;
    Random random(seed);
    const int width = random.once_in(3) ? random.between(2, 9) : random.between(10, 90);
    const int height = random.once_in(3) ? random.between(2, 9) : random.between(10, 40);
    const int depth = random.between(1, 9);
    const int axis = random.between(0, 2);
    const int rowAxis = (axis + random.between(1, 2)) % 3;
    const int axes[3] = {axis, rowAxis, 3 - axis - rowAxis};

    // Positions from low to below high, on each axis.
    float low[3] = {0.0F, 0.0F, static_cast<float>(options.slicesBelow - 2)};
    float high[3] = {static_cast<float>(width - 1), static_cast<float>(height - 1),
                     static_cast<float>(depth + 2 - options.slicesAbove)};
    for (int k = 0; k < 2; ++k) {
        if (options.reach == Reach::kAnywhere) low[k] -= 3.0F;
        if (options.reach == Reach::kAnywhere || options.limitsAbove) high[k] += 3.0F;
    }
    const float fraction = random.pick({0.0F, 0.0F, 1.0F / 64, 0.5F, 63.0F / 64});
    float step[3];
    float start[3];
    int count[3];
    for (int i = 0; i < 3; ++i) {
        const int k = axes[i];
        step[i] = random.pick({1.0F, 1.0F, 1.0F, 0.5F, 0.75F, 1.5F, 2.0F});
        count[i] = 0;
        while (low[k] + fraction + static_cast<float>(count[i]) * step[i] < high[k]) ++count[i];
        start[i] = low[k] + fraction;
        const bool down = random.once_in(3);
        if (down) start[i] += static_cast<float>(count[i] - 1) * step[i];
        if (down) step[i] = -step[i];
    }
    const int columns = count[0];
    const int rows = std::min(count[1], 24);
    auto c = blank_scan_case<Case>(width, height, depth, rows, columns + random.between(0, 3));
    c.seed = seed;
    c.isSigned = random.once_in(2);
    c.bitDepth = random.pick({8, 12, 16});
    const auto neighbours = static_cast<std::size_t>(width) + 1;
    const Readable about{static_cast<std::size_t>(options.neighboursBefore) * neighbours,
                         static_cast<std::size_t>(options.neighboursBehind) * neighbours};
    for (std::size_t z = 0; z < c.rasters.size(); ++z) {
        // the kernel must come to a fence on either side
        SourceRaster<Sample> raster(c.rasters[z].size(), about, random.bits());
        for (auto& entry : c.table) {
            if (entry == c.rasters[z].data()) entry = raster.data();
        }
        if constexpr (sizeof(Sample) == 4) {
            fill_nasty_pixels(random, raster.data(), raster.size());
        } else {
            fill_nasty(random, raster.data(), raster.size(), c.isSigned,
                       sizeof(Sample) == 1 ? 8 : c.bitDepth);
        }
        c.rasters[z] = std::move(raster);
    }
    for (int k = 0; k < 3; ++k) c.planeToIndex[0][k] = c.planeToIndex[1][k] = 0.0F;
    c.columnStep = {};
    c.planeToIndex[0][axes[0]] = step[0];
    c.planeToIndex[1][axes[1]] = step[1];
    c.columnStep[static_cast<std::size_t>(axes[0])] = exact_step<Step>(step[0]);
    // The slab lies along the third axis and takes as many planes of it as are wanted.
    c.slabSteps = random.once_in(3) ? 0 : random.between(0, (count[2] - 1) / 2);
    c.slabSteps = std::min(c.slabSteps, options.maxSlabSteps);
    c.slabStep = {};
    c.slabStep[static_cast<std::size_t>(axes[2])] = exact_step<Step>(step[2]);
    const int middle = random.between(c.slabSteps, count[2] - 1 - c.slabSteps);
    c.planeToIndex[3][axes[0]] = start[0];
    c.planeToIndex[3][axes[1]] = start[1];
    c.planeToIndex[3][axes[2]] = start[2] + static_cast<float>(middle) * step[2];
    if (rows < count[1] && random.once_in(2)) {  // the last rows instead of the first
        c.planeToIndex[3][axes[1]] += static_cast<float>(count[1] - rows) * step[1];
    }
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row) {
        c.spans[2 * row] = static_cast<short>(random.once_in(4) ? random.between(0, columns - 1) : 0);
        c.spans[2 * row + 1] = static_cast<short>(columns - 1);
    }
    return c;
}

template <class Case, class Scan>
void compare(const Scan& scan, int cases) {
    SCOPED_TRACE(scan.name);
    int drawn = 0;
    for (const Seed seed : seeds(cases)) {
        for (const bool whole : {true, false}) {
            auto c =
                whole ? whole_source<Case>(seed, scan.options) : make_scan_case<Case>(seed, scan.options);
            c.quality = scan.quality;
            const auto want = run(scan.reference, c);
            ASSERT_EQ(first_difference(c, want, run(scan.entry, c)), "")
                << (whole ? "whole source" : "any plane");
            if (!want.output.untouched()) ++drawn;
        }
    }
    if (!is_replay()) {
        EXPECT_GT(drawn, cases);
    }
}

constexpr int kCases = 300;

TEST(SourceEdges, plain_mean_16) {
    const Scan16 linear = {"Linear", inside(), 4, [](const auto& a) { rz_obl::scan_avg_12(a, nullptr, 2); },
                           [](const auto& a) { rz_reference::scan_avg_12(a, 2); }};
    compare<ScanCase16>(linear, 2 * kCases);
    for (const int axis : {0, 1, 2}) {
        const Scan16 cubic = {"Cubic", anywhere(), 3,
                              [=](const auto& a) { rz_obl::scan_avg_12(a, nullptr, axis); },
                              [=](const auto& a) { rz_reference::scan_avg_12(a, axis); }};
        compare<ScanCase16>(cubic, kCases);
    }
}

TEST(SourceEdges, projected_mean_16) {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    for (const int quality : {4, 3, 2}) {
        for (const int axis : {0, 1, 2}) {
            const Scan16 scan = {"projection", quality == 4 ? inside() : anywhere(), quality,
                                 [=](const auto& a) { rz_obl::scan_avg_12_2(a, axis); },
                                 [=](const auto& a) { rz_reference::scan_avg_12_2(a, axis); }};
            compare<ScanCase16>(scan, kCases);
        }
    }
}

TEST(SourceEdges, projected_tricubic_16) {
    Branches unused;
    rz_obl::ForceTricubic = true;
    for (const int quality : {2, 3}) {
        const Scan16 scan = {"tricubic", anywhere(), quality,
                             [](const auto& a) { rz_obl::scan_avg_12_2(a, 2); },
                             [&](const auto& a) {
                                 if (a.slabStep[0] < 0) {
                                     for (int k = 0; k < 3; ++k) a.slabStep[k] = -a.slabStep[k];
                                 }
                                 rz_reference::scan_tricubic(a, unused);
                             }};
        compare<ScanCase16>(scan, kCases);
    }
    rz_obl::ForceTricubic = false;
}

TEST(SourceEdges, maximum_and_minimum_16) {
    for (const int quality : {4, 1, 0}) {
        const Scan16 maximum = {"maximum", inside(), quality,
                                [](const auto& a) { rz_obl::scan_max_12(a, nullptr); },
                                [](const auto& a) { rz_reference::scan_max_12(a); }};
        const Scan16 minimum = {"minimum", inside(), quality,
                                [](const auto& a) { rz_obl::scan_min_12(a, nullptr); },
                                [](const auto& a) { rz_reference::scan_min_12(a); }};
        compare<ScanCase16>(maximum, 2 * kCases);
        compare<ScanCase16>(minimum, 2 * kCases);
    }
}

TEST(SourceEdges, bits_8) {
    compare<ScanCase8>(
        Scan8{"mean", limited_above(), 4, rz_obl::scan_avg_8bits, rz_reference::scan_avg_8bits}, 2 * kCases);
    compare<ScanCase8>(
        Scan8{"maximum", limited_above(), 4, rz_obl::scan_max_8bits, rz_reference::scan_max_8bits}, kCases);
    compare<ScanCase8>(
        Scan8{"minimum", limited_above(), 4, rz_obl::scan_min_8bits, rz_reference::scan_min_8bits}, kCases);
}

TEST(SourceEdges, bits_32) {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    const auto entry = [](const rz_obl::scan_args_32& a) { rz_obl::scan_avg_32bits(a, 2); };
    compare<ScanCase32>(Scan32{"linear", inside(), 4, entry, rz_reference::scan_avg_32bits}, kCases);
    compare<ScanCase32>(Scan32{"cubic", with_neighbours(), 3, entry, rz_reference::scan_avg_32bits}, kCases);
}

}  // namespace
