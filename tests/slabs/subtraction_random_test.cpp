#include <gtest/gtest.h>

#include "tests/slabs/subtraction_case.h"

// Subtraction against its plain form, on seeded cases that together reach every branch.

namespace {

using namespace rz_test;

void compare_all(int cases, const SubtractionOptions& options, Branches& branches) {
    for (const Seed seed : seeds(cases)) ASSERT_EQ(compare_subtraction(seed, options, branches), "");
}

std::string never_met_of_all(const Branches& branches) {
    return branches.never_met({"fraction rounds up to one", "shift is no number",
                               "fraction too small to blend", "fraction of component 0 ignored",
                               "whole component 0 moves nothing", "no active row",
                               "row before the active ones", "row behind the active ones", "first active row",
                               "last active row blends with black", "black although a next row exists",
                               "blended", "not blended", "blend/single sample", "refused"});
}

TEST(SubtractionRandom, samples_of_9_to_16_bits) {
    SubtractionOptions options;
    options.leastBitDepth = 9;
    options.greatestBitDepth = 16;
    Branches branches;
    compare_all(6000, options, branches);
    EXPECT_EQ(never_met_of_all(branches), "");
    EXPECT_EQ(branches.never_met(
                  {"mean16/block copied", "mean16/signed block", "mean16/unsigned block",
                   "mean16/signed remainder", "mean16/unsigned remainder", "blend16/signed block",
                   "blend16/weight acts as negative", "blend16/unsigned block", "subtract16/signed saturates",
                   "subtract16/offset saturates", "subtract16/zero", "subtract16/upper half kept",
                   "subtract16/limited", "subtract16/lower half becomes 0xffff"}),
              "");
}

TEST(SubtractionRandom, samples_of_8_bits) {
    SubtractionOptions options;
    options.leastBitDepth = 8;
    options.greatestBitDepth = 8;
    Branches branches;
    compare_all(6000, options, branches);
    EXPECT_EQ(never_met_of_all(branches), "");
    EXPECT_EQ(
        branches.never_met({"mean8/block copied", "mean8/signed block", "mean8/signed block negated",
                            "mean8/unsigned block", "mean8/signed remainder", "mean8/unsigned remainder",
                            "blend8/signed block", "blend8/unsigned first half",
                            "blend8/unsigned second half", "blend8/fill shows", "subtract8/signed saturates",
                            "subtract8/zero", "subtract8/saturates"}),
        "");
}

TEST(SubtractionRandom, sums_of_many_slices) {
    SubtractionOptions options;
    options.mostSlices = 700;
    options.mostRows = 3;
    Branches branches;
    for (const int depth : {8, 16}) {
        options.leastBitDepth = depth;
        options.greatestBitDepth = depth;
        compare_all(200, options, branches);
    }
    EXPECT_EQ(branches.never_met({"mean8/signed sum saturates", "mean8/unsigned sum saturates"}), "");
}

TEST(SubtractionRandom, depths_that_nobody_computes) {
    SubtractionOptions options;
    Branches branches;
    for (const int depth : {-8, 0, 7, 17, 32}) {
        options.leastBitDepth = depth;
        options.greatestBitDepth = depth;
        compare_all(500, options, branches);
    }
    EXPECT_EQ(branches.never_met({"no such depth", "refused"}), "");
}

}  // namespace
