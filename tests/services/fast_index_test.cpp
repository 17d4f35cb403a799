#include <gtest/gtest.h>

#include "tests/services/fast_index_case.h"

// The row index against its plain form, entry by entry.

namespace {

using namespace rz_test;

TEST(FastIndexRandom, every_entry_of_the_row_block) {
    for (const Seed seed : seeds(600)) ASSERT_EQ(compare_fast_index(seed), "");
}

TEST(FastIndex, corners_of_the_index) {
    const IndexedSlices slices(5, 4, 3);
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
    const IndexedSlices slices(5, 4, 1);
    RZ_Box box(5, 4, 1, RZ_BoxParams());
    box.rowStride = 99;
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), box);
    EXPECT_EQ(index.GetArray()[0][1], slices.fromZero()[0] + 5);
}

TEST(FastIndex, without_rows_the_far_guard_lies_one_row_before_the_slice) {
    const IndexedSlices slices(5, 0, 2);
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), RZ_Box(5, 0, 2, RZ_BoxParams()));
    for (int k = -1; k <= 2; ++k) {
        EXPECT_EQ(index.GetArray()[k][-1], slices.fromZero()[k]);
        EXPECT_EQ(index.GetArray()[k][0], slices.fromZero()[k] - 5);
    }
}

TEST(FastIndex, points_into_the_callers_rasters) {
    IndexedSlices slices(2, 2, 1);
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), RZ_Box(2, 2, 1, RZ_BoxParams()));
    slices.blocks[1][4] = 77;  // slice 0, row 1, column 0
    EXPECT_EQ(index.GetArray()[0][1][0], 77);
}

}  // namespace
