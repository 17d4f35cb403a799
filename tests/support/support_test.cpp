#include <gtest/gtest.h>

#include <cstring>

#include "tests/support/branches.h"
#include "tests/support/scan_case.h"

// The comparison must be able to fail: each kind of change that a kernel could make wrongly is told apart.

namespace {

using namespace rz_test;

ScanCase16 small_case() {
    return blank_scan_case<ScanCase16>(4, 4, 3, 2, 5);
}

void does_nothing(const rz_obl::scan_args_16&) {}

TEST(Support, same_seed_gives_the_same_case) {
    const auto a = make_scan_case<ScanCase16>(7, {});
    const auto b = make_scan_case<ScanCase16>(7, {});
    EXPECT_EQ(first_difference(a, run(does_nothing, a), run(does_nothing, b)), "");
    EXPECT_EQ(a.spans, b.spans);
    EXPECT_EQ(0, std::memcmp(a.slices()[0], b.slices()[0], a.rasters[0].size() * sizeof(short)));
}

TEST(Support, tells_a_changed_pixel) {
    const auto c = small_case();
    const auto got = run([](const rz_obl::scan_args_16& a) { a.output[7] ^= 1; }, c);
    EXPECT_NE(first_difference(c, run(does_nothing, c), got).find("column 2, row 1"), std::string::npos);
}

TEST(Support, tells_a_write_before_and_behind_the_raster) {
    const auto c = small_case();
    const auto want = run(does_nothing, c);
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { a.output[-1] ^= 1; }, c)), "");
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { a.output[10] ^= 1; }, c)), "");
}

TEST(Support, tells_changed_bounds_steps_and_spans) {
    const auto c = small_case();
    const auto want = run(does_nothing, c);
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { *a.lastColumn = 9; }, c)), "");
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { a.columnStep[1] = 9; }, c)), "");
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { a.slabStep[2] = 9; }, c)), "");
    EXPECT_NE(first_difference(c, want, run([](const auto& a) { a.rowSpans[3] = 9; }, c)), "");
}

TEST(Support, spans_of_every_kind_occur) {
    Branches branches;
    for (const Seed seed : seeds(300)) {
        const auto c = make_scan_case<ScanCase16>(seed, {});
        if (c.rowCount == 0) branches.met("no row");
        if (c.slabSteps < 0) branches.met("negative slab");
        if (c.slabSteps > 4) branches.met("thick slab");
        for (std::size_t i = 0; i < c.spans.size(); i += 2) {
            if (c.spans[i] == c.spans[i + 1]) branches.met("one column");
            if (c.spans[i] > c.spans[i + 1]) branches.met("empty");
            if (c.spans[i] < 0) branches.met("negative");
            if (c.spans[i] == 0 && c.spans[i + 1] == c.rowStride - 1 && c.rowStride > 1) branches.met("full");
            if (c.spans[i] > 0 && c.spans[i] < c.spans[i + 1]) branches.met("part");
        }
    }
    EXPECT_EQ(branches.never_met({"no row", "negative slab", "thick slab", "one column", "empty", "negative",
                                  "full", "part"}),
              "");
    if (!is_replay()) {
        EXPECT_GT(branches.count("full") + branches.count("part"), 450);
    }
}

/// One sample before or behind the raster, by a load that the compiler keeps.
void touch(const SourceRaster<short>& raster, std::ptrdiff_t sample) {
    static_cast<void>(*const_cast<const volatile short*>(raster.data() + sample));
}

TEST(SourceRasterDeathTest, one_sample_too_far_ends_the_program) {
    const std::size_t sizes[] = {1, 7, 2048, 3001};
    for (const std::size_t size : sizes) {
        const Seed even = size % 2;  // fenced behind
        const SourceRaster<short> behind(size, {}, even);
        touch(behind, 0);
        touch(behind, static_cast<std::ptrdiff_t>(size) - 1);
        EXPECT_DEATH(touch(behind, static_cast<std::ptrdiff_t>(size)),
                     "beyond a source raster|heap-buffer-overflow");
        const SourceRaster<short> before(size, {}, even + 1);
        touch(before, 0);
        touch(before, static_cast<std::ptrdiff_t>(size) - 1);
        EXPECT_DEATH(touch(before, -1), "beyond a source raster|heap-buffer-overflow");
        const SourceRaster<short> about(size, {3, 2}, even);
        touch(about, -3);
        touch(about, static_cast<std::ptrdiff_t>(size) + 1);
        EXPECT_DEATH(touch(about, static_cast<std::ptrdiff_t>(size) + 2),
                     "beyond a source raster|heap-buffer-overflow");
    }
}

}  // namespace
