#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <future>
#include <limits>
#include <mutex>
#include <numeric>
#include <vector>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"
#include "tests/reference/cubic_weights.h"
#include "tests/support/seeded.h"

namespace {

using rz_obl::build_weight_table;
using rz_obl::CubicWeightTable;
using rz_test::Branches;

constexpr int kCentral[8] = {21, 22, 25, 26, 37, 38, 41, 42};
constexpr int kEntries = 64 * 64 * 64;

const short* entry_of(const CubicWeightTable& table, int fz, int fy, int fx) {
    return table.weights + ((fz * 64 + fy) * 64 + fx) * 64;
}

int sum_of(const short* entry) {
    return std::accumulate(entry, entry + 64, 0);
}

const CubicWeightTable& built_table() {
    build_weight_table(rz_obl::g_cubicWeightTable);
    return rz_obl::g_cubicWeightTable;
}

// How many entries of a table differ from those made one by one; the first of them in a message.
int differing_entries(const CubicWeightTable& table, Branches& branches) {
    int differing = 0;
    short want[64];
    for (int e = 0; e < kEntries; ++e) {
        rz_reference::cubic_entry(e / 4096, e / 64 % 64, e % 64, want, branches);
        if (std::memcmp(want, table.weights + e * 64, sizeof want) == 0) continue;
        if (differing++ == 0) {
            ADD_FAILURE() << "entry " << e / 4096 << ", " << e / 64 % 64 << ", " << e % 64 << " differs";
        }
    }
    return differing;
}

TEST(CubicWeights, whole_table_equals_entries_made_one_by_one) {
    Branches branches;
    EXPECT_EQ(differing_entries(built_table(), branches), 0);
    EXPECT_EQ(
        branches.never_met({"sum above 16384", "sum of 16384", "unit to the lower slice",
                            "unit to the upper slice", "unit to the first row", "unit to the second row",
                            "unit to the left weight", "unit to the right weight"}),
        "");
}

TEST(CubicWeights, every_entry_sums_to_16384_or_up_to_16394) {
    const CubicWeightTable& table = built_table();
    int least = INT_MAX;
    int greatest = INT_MIN;
    for (int e = 0; e < kEntries; ++e) {
        const int sum = sum_of(table.weights + e * 64);
        least = std::min(least, sum);
        greatest = std::max(greatest, sum);
    }
    EXPECT_EQ(least, 16384);
    EXPECT_EQ(greatest, 16394);
}

struct WorkedEntry {
    int fz, fy, fx;
    int sumBefore;
    short central[8];
    short leastOther;
};

// The sum of an entry that has not been filled up.
int sum_before(int fz, int fy, int fx) {
    double x[4];
    double y[4];
    double z[4];
    rz_obl::weights_catmull_rom(fx * 0.015625, x);
    rz_obl::weights_catmull_rom(fy * 0.015625, y);
    rz_obl::weights_catmull_rom(fz * 0.015625, z);
    int sum = 0;
    for (int e = 0; e < 64; ++e) sum += static_cast<int>(x[e % 4] * (y[e / 4 % 4] * z[e / 16]) * 16383.0);
    return sum;
}

class WorkedEntries : public testing::TestWithParam<WorkedEntry> {};

TEST_P(WorkedEntries, central_weights_and_least_other) {
    const WorkedEntry& w = GetParam();
    const short* entry = entry_of(built_table(), w.fz, w.fy, w.fx);
    short least = 0;
    for (int e = 0; e < 64; ++e) {
        const auto* found = std::find(std::begin(kCentral), std::end(kCentral), e);
        if (found != std::end(kCentral)) {
            EXPECT_EQ(entry[e], w.central[found - kCentral]) << "element " << e;
        } else {
            least = std::min(least, entry[e]);
        }
    }
    EXPECT_EQ(least, w.leastOther);
    EXPECT_EQ(sum_before(w.fz, w.fy, w.fx), w.sumBefore);
    EXPECT_EQ(sum_of(entry), 16384);
}

INSTANTIATE_TEST_SUITE_P(
    CubicWeights, WorkedEntries,
    testing::Values(WorkedEntry{0, 0, 0, 16383, {16383, 0, 0, 0, 0, 0, 0, 1}, 0},
                    WorkedEntry{32, 32, 32, 16384, {2915, 2915, 2915, 2915, 2915, 2915, 2915, 2915}, -323},
                    WorkedEntry{1, 0, 0, 16383, {16373, 0, 0, 0, 135, 0, 0, 1}, -124},
                    WorkedEntry{0, 0, 1, 16383, {16373, 135, 0, 0, 0, 0, 0, 1}, -124},
                    WorkedEntry{63, 63, 63, 16383, {1, 1, 1, 135, 1, 135, 135, 16353}, -123},
                    WorkedEntry{16, 48, 5, 16378, {3171, 162, 12141, 622, 828, 48, 3171, 162}, -984}),
    [](const auto& entry) {
        const WorkedEntry& w = entry.param;
        return "entry_" + std::to_string(w.fz) + "_" + std::to_string(w.fy) + "_" + std::to_string(w.fx);
    });

TEST(CubicWeights, entry_0_0_0_has_one_weight_and_its_far_diagonal_neighbour) {
    const short* entry = entry_of(built_table(), 0, 0, 0);
    for (int e = 0; e < 64; ++e) EXPECT_EQ(entry[e], e == 21 ? 16383 : e == 42 ? 1 : 0) << "element " << e;
}

TEST(CubicWeights, x_is_fastest_and_z_slowest) {
    // At a quarter the four weights times 16383, toward zero, are these; they sum to 16384, so none is
    // raised. The axis that the fraction belongs to shows in the stride.
    const short want[4] = {-1151, 14207, 3711, -383};
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(entry_of(built_table(), 0, 0, 16)[16 + 4 + n], want[n]);
        EXPECT_EQ(entry_of(built_table(), 0, 16, 0)[16 + 4 * n + 1], want[n]);
        EXPECT_EQ(entry_of(built_table(), 16, 0, 0)[16 * n + 4 + 1], want[n]);
    }
}

TEST(CubicWeights, entry_32_32_32_is_left_unchanged) {
    // 0.5625^3 x 16383 = 2915.9...: eight equal weights, none of them raised.
    const short* entry = entry_of(built_table(), 32, 32, 32);
    for (const int e : kCentral) EXPECT_EQ(entry[e], 2915);
    EXPECT_EQ(sum_of(entry), 16384);
}

TEST(NormaliseWeights, sum_of_16384_and_above_stays) {
    for (const short greatest : {short{16384}, short{16385}, short{32767}}) {
        short entry[64] = {};
        entry[21] = greatest;
        short before[64];
        std::memcpy(before, entry, sizeof entry);
        rz_obl::normalise_weights(entry);
        EXPECT_EQ(std::memcmp(before, entry, sizeof entry), 0) << greatest;
    }
}

TEST(NormaliseWeights, every_tie_goes_to_the_later) {
    short entry[64] = {};
    entry[0] = 16383;
    rz_obl::normalise_weights(entry);
    for (int e = 1; e < 64; ++e) EXPECT_EQ(entry[e], e == 42 ? 1 : 0) << "element " << e;
}

TEST(NormaliseWeights, units_go_to_the_smaller_half_row_and_weight) {
    // One by one: upper slice, second row, right: 42. Now the lower slice is smaller: 26. Halves tie: upper,
    // and there the first row is smaller: 38. Lower: 22. Upper, rows tie: 41. Lower: 25. 37. 21.
    const int order[8] = {42, 26, 38, 22, 41, 25, 37, 21};
    for (int units = 1; units <= 8; ++units) {
        short entry[64] = {};
        entry[0] = static_cast<short>(16384 - units);
        rz_obl::normalise_weights(entry);
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(entry[order[i]], i < units ? 1 : 0) << units << ": " << order[i];
    }
}

TEST(NormaliseWeights, negative_weights_count_with_their_sign) {
    short entry[64] = {};
    entry[0] = 16383 + 5 + 7;
    entry[21] = -5;
    entry[41] = -7;
    // Halves -5 and -7: the upper slice is smaller; its rows 0 and -7: the second; -7 against 0: the left.
    rz_obl::normalise_weights(entry);
    EXPECT_EQ(entry[21], -5);
    EXPECT_EQ(entry[41], -6);
}

TEST(NormaliseWeights, random_entries_equal_the_reference) {
    Branches branches;
    for (const rz_test::Seed seed : rz_test::seeds(4000)) {
        rz_test::Random random(seed);
        short got[64];
        const int range = random.pick({2, 40, 500});
        for (short& weight : got) weight = static_cast<short>(random.between(-range, range));
        got[random.pick({0, 21, 26, 38, 63})] =
            static_cast<short>(16384 - sum_of(got) - random.between(-3, 60));
        short want[64];
        std::memcpy(want, got, sizeof got);
        rz_reference::fill_up(want, branches);
        rz_obl::normalise_weights(got);
        ASSERT_EQ(std::memcmp(want, got, sizeof got), 0) << rz_test::replay(seed);
    }
    EXPECT_EQ(
        branches.never_met({"sum above 16384", "sum of 16384", "unit to the lower slice",
                            "unit to the upper slice", "unit to the first row", "unit to the second row",
                            "unit to the left weight", "unit to the right weight"}),
        "");
}

TEST(BcKernel, catmull_rom_values) {
    EXPECT_EQ(rz_obl::bc_kernel(0.0, 0.0, 0.5), 1.0);
    EXPECT_EQ(rz_obl::bc_kernel(0.5, 0.0, 0.5), 0.5625);
    EXPECT_EQ(rz_obl::bc_kernel(-0.5, 0.0, 0.5), 0.5625);
    EXPECT_EQ(rz_obl::bc_kernel(1.0, 0.0, 0.5), 0.0);
    EXPECT_EQ(rz_obl::bc_kernel(1.25, 0.0, 0.5), -0.0703125);
    EXPECT_EQ(rz_obl::bc_kernel(-1.5, 0.0, 0.5), -0.0625);
}

TEST(BcKernel, other_members_of_the_family) {
    // B-spline (1, 0): 4/6 at 0, 1/6 at 1. Mitchell (1/3, 1/3): 8/9 and 1/18. Sums of thirds are not exact.
    constexpr double kThird = 1.0 / 3.0;
    constexpr double kRounding = 1e-14;
    EXPECT_NEAR(rz_obl::bc_kernel(0.0, 1.0, 0.0), 4.0 / 6.0, kRounding);
    EXPECT_NEAR(rz_obl::bc_kernel(1.0, 1.0, 0.0), 1.0 / 6.0, kRounding);
    EXPECT_NEAR(rz_obl::bc_kernel(1.5, 1.0, 0.0), 0.125 / 6.0, kRounding);
    EXPECT_NEAR(rz_obl::bc_kernel(0.0, kThird, kThird), 8.0 / 9.0, kRounding);
    EXPECT_NEAR(rz_obl::bc_kernel(1.0, kThird, kThird), 1.0 / 18.0, kRounding);
}

TEST(BcKernel, nought_from_2_on_and_for_a_nan) {
    // The outer piece itself would give -0.1875 at 2.5.
    EXPECT_EQ(rz_obl::bc_kernel(2.0, 0.0, 0.5), 0.0);
    EXPECT_EQ(rz_obl::bc_kernel(-2.5, 0.0, 0.5), 0.0);
    EXPECT_EQ(rz_obl::bc_kernel(1e300, 0.0, 0.5), 0.0);
    EXPECT_EQ(rz_obl::bc_kernel(std::numeric_limits<double>::quiet_NaN(), 0.0, 0.5), 0.0);
}

TEST(SeparableWeights, grid_points) {
    const struct {
        double t;
        double w[4];
    } points[] = {{0.0, {0.0, 1.0, 0.0, 0.0}},
                  {0.25, {-0.0703125, 0.8671875, 0.2265625, -0.0234375}},
                  {0.5, {-0.0625, 0.5625, 0.5625, -0.0625}}};
    for (const auto& p : points) {
        double general[4];
        double closed[4];
        rz_obl::weights_bc(p.t, general, 0.0, 0.5);
        rz_obl::weights_catmull_rom(p.t, closed);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(general[i], p.w[i]) << p.t << ", " << i;
            EXPECT_EQ(closed[i], p.w[i]) << p.t << ", " << i;
        }
    }
}

TEST(SeparableWeights, both_forms_agree_at_every_grid_point) {
    // Multiples of 2^-19 without rounding on the grid, so nothing is left for a tolerance.
    for (int i = 0; i < 64; ++i) {
        const double t = i * 0.015625;
        double general[4];
        double closed[4];
        rz_obl::weights_bc(t, general, 0.0, 0.5);
        rz_obl::weights_catmull_rom(t, closed);
        for (int k = 0; k < 4; ++k) {
            EXPECT_EQ(general[k], closed[k]) << i << ", " << k;
            EXPECT_EQ(general[k], rz_reference::cubic_weight(t - (k - 1))) << i << ", " << k;
        }
    }
}

TEST(SeparableWeights, general_form_takes_its_parameters) {
    double w[4];
    rz_obl::weights_bc(0.0, w, 1.0, 0.0);
    EXPECT_DOUBLE_EQ(w[0], 1.0 / 6.0);
    EXPECT_DOUBLE_EQ(w[1], 4.0 / 6.0);
    EXPECT_DOUBLE_EQ(w[2], 1.0 / 6.0);
    EXPECT_EQ(w[3], 0.0);
}

TEST(BuildWeightTable, empty_until_built) {
    CubicWeightTable table;
    EXPECT_EQ(table.weights, nullptr);
    EXPECT_EQ(table.second, nullptr);
    EXPECT_FALSE(table.UseClosedForm);
}

TEST(BuildWeightTable, second_call_changes_nothing) {
    CubicWeightTable table;
    build_weight_table(table);
    short* const weights = table.weights;
    ASSERT_NE(weights, nullptr);
    // A marked weight shows whether anything is written again.
    weights[12345 * 64] = 31000;
    weights[0] = -31000;
    build_weight_table(table);
    EXPECT_EQ(table.weights, weights);
    EXPECT_EQ(weights[12345 * 64], 31000);
    EXPECT_EQ(weights[0], -31000);
    EXPECT_EQ(table.second, nullptr);
}

TEST(BuildWeightTable, closed_form_gives_the_same_table) {
    CubicWeightTable table;
    table.UseClosedForm = true;
    build_weight_table(table);
    EXPECT_EQ(std::memcmp(table.weights, built_table().weights, CubicWeightTable::kBytes), 0);
}

TEST(BuildWeightTable, leaves_the_lock_after_each_call) {
    CubicWeightTable table;
    for (int call = 0; call < 2; ++call) {
        build_weight_table(table);
        // From another thread: this one could enter again.
        auto isFree = std::async(std::launch::async, [&table] {
            if (!table.lock.try_lock()) return false;
            table.lock.unlock();
            return true;
        });
        ASSERT_TRUE(isFree.get()) << "call " << call;
    }
}

TEST(BuildWeightTable, waits_for_the_lock_even_when_built) {
    CubicWeightTable table;
    build_weight_table(table);
    std::unique_lock held(table.lock);
    auto call = std::async(std::launch::async, [&table] { build_weight_table(table); });
    EXPECT_EQ(call.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    held.unlock();
    call.get();
}

TEST(BuildWeightTable, built_once_under_16_concurrent_first_callers) {
    constexpr int kCallers = 16;
    CubicWeightTable table;
    std::unique_lock gate(table.lock);
    std::vector<std::future<short*>> callers;
    for (int caller = 0; caller < kCallers; ++caller) {
        callers.push_back(std::async(std::launch::async, [&table, caller] {
            build_weight_table(table);
            // Each marks a weight of its own: a second build would wipe marks out.
            table.weights[(caller + 1) * 16000 * 64] = static_cast<short>(20000 + caller);
            return table.weights;
        }));
    }
    gate.unlock();
    for (auto& caller : callers) EXPECT_EQ(caller.get(), table.weights);
    for (int caller = 0; caller < kCallers; ++caller) {
        short& mark = table.weights[(caller + 1) * 16000 * 64];
        EXPECT_EQ(mark, 20000 + caller);
        mark = built_table().weights[(caller + 1) * 16000 * 64];
    }
    EXPECT_EQ(std::memcmp(table.weights, built_table().weights, CubicWeightTable::kBytes), 0);
}

}  // namespace
