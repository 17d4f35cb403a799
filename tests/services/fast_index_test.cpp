#include <gtest/gtest.h>

#include <vector>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/reference/services/fast_index.h"
#include "tests/support/seeded.h"

// The row index against its plain form, entry by entry.

namespace {

using namespace rz_test;

/// Rasters for slices -1 to z, each with one row to spare in front.
struct Slices {
    Slices(int x, int y, int z) {
        for (int k = -1; k <= z; ++k) {
            blocks.emplace_back(static_cast<std::size_t>(x * (y + 1)));
            table.push_back(blocks.back().data() + x);
        }
    }
    const short* const* fromZero() const { return table.data() + 1; }

    std::vector<std::vector<short>> blocks;
    std::vector<const short*> table;
};

TEST(FastIndexRandom, every_entry_of_the_row_block) {
    for (const Seed seed : seeds(600)) {
        Random random(seed);
        const int x = random.between(1, 70);
        const int y = random.between(0, 40);
        const int z = random.once_in(20) ? -1 : random.between(1, 12);
        const Slices slices(x, y, z);
        const auto want = rz_reference::build_fast_index(slices.fromZero(), x, y, z);
        FFastInd index;
        index.BuiltIndeces(slices.fromZero(), RZ_Box(x, y, z, RZ_BoxParams()));
        const short*** array = index.GetArray();
        ASSERT_NE(array, nullptr);
        const short** rowBlock = array[-1] - 1;
        for (int k = -1; k <= z; ++k) {
            const auto place = want.rowZero[static_cast<std::size_t>(k + 1)];
            ASSERT_EQ(static_cast<std::size_t>(array[k] - rowBlock), place) << replay(seed);
        }
        for (std::size_t i = 0; i < want.rowBlock.size(); ++i) {
            ASSERT_EQ(rowBlock[i], want.rowBlock[i]) << i << ", " << replay(seed);
        }
    }
}

TEST(FastIndex, corners_of_the_index) {
    const Slices slices(5, 4, 3);
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), RZ_Box(5, 4, 3, RZ_BoxParams()));
    const short*** array = index.GetArray();
    EXPECT_EQ(array[-1][-1], slices.fromZero()[-1]);
    EXPECT_EQ(array[3][4], slices.fromZero()[3] + 3 * 5);
    EXPECT_EQ(array[1][-1], array[1][0]) << "row -1 reads row 0";
    EXPECT_EQ(array[1][4], array[1][3]);
    EXPECT_EQ(array[2][3], slices.fromZero()[2] + 15);
    EXPECT_EQ(array[2][-1] - array[1][-1], slices.fromZero()[2] - slices.fromZero()[1]);
}

TEST(FastIndex, row_step_is_the_x_dimension_whatever_the_box_says) {
    const Slices slices(5, 4, 1);
    RZ_Box box(5, 4, 1, RZ_BoxParams());
    box.rowStride = 99;
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), box);
    EXPECT_EQ(index.GetArray()[0][1], slices.fromZero()[0] + 5);
}

TEST(FastIndex, without_rows_the_far_guard_lies_one_row_before_the_slice) {
    const Slices slices(5, 0, 2);
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), RZ_Box(5, 0, 2, RZ_BoxParams()));
    for (int k = -1; k <= 2; ++k) {
        EXPECT_EQ(index.GetArray()[k][-1], slices.fromZero()[k]);
        EXPECT_EQ(index.GetArray()[k][0], slices.fromZero()[k] - 5);
    }
}

TEST(FastIndex, points_into_the_callers_rasters) {
    Slices slices(2, 2, 1);
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), RZ_Box(2, 2, 1, RZ_BoxParams()));
    slices.blocks[1][4] = 77;  // slice 0, row 1, column 0
    EXPECT_EQ(index.GetArray()[0][1][0], 77);
}

}  // namespace
