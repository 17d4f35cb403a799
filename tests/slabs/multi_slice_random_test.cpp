#include <gtest/gtest.h>

#include "tests/slabs/multi_slice_case.h"

// Combination of slices against its plain form, on seeded cases that together reach every branch. The slack
// behind the last sample and the fence behind the slack are compared too.

namespace {

using namespace rz_test;

TEST(MultiSliceRandom, every_path) {
    Branches branches;
    int done = 0;
    int refused = 0;
    for (const Seed seed : seeds(9000)) {
        MultiSliceCase want(seed);
        MultiSliceCase got(seed);
        const int result = want.run_reference(branches);
        ++(result == 1 ? done : refused);
        ASSERT_EQ(got.run(), result) << replay(seed);
        ASSERT_EQ(MultiSliceCase::first_difference(want, got), "");
    }
    EXPECT_EQ(branches.never_met({"no earlier mean",
                                  "earlier mean is of no use to an extreme",
                                  "earlier range reversed",
                                  "ranges only touch",
                                  "ranges apart",
                                  "ranges share one slice",
                                  "one slice too few for an update",
                                  "just enough slices for an update",
                                  "update of an unmoved range",
                                  "update in place",
                                  "slice enters below",
                                  "slice enters above",
                                  "slice leaves below",
                                  "slice leaves above",
                                  "negative sum kept",
                                  "negative sum clamped",
                                  "mean written past the count",
                                  "compared signed across the sign",
                                  "compared unsigned",
                                  "extreme written past the count",
                                  "extreme of one slice is a copy",
                                  "output is the first slice",
                                  "output is a later slice",
                                  "no such type"}),
              "");
    if (!is_replay()) {
        EXPECT_GT(done, 7000);
        EXPECT_GT(refused, 50);
    }
}

}  // namespace
