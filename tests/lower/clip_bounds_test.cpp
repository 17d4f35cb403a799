#include "lower/geometry/clip_bounds.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/support/branches.h"
#include "tests/support/seeded.h"

using rz_test::Branches;
using rz_test::Random;
using rz_test::replay;
using rz_test::Seed;
using rz_test::seeds;

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
const float kNan = std::numeric_limits<float>::quiet_NaN();

using Spans = std::vector<short>;

Spans full_rows(int width, int height) {
    Spans spans;
    for (int y = 0; y < height; ++y) {
        spans.push_back(0);
        spans.push_back(static_cast<short>(width - 1));
    }
    return spans;
}

Spans clipped(float a, float b, float c, int width, Spans spans) {
    const int height = static_cast<int>(spans.size() / 2);
    spans.insert(spans.end(), {1234, 4321});  // a row too many
    RZ_update_clip_bounds(a, b, c, width, height, spans.data());
    EXPECT_EQ(spans[spans.size() - 2], 1234);
    EXPECT_EQ(spans[spans.size() - 1], 4321);
    spans.resize(spans.size() - 2);
    return spans;
}

std::vector<bool> left(const Spans& spans) {
    std::vector<bool> rows;
    for (std::size_t y = 0; y < spans.size() / 2; ++y) rows.push_back(spans[2 * y] < spans[2 * y + 1]);
    return rows;
}

// Exact whole numbers: a float below 2^40 in magnitude is a multiple of 2^-40 here, its product with a row or
// a column stays below 2^95, and a hundred of them below 2^102.
__extension__ using Wide = __int128;

Wide exact(float value) {
    return static_cast<Wide>(std::ldexp(static_cast<double>(value), 40));
}

float coefficient(Random& random) {
    if (random.once_in(12)) return 0.0F;
    if (random.once_in(6)) return static_cast<float>(random.between(-40, 40));
    const int exponent = random.between(-15, 20);  // 24 bits below 2^20: no bit under 2^-40
    const float mantissa = random.real(-1.0F, 1.0F);
    return std::ldexp(std::round(std::ldexp(mantissa, 24)), exponent - 24);
}

struct ClipCase {
    float a, b, c;
    int width;
    Spans spans;
};

ClipCase random_case(Random& random) {
    ClipCase r{};
    r.a = coefficient(random);
    r.b = coefficient(random);
    r.width = random.once_in(40) ? 32767 : random.between(1, 300);
    const int height = random.between(0, r.width > 1000 ? 3 : 40);
    r.c = coefficient(random);
    if (!random.once_in(4)) {  // a line that crosses the raster
        const double x = random.between(-2, r.width + 1) + static_cast<double>(random.real(-0.5F, 0.5F));
        const double c = static_cast<double>(r.a) * x + static_cast<double>(r.b) * random.between(0, height);
        r.c = static_cast<float>(std::ldexp(std::round(std::ldexp(c, 20)), -20));
    }
    r.spans = full_rows(r.width, height);
    for (std::size_t y = 0; y < r.spans.size() / 2; ++y) {
        if (random.once_in(8)) {  // narrowed before, perhaps to one column or to none
            r.spans[2 * y] = static_cast<short>(random.between(0, r.width - 1));
            r.spans[2 * y + 1] = static_cast<short>(random.between(-1, r.width - 1));
        }
    }
    return r;
}

}  // namespace

TEST(clip_bounds, agrees_with_exact_walk_over_columns) {
    Branches branches;
    for (const Seed seed : seeds(4000)) {
        Random random(seed);
        const ClipCase t = random_case(random);
        const Spans result = clipped(t.a, t.b, t.c, t.width, t.spans);
        const Wide a = exact(t.a);
        const Wide hundredth = a < 0 ? -a : a;
        for (std::size_t y = 0; y < t.spans.size() / 2; ++y) {
            const int first = t.spans[2 * y];
            const int last = t.spans[2 * y + 1];
            const int new_first = result[2 * y];
            const int new_last = result[2 * y + 1];
            ASSERT_GE(new_first, first) << replay(seed);
            ASSERT_LE(new_last, last) << replay(seed);
            int kept = 0;
            for (int x = first; x <= last; ++x) {
                const Wide excess = 100 * (a * x + exact(t.b) * static_cast<int>(y) - exact(t.c));
                const bool keeps = x >= new_first && x <= new_last;
                kept += keeps;
                if (keeps) {
                    ASSERT_TRUE(excess <= hundredth)
                        << "column " << x << " row " << y << ", " << replay(seed);
                } else {
                    ASSERT_TRUE(excess > -hundredth)
                        << "column " << x << " row " << y << ", " << replay(seed);
                }
            }
            if (first > last) branches.met("row empty before");
            if (first <= last && kept == 0) {
                branches.met("row emptied");
                ASSERT_GE(new_first, new_last) << replay(seed);
            }
            if (kept == last - first + 1 && kept > 0) branches.met("row as it was");
            if (new_first > first && kept > 0) branches.met("first raised");
            if (new_last < last && kept > 0) branches.met("last lowered");
            if (kept == 1 && first < last) branches.met("one column left");
            if (t.a == 0.0F) branches.met("a is 0");
            if (t.width == 32767 && kept > 0 && kept < last - first + 1) branches.met("widest raster cut");
        }
    }
    EXPECT_EQ(branches.never_met({"row empty before", "row emptied", "row as it was", "first raised",
                                  "last lowered", "one column left", "a is 0", "widest raster cut"}),
              "");
}

TEST(clip_bounds, worked_by_hand) {
    // x + 2 y <= 7.5
    EXPECT_EQ(clipped(1.0F, 2.0F, 7.5F, 10, full_rows(10, 3)), (Spans{0, 7, 0, 5, 0, 3}));
    // -x + y <= -2.5: x >= y + 2.5
    EXPECT_EQ(clipped(-1.0F, 1.0F, -2.5F, 10, full_rows(10, 3)), (Spans{3, 9, 4, 9, 5, 9}));
    // Rows keep what they had where the line lies outside.
    EXPECT_EQ(clipped(1.0F, 0.0F, 100.0F, 10, {2, 5, 7, 7, 8, 3}), (Spans{2, 5, 7, 7, 8, 3}));
}

TEST(clip_bounds, neither_slope_keeps_or_empties_all) {
    const Spans rows = full_rows(20, 4);
    EXPECT_EQ(clipped(0.0F, 0.0F, 0.0F, 20, rows), rows);
    EXPECT_EQ(clipped(0.0F, 0.0F, 1.0F, 20, rows), rows);
    EXPECT_EQ(clipped(-0.0F, -0.0F, -0.0F, 20, rows), rows);
    EXPECT_EQ(left(clipped(0.0F, 0.0F, -1e-30F, 20, rows)), std::vector<bool>(4, false));
}

TEST(clip_bounds, level_line_keeps_or_empties_each_row) {
    EXPECT_EQ(left(clipped(0.0F, 1.0F, 1.5F, 20, full_rows(20, 4))),
              (std::vector<bool>{true, true, false, false}));
    EXPECT_EQ(left(clipped(0.0F, -1.0F, -1.5F, 20, full_rows(20, 4))),
              (std::vector<bool>{false, false, true, true}));
}

TEST(clip_bounds, nan_satisfies_nothing) {
    for (const auto& [a, b, c] : {std::array<float, 3>{kNan, 1, 1},
                                  {1, kNan, 1},
                                  {1, 1, kNan},
                                  {0, kNan, 1},
                                  {0, 0, kNan},
                                  {-1, kNan, 9},
                                  {kNan, kNan, kNan}}) {
        EXPECT_EQ(left(clipped(a, b, c, 20, full_rows(20, 3))), std::vector<bool>(3, false))
            << a << ' ' << b << ' ' << c;
    }
}

TEST(clip_bounds, infinite_coefficients_as_the_comparison_says) {
    // Every mix of infinities with plain numbers, against the plain comparison per column.
    const float values[] = {-kInf, -2.0F, -0.0F, 0.0F, 0.75F, kInf};
    int rows = 0;
    for (const float a : values) {
        for (const float b : values) {
            for (const float c : values) {
                for (const int first : {0, -6}) {
                    const Spans before = {static_cast<short>(first), 9, static_cast<short>(first), 9};
                    const Spans after = clipped(a, b, c, 10, before);
                    for (int y = 0; y < 2; ++y) {
                        int satisfied = 0;
                        int runs = 0;
                        bool previous = false;
                        int kept = 0;
                        for (int x = first; x <= 9; ++x) {
                            const double sum = static_cast<double>(a) * x + static_cast<double>(b) * y;
                            const bool holds = sum <= static_cast<double>(c);
                            satisfied += holds;
                            runs += holds && !previous;
                            previous = holds;
                            const auto row = static_cast<std::size_t>(2 * y);
                            const bool keeps = x >= after[row] && x <= after[row + 1];
                            kept += keeps;
                            EXPECT_TRUE(holds || !keeps)
                                << a << ' ' << b << ' ' << c << " at " << x << ',' << y;
                        }
                        // Around an infinite a two runs may hold; a span can keep but one of them.
                        if (runs <= 1) {
                            EXPECT_EQ(kept, satisfied) << a << ' ' << b << ' ' << c << " row " << y;
                        } else {
                            EXPECT_EQ(kept, 9) << a << ' ' << b << ' ' << c << " row " << y;
                        }
                        ++rows;
                    }
                }
            }
        }
    }
    EXPECT_EQ(rows, 6 * 6 * 6 * 2 * 2);
}

TEST(clip_bounds, extreme_slopes_and_offsets) {
    const Spans rows = full_rows(32767, 2);
    const float big = std::numeric_limits<float>::max();
    const float tiny = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(clipped(big, 0.0F, big, 32767, rows), (Spans{0, 1, 0, 1}));
    EXPECT_EQ(clipped(tiny, 0.0F, tiny, 32767, rows), (Spans{0, 1, 0, 1}));
    EXPECT_EQ(clipped(-tiny, 0.0F, -tiny * 1000, 32767, rows), (Spans{1000, 32766, 1000, 32766}));
    // Row 1: tiny x <= 0 holds column 0 only.
    EXPECT_EQ(clipped(tiny, big, big, 32767, rows), (Spans{0, 32766, 0, 0}));
}

TEST(clip_bounds, any_span_of_sixteen_bits) {
    for (const Seed seed : seeds(2000)) {
        Random random(seed);
        const short first =
            random.pick<short>({-32768, 0, 32767, static_cast<short>(random.between(-32768, 32767))});
        const short last =
            random.pick<short>({-32768, -1, 32767, static_cast<short>(random.between(-32768, 32767))});
        const float a = random.pick({-1.0F, 0.0F, 1.0F, 1e-30F, -1e-30F});
        const Spans after = clipped(a, 0.0F, random.real(-40000.0F, 40000.0F), 100, {first, last});
        ASSERT_GE(after[0], first) << replay(seed);
        ASSERT_LE(after[1], last) << replay(seed);
        if (first > last) {
            ASSERT_GE(after[0], after[1]) << replay(seed);
        }
    }
}

TEST(clip_bounds, no_rows) {
    RZ_update_clip_bounds(1.0F, 1.0F, -5.0F, 10, 0, nullptr);
    RZ_update_clip_bounds(1.0F, 1.0F, -5.0F, 10, -3, nullptr);
}
