#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/rasters.h"

// The edges of slab combination, with numbers worked out by hand.

namespace {

using rz_test::Fenced;
using Type = RZ_OBL_SlabbingType;

constexpr Type kTypes[] = {Type::SlabMinimum, Type::SlabAverage, Type::SlabMaximum};
constexpr auto kNoType = static_cast<Type>(3);

/// Nothing may read here.
short* unreadable() {
    return reinterpret_cast<short*>(std::uintptr_t{16});
}

/// Slices of one value each, every one 16 samples long.
class Stack {
  public:
    explicit Stack(const std::vector<int>& values) {
        for (const int value : values) {
            rasters_.emplace_back(16, static_cast<short>(value));
        }
        for (auto& raster : rasters_) slices.push_back(raster.data());
    }
    short* operator[](std::size_t k) { return rasters_[k].data(); }

    std::vector<short*> slices;

  private:
    std::vector<std::vector<short>> rasters_;
};

/// One sample, all slices, no earlier mean.
int combined(const std::vector<int>& values, Type type, bool isSigned) {
    Stack stack(values);
    Fenced<short> output(16, 1);
    const auto last = static_cast<unsigned short>(values.size() - 1);
    EXPECT_EQ(
        RZ_GetMultiSlicePlane(stack.slices, 1, 1, isSigned, type, output.data(), 0, last, nullptr, 0, 0), 1);
    return output.data()[0];
}

struct Ranges {
    unsigned short first, last, previousFirst, previousLast;
};

/// One sample of a mean from an earlier one.
int updated(Stack& stack, Ranges r, short earlier, bool isSigned) {
    Fenced<short> output(16, 1);
    std::vector<short> previous(8, earlier);
    EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, 1, 1, isSigned, Type::SlabAverage, output.data(), r.first,
                                    r.last, previous.data(), r.previousFirst, r.previousLast),
              1);
    return output.data()[0];
}

TEST(MultiSliceRefused, leaves_the_output_alone) {
    Stack stack({5, 6, 7, 8});
    auto noFirst = stack.slices;
    noFirst[0] = nullptr;
    auto noThird = stack.slices;
    noThird[2] = nullptr;
    const struct {
        const char* name;
        std::vector<short*> slices;
        int rows, columns;
        unsigned short first, last;
    } cases[] = {
        {"no slices", {}, 2, 2, 0, 0},
        {"slice 0 missing", noFirst, 2, 2, 0, 3},
        {"slice 0 missing although the range does not have it", noFirst, 2, 2, 1, 3},
        {"no rows", stack.slices, 0, 2, 0, 3},
        {"no columns", stack.slices, 2, 0, 0, 3},
        {"rows below zero", stack.slices, -2, 2, 0, 3},
        {"columns below zero", stack.slices, 2, -2, 0, 3},
        {"2^32 samples count as 0", stack.slices, 65536, 65536, 0, 3},
        {"46341^2 samples wrap below zero", stack.slices, 46341, 46341, 0, 3},
        {"range reversed by one", stack.slices, 2, 2, 2, 1},
        {"range reversed", stack.slices, 2, 2, 3, 0},
        {"first slice of the range missing", noThird, 2, 2, 2, 3},
    };
    for (const auto& c : cases) {
        for (const Type type : {Type::SlabMinimum, Type::SlabAverage, Type::SlabMaximum, kNoType}) {
            Fenced<short> output(16, 7);
            EXPECT_EQ(RZ_GetMultiSlicePlane(c.slices, c.rows, c.columns, true, type, output.data(), c.first,
                                            c.last, nullptr, 0, 0),
                      -1)
                << c.name;
            EXPECT_TRUE(output.untouched()) << c.name;
        }
    }
}

TEST(MultiSliceRefused, reversed_range_is_not_saved_by_an_earlier_mean) {
    Stack stack({1, 2, 3, 4, 5, 6, 7, 8, 9});
    Fenced<short> output(16, 7);
    EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, 2, 2, true, Type::SlabAverage, output.data(), 5, 4,
                                    unreadable(), 0, 8),
              -1);
    EXPECT_TRUE(output.untouched());
}

TEST(MultiSliceOtherType, is_done_and_writes_nothing) {
    Stack stack({1, 2, 3});
    stack.slices[2] = nullptr;
    for (const int type : {-1, 3, 1000}) {
        Fenced<short> output(16, 7);
        EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, 2, 2, true, static_cast<Type>(type), output.data(), 1,
                                        2, unreadable(), 0, 2),
                  1);
        EXPECT_TRUE(output.untouched());
    }
}

TEST(MultiSliceCount, only_the_product_counts) {
    Stack stack({10, 20});
    Fenced<short> output(16, 7);
    EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, -3, -2, true, Type::SlabAverage, output.data(), 0, 1,
                                    nullptr, 0, 0),
              1);
    for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(output.data()[i], 15) << i;
    EXPECT_EQ(output.data()[8], output.before(8));
}

TEST(MultiSliceCount, product_wraps_to_32_bits) {
    constexpr std::size_t kCount = 65536;  // 65536 x 65537, less 2^32
    std::vector<short> raster(kCount + 4, 3);
    const std::vector<short*> slices = {raster.data(), raster.data()};
    Fenced<short> output(kCount + 4, 7);
    EXPECT_EQ(RZ_GetMultiSlicePlane(slices, 65536, 65537, false, Type::SlabAverage, output.data(), 0, 1,
                                    nullptr, 0, 0),
              1);
    EXPECT_EQ(output.data()[kCount - 1], 3);
    EXPECT_EQ(output.data()[kCount], output.before(kCount));
}

TEST(MultiSliceOverrun, mean_fills_its_last_block_of_4) {
    for (std::size_t count = 1; count <= 9; ++count) {
        const std::size_t written = (count + 3) / 4 * 4;
        std::vector<short> a(written + 4);
        std::vector<short> b(written + 4);
        for (std::size_t i = 0; i < a.size(); ++i) {
            a[i] = static_cast<short>(10 * i);
            b[i] = static_cast<short>(10 * i + 6);
        }
        Fenced<short> output(16, 7);
        EXPECT_EQ(RZ_GetMultiSlicePlane({a.data(), b.data()}, 1, static_cast<int>(count), false,
                                        Type::SlabAverage, output.data(), 0, 1, nullptr, 0, 0),
                  1);
        for (std::size_t i = 0; i < written; ++i) EXPECT_EQ(output.data()[i], static_cast<short>(10 * i + 3));
        for (std::size_t i = written; i < 16; ++i) EXPECT_EQ(output.data()[i], output.before(i)) << count;
        EXPECT_TRUE(output.fencesIntact());
    }
}

TEST(MultiSliceOverrun, extremes_fill_their_last_block_of_8_from_what_the_output_held) {
    for (const std::size_t count : {1U, 7U, 8U, 9U, 15U, 16U}) {
        const std::size_t written = (count + 7) / 8 * 8;
        std::vector<short> a(written, 100);
        std::vector<short> b(written, -100);
        std::vector<short> c(written, 0);
        for (const bool minimum : {true, false}) {
            Fenced<short> output(24, 7);
            const Type type = minimum ? Type::SlabMinimum : Type::SlabMaximum;
            EXPECT_EQ(RZ_GetMultiSlicePlane({a.data(), b.data(), c.data()}, static_cast<int>(count), 1, true,
                                            type, output.data(), 0, 2, nullptr, 0, 0),
                      1);
            for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(output.data()[i], minimum ? -100 : 100);
            // The first slice is copied for the count only: behind it, the output itself stands in its place.
            for (std::size_t i = count; i < written; ++i) {
                const short held = output.before(i);
                const short want = minimum ? std::min<short>(held, -100) : std::max<short>(held, 0);
                EXPECT_EQ(output.data()[i], want) << i;
            }
            for (std::size_t i = written; i < 24; ++i) EXPECT_EQ(output.data()[i], output.before(i)) << count;
            EXPECT_TRUE(output.fencesIntact());
        }
    }
}

TEST(MultiSliceOverrun, extreme_of_one_slice_copies_the_count_and_no_more) {
    std::vector<short> a = {1, -2, 3};  // no slack: nothing walks it
    for (const Type type : {Type::SlabMinimum, Type::SlabMaximum}) {
        Fenced<short> output(16, 7);
        EXPECT_EQ(RZ_GetMultiSlicePlane({a.data()}, 3, 1, false, type, output.data(), 0, 0, nullptr, 0, 0),
                  1);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(output.data()[i], a[i]);
        for (std::size_t i = 3; i < 16; ++i) EXPECT_EQ(output.data()[i], output.before(i));
    }
}

TEST(MultiSliceExtremes, compare_by_sign) {
    EXPECT_EQ(combined({-1, 1, 5}, Type::SlabMinimum, true), -1);
    EXPECT_EQ(combined({-1, 1, 5}, Type::SlabMinimum, false), 1) << "-1 is 65535";
    EXPECT_EQ(combined({-1, 1, 5}, Type::SlabMaximum, true), 5);
    EXPECT_EQ(combined({-1, 1, 5}, Type::SlabMaximum, false), -1);
    EXPECT_EQ(combined({32767, -32768}, Type::SlabMinimum, true), -32768);
    EXPECT_EQ(combined({32767, -32768}, Type::SlabMinimum, false), 32767);
}

TEST(MultiSliceMean, rounds_half_up_and_is_alike_in_both_modes) {
    for (const bool isSigned : {false, true}) {
        EXPECT_EQ(combined({1, 2}, Type::SlabAverage, isSigned), 2);
        EXPECT_EQ(combined({1, 1, 2}, Type::SlabAverage, isSigned), 1);
        EXPECT_EQ(combined({1, 2, 2}, Type::SlabAverage, isSigned), 2);
        EXPECT_EQ(combined({40000, 50000}, Type::SlabAverage, isSigned), static_cast<short>(45000));
    }
}

TEST(MultiSliceMean, mixed_signs_give_no_arithmetic_mean) {
    // 65535 + 1 = 65536, 32768 + 0.5 is cut to 0x8000.
    for (const bool isSigned : {false, true})
        EXPECT_EQ(combined({-1, 1}, Type::SlabAverage, isSigned), -32768);
}

TEST(MultiSliceMean, equal_negatives_survive) {
    for (const int value : {-1, -2, -5, -1000, -32767, -32768}) {
        for (const std::size_t n : {1U, 2U, 3U, 7U}) {
            EXPECT_EQ(combined(std::vector<int>(n, value), Type::SlabAverage, true), value) << n;
        }
    }
}

TEST(MultiSliceMean, one_slice_passes_through) {
    for (const int value : {0, 1, -1, 255, -256, 32767, -32768}) {
        for (const bool isSigned : {false, true}) {
            EXPECT_EQ(combined({value}, Type::SlabAverage, isSigned), value);
        }
    }
}

TEST(MultiSliceMean, whole_range_of_slice_numbers_and_sums_that_wrap) {
    const struct {
        int value, want;
        const char* why;
    } cases[] = {
        {1, 1, "65536 / 65536 + 0.5"},
        {32767, 32767, "2147418112 still fits"},
        {-32768, -32767, "2^31 wraps to -2^31: -32768 + 0.5 is cut toward zero"},
        {-1, 0, "65536 x 65535 wraps to -65536: -1 + 0.5 is cut to 0"},
        {-2, -1, "65536 x 65534 wraps to -131072: -2 + 0.5 is cut to -1"},
    };
    for (const auto& c : cases) {
        std::vector<short> raster(8, static_cast<short>(c.value));
        const std::vector<short*> slices(65536, raster.data());
        Fenced<short> output(16, 1);
        EXPECT_EQ(RZ_GetMultiSlicePlane(slices, 1, 4, true, Type::SlabAverage, output.data(), 0, 65535,
                                        nullptr, 0, 0),
                  1);
        EXPECT_EQ(output.data()[0], c.want) << c.why;
    }
}

TEST(MultiSliceRange, that_ends_at_the_last_number_ends) {
    std::vector<short> low(8, 4);
    std::vector<short> high(8, 8);
    std::vector<short*> slices(65536, low.data());
    slices[65535] = high.data();
    const short wants[] = {4, 6, 8};
    for (std::size_t k = 0; k < 3; ++k) {
        Fenced<short> output(16, 1);
        EXPECT_EQ(
            RZ_GetMultiSlicePlane(slices, 1, 4, true, kTypes[k], output.data(), 65534, 65535, nullptr, 0, 0),
            1);
        EXPECT_EQ(output.data()[0], wants[k]);
    }
    // An update whose ranges both end there.
    Fenced<short> output(16, 1);
    std::vector<short> previous(8, 10);
    EXPECT_EQ(RZ_GetMultiSlicePlane(slices, 1, 4, true, Type::SlabAverage, output.data(), 65526, 65535,
                                    previous.data(), 65527, 65535),
              1);
    EXPECT_EQ(output.data()[0], 9) << "(9 x 10 + 4) / 10 + 0.5";
}

TEST(MultiSliceChoice, update_pays_where_the_slices_saved_exceed_3) {
    // Slices of zeros and an earlier mean of 1000: a fresh mean gives 0.
    Stack stack(std::vector<int>(16, 0));
    const struct {
        Ranges r;
        bool update;
        const char* why;
    } cases[] = {
        {{1, 8, 0, 7}, true, "8 - (1 + 1 + 2) = 4"},
        {{0, 7, 1, 8}, true, "8 - (1 + 1 + 2) = 4, downward"},
        {{1, 7, 0, 6}, false, "7 - (1 + 1 + 2) = 3"},
        {{0, 6, 1, 7}, false, "7 - (1 + 1 + 2) = 3, downward"},
        {{0, 5, 0, 5}, true, "6 - 2 = 4: nothing moved"},
        {{0, 4, 0, 4}, false, "5 - 2 = 3"},
        {{2, 11, 0, 13}, true, "10 - (4 + 2) = 4: only leaving"},
        {{2, 10, 0, 12}, false, "9 - (4 + 2) = 3"},
        {{0, 11, 3, 8}, true, "12 - (6 + 2) = 4: only entering"},
        {{0, 11, 3, 7}, false, "12 - (7 + 2) = 3"},
        {{0, 9, 0, 15}, false, "10 - (6 + 2) = 2"},
        {{8, 15, 0, 7}, false, "ranges touch and share nothing"},
        {{0, 7, 8, 15}, false, "the same downward"},
        {{0, 15, 9, 8}, false, "reversed by one: no overlap"},
    };
    for (const auto& c : cases) {
        const int count = c.r.last - c.r.first + 1;
        const int before = c.r.previousLast - c.r.previousFirst + 1;
        const int want = c.update ? static_cast<int>(1000.0 * before / count + 0.5) : 0;
        EXPECT_EQ(updated(stack, c.r, 1000, false), want) << c.why;
    }
}

TEST(MultiSliceChoice, earlier_mean_is_not_read_where_it_is_of_no_use) {
    Stack stack(std::vector<int>(16, 6));
    const struct {
        Type type;
        Ranges r;
    } cases[] = {
        {Type::SlabAverage, {0, 7, 8, 15}},  {Type::SlabAverage, {8, 15, 0, 7}},
        {Type::SlabAverage, {0, 15, 9, 8}},  {Type::SlabAverage, {0, 15, 15, 0}},
        {Type::SlabAverage, {0, 4, 0, 4}},   {Type::SlabMinimum, {0, 15, 0, 15}},
        {Type::SlabMaximum, {1, 15, 0, 14}},
    };
    for (const auto& c : cases) {
        Fenced<short> output(16, 1);
        EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, 1, 1, true, c.type, output.data(), c.r.first, c.r.last,
                                        unreadable(), c.r.previousFirst, c.r.previousLast),
                  1);
        EXPECT_EQ(output.data()[0], 6);
    }
}

TEST(MultiSliceUpdate, touches_only_slices_that_came_or_went) {
    Stack stack(std::vector<int>(9, 16));
    for (std::size_t k = 2; k < 7; ++k) stack.slices[k] = unreadable();
    Fenced<short> output(16, 1);
    std::vector<short> previous(8, 16);
    EXPECT_EQ(RZ_GetMultiSlicePlane(stack.slices, 1, 1, true, Type::SlabAverage, output.data(), 1, 8,
                                    previous.data(), 0, 7),
              1);
    EXPECT_EQ(output.data()[0], 16);
}

TEST(MultiSliceUpdate, adds_and_subtracts_at_both_ends) {
    // Powers of two show which slices took part.
    std::vector<int> values;
    for (int k = 0; k < 14; ++k) values.push_back(1 << k);
    Stack stack(values);
    const double grown = 10 * 10000 + (1 << 12) + (1 << 13);
    EXPECT_EQ(updated(stack, {2, 13, 2, 11}, 10000, false), static_cast<int>(grown / 12 + 0.5));
    const double below = 10 * 10000 + 1 + 2;
    EXPECT_EQ(updated(stack, {0, 11, 2, 11}, 10000, false), static_cast<int>(below / 12 + 0.5));
    const double shrunk = 12 * 10000 - 1 - (1 << 11);
    EXPECT_EQ(updated(stack, {1, 10, 0, 11}, 10000, false), static_cast<int>(shrunk / 10 + 0.5));
    const double moved = 12 * 10000 - 1 - 2 + (1 << 12) + (1 << 13);
    EXPECT_EQ(updated(stack, {2, 13, 0, 11}, 10000, false), static_cast<int>(moved / 12 + 0.5));
}

TEST(MultiSliceUpdate, negative_sums_are_clamped_in_unsigned_mode_only) {
    Stack stack({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 48});
    // 11 x 1 - 48 = -37 over 10 slices.
    EXPECT_EQ(updated(stack, {0, 9, 0, 10}, 1, true), -3) << "-3.7 + 0.5 is cut toward zero";
    EXPECT_EQ(updated(stack, {0, 9, 0, 10}, 1, false), 0);
}

TEST(MultiSliceUpdate, negative_samples_count_by_their_pattern_in_both_modes) {
    Stack stack(std::vector<int>(9, -1));
    for (const bool isSigned : {false, true}) {
        // (8 x 65535 - 65535 + 65535) / 8 = 65535
        EXPECT_EQ(updated(stack, {1, 8, 0, 7}, -1, isSigned), -1);
        // (8 x 0 - 65535 + 65535) / 8
        EXPECT_EQ(updated(stack, {1, 8, 0, 7}, 0, isSigned), 0);
    }
}

TEST(MultiSliceUpdate, keeps_the_rounding_of_the_earlier_mean) {
    Stack stack({1, 1, 1, 1, 0, 0, 0, 0, 0});
    EXPECT_EQ(combined({1, 1, 1, 1, 0, 0, 0, 0}, Type::SlabAverage, false), 1);
    // Afresh 3 / 8 + 0.5 is cut to 0; from the rounded mean it is (8 x 1 - 1) / 8 + 0.5.
    EXPECT_EQ(combined({1, 1, 1, 0, 0, 0, 0, 0}, Type::SlabAverage, false), 0);
    EXPECT_EQ(updated(stack, {1, 8, 0, 7}, 1, false), 1);
}

TEST(MultiSliceUpdate, in_place_over_many_blocks_and_steps) {
    constexpr int kCount = 23;
    std::vector<std::vector<short>> rasters;
    std::vector<short*> slices;
    for (int k = 0; k < 20; ++k) {
        std::vector<short> raster(32);
        for (int i = 0; i < 32; ++i)
            raster[static_cast<std::size_t>(i)] = static_cast<short>(8 * (k + 3 * i));
        rasters.push_back(raster);
    }
    for (auto& raster : rasters) slices.push_back(raster.data());
    Fenced<short> output(32, 5);
    const auto move_to = [&](int first, short* earlier) {
        const auto f = static_cast<unsigned short>(first);
        const auto p = static_cast<unsigned short>(first > 0 ? first - 1 : 0);
        return RZ_GetMultiSlicePlane(slices, kCount, 1, false, Type::SlabAverage, output.data(), f,
                                     static_cast<unsigned short>(f + 7), earlier, p,
                                     static_cast<unsigned short>(p + 7));
    };
    ASSERT_EQ(move_to(0, nullptr), 1);
    for (int first = 1; first <= 12; ++first) {
        ASSERT_EQ(move_to(first, output.data()), 1);
        // The mean of 8 slices from `first` on is 8 (first + 3.5 + 3 i), a whole number: no rounding to keep.
        for (int i = 0; i < 24; ++i) ASSERT_EQ(output.data()[i], 8 * first + 28 + 24 * i) << first;
        ASSERT_EQ(output.data()[24], output.before(24));
    }
}

TEST(MultiSliceAliased, output_among_the_slices_keeps_the_plain_order) {
    // Slice 1 is overwritten by slice 0 before its turn, so that its own samples no longer take part.
    Stack stack({5, 1, 3});
    EXPECT_EQ(
        RZ_GetMultiSlicePlane(stack.slices, 1, 3, true, Type::SlabMinimum, stack[1], 0, 2, nullptr, 0, 0), 1);
    EXPECT_EQ(stack[1][0], 3);
    Stack other({5, 9, 3});
    EXPECT_EQ(
        RZ_GetMultiSlicePlane(other.slices, 1, 3, true, Type::SlabMaximum, other[1], 0, 2, nullptr, 0, 0), 1);
    EXPECT_EQ(other[1][0], 5);
    // A mean reads a whole block of all slices before it writes it.
    Stack mean({5, 1, 3});
    EXPECT_EQ(RZ_GetMultiSlicePlane(mean.slices, 1, 3, true, Type::SlabAverage, mean[1], 0, 2, nullptr, 0, 0),
              1);
    EXPECT_EQ(mean[1][0], 3);
}

}  // namespace
