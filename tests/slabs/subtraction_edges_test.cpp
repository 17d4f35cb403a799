#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/rasters.h"

// The edges of the subtraction, with numbers worked out by hand.

namespace {

using rz_test::Fenced;

/// A subtraction of whole rasters: slices by hand, then subtract().
template <class Sample>
class Subtraction {
  public:
    Subtraction(int rows, int columns, int bitDepth, bool isSigned)
        : rows_(rows), columns_(columns), bitDepth_(bitDepth), isSigned_(isSigned) {}

    /// Adds a slice with value(row, column).
    template <class Value>
    void add(Value value) {
        std::vector<Sample> raster;
        for (int r = 0; r < rows_; ++r) {
            for (int c = 0; c < columns_; ++c) raster.push_back(static_cast<Sample>(value(r, c)));
        }
        raster.resize(raster.size() + 7);
        rasters_.push_back(raster);
    }
    /// Adds a slice of one value.
    void add_flat(int value) {
        add([value](int, int) { return value; });
    }
    /// Sample (row, column) of minuend - subtrahend, as its sign reads.
    std::vector<int> subtract(RZ_SubOpParams& p) {
        std::vector<void*> slices;
        for (auto& raster : rasters_) slices.push_back(raster.data());
        const auto count = static_cast<std::size_t>(rows_ * columns_);
        Fenced<Sample> output(count + (sizeof(Sample) == 1 ? 15 : 7), 3);
        RZ_SubOpParams unread;
        EXPECT_EQ(RZ_GetMultiSliceSubtractionPlane(slices, rows_, columns_, bitDepth_, isSigned_,
                                                   output.data(), p, nullptr, unread),
                  1);
        EXPECT_TRUE(output.fencesIntact());
        return std::vector<int>(output.data(), output.data() + count);
    }

  private:
    int rows_;
    int columns_;
    int bitDepth_;
    bool isSigned_;
    std::vector<std::vector<Sample>> rasters_;
};

using Words = Subtraction<std::uint16_t>;
using SignedWords = Subtraction<std::int16_t>;
using Bytes = Subtraction<std::uint8_t>;
using SignedBytes = Subtraction<std::int8_t>;

/// Slices minuendFirst to minuendLast, less subtrahendFirst to subtrahendLast.
RZ_SubOpParams ranges(int minuendFirst, int minuendLast, int subtrahendFirst, int subtrahendLast) {
    RZ_SubOpParams p;
    p.minuend_first = static_cast<unsigned short>(minuendFirst);
    p.minuend_last = static_cast<unsigned short>(minuendLast);
    p.subtrahend_first = static_cast<unsigned short>(subtrahendFirst);
    p.subtrahend_last = static_cast<unsigned short>(subtrahendLast);
    return p;
}

RZ_SubOpParams shifted(float columns, float rows) {
    RZ_SubOpParams p = ranges(0, 0, 1, 1);
    p.pixel_shift[0] = columns;
    p.pixel_shift[1] = rows;
    return p;
}

std::vector<int> flat(std::size_t count, int value) {
    return std::vector<int>(count, value);
}

TEST(SubtractionRefused, leaves_the_output_alone) {
    std::vector<std::uint16_t> raster(16, 5);
    void* s = raster.data();
    const std::vector<void*> four = {s, s, s, s};
    const struct {
        const char* name;
        std::vector<void*> slices;
        int rows, columns, bitDepth;
        RZ_SubOpParams p;
        int want;
    } cases[] = {
        {"no slices", {}, 1, 2, 12, ranges(0, 0, 0, 0), -1},
        {"slice 0 missing", {nullptr, s, s, s}, 1, 2, 12, ranges(1, 2, 2, 3), -1},
        {"no rows", four, 0, 2, 12, ranges(0, 1, 2, 3), -1},
        {"no columns", four, 1, 0, 12, ranges(0, 1, 2, 3), -1},
        {"rows below zero", four, -1, 2, 12, ranges(0, 1, 2, 3), -1},
        {"2^32 samples count as 0", four, 65536, 65536, 12, ranges(0, 1, 2, 3), -1},
        {"46341^2 samples wrap below zero", four, 46341, 46341, 12, ranges(0, 1, 2, 3), -1},
        {"minuend ends behind the slices", four, 1, 2, 12, ranges(0, 4, 2, 3), -1},
        {"subtrahend ends behind the slices", four, 1, 2, 12, ranges(0, 1, 2, 4), -1},
        {"minuend reversed by one", four, 1, 2, 12, ranges(2, 1, 2, 3), -1},
        {"minuend reversed by two", four, 1, 2, 12, ranges(3, 1, 2, 3), -1},
        {"minuend reversed, first behind the slices", four, 1, 2, 12, ranges(9, 1, 2, 3), -1},
        {"subtrahend reversed by one", four, 1, 2, 12, ranges(0, 1, 3, 2), -1},
        {"subtrahend reversed, first behind the slices", four, 1, 2, 12, ranges(0, 1, 60000, 2), -1},
        {"first slice of the minuend missing", {s, nullptr, s, s}, 1, 2, 12, ranges(1, 2, 2, 3), -1},
        {"first slice of the subtrahend missing", {s, s, nullptr, s}, 1, 2, 12, ranges(0, 1, 2, 3), -1},
        {"the same for bytes: minuend", {s, nullptr, s, s}, 1, 2, 8, ranges(1, 2, 2, 3), -1},
        {"the same for bytes: subtrahend", {s, s, nullptr, s}, 1, 2, 8, ranges(0, 1, 2, 3), -1},
        {"reversed bytes: minuend", four, 1, 2, 8, ranges(2, 1, 2, 3), -1},
        {"reversed bytes: subtrahend", four, 1, 2, 8, ranges(0, 1, 3, 2), -1},
        {"7 bits", four, 1, 2, 7, ranges(0, 1, 2, 3), 1},
        {"17 bits", four, 1, 2, 17, ranges(0, 1, 2, 3), 1},
        {"0 bits", four, 1, 2, 0, ranges(0, 1, 2, 3), 1},
        {"-12 bits", four, 1, 2, -12, ranges(0, 1, 2, 3), 1},
        // The steps come in this order: a depth that nobody computes ends the call before the lists are made.
        {"7 bits, minuend reversed by one", four, 1, 2, 7, ranges(2, 1, 2, 3), 1},
        {"7 bits, minuend reversed by two", four, 1, 2, 7, ranges(3, 1, 2, 3), -1},
        {"7 bits, subtrahend reversed", four, 1, 2, 7, ranges(0, 1, 3, 0), 1},
        {"7 bits, minuend behind the slices", four, 1, 2, 7, ranges(0, 4, 2, 3), -1},
        {"7 bits, subtrahend behind the slices", four, 1, 2, 7, ranges(0, 1, 2, 4), -1},
        {"7 bits, first slices missing", {s, nullptr, nullptr, s}, 1, 2, 7, ranges(1, 1, 2, 2), 1},
        {"7 bits, slice 0 missing", {nullptr, s, s, s}, 1, 2, 7, ranges(1, 1, 2, 2), -1},
        {"7 bits, no samples", four, 0, 2, 7, ranges(1, 1, 2, 2), -1},
    };
    for (const auto& c : cases) {
        for (const bool isSigned : {false, true}) {
            Fenced<std::uint16_t> output(16, 7);
            RZ_SubOpParams p = c.p;
            p.pixel_shift[1] = 0.5F;
            EXPECT_EQ(RZ_GetMultiSliceSubtractionPlane(c.slices, c.rows, c.columns, c.bitDepth, isSigned,
                                                       output.data(), p, nullptr, p),
                      c.want)
                << c.name;
            EXPECT_TRUE(output.untouched()) << c.name;
        }
    }
}

TEST(SubtractionShift, beyond_the_rows_leaves_the_plain_mean_without_offset) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    for (const float shift : {3.0F, 3.5F, 4.0F, -3.0F, -3.5F, -4.0F, 3e9F, -3e9F, 2147483520.0F,
                              -2147483648.0F, nan, inf, -inf}) {
        Words words(3, 10, 12, false);
        words.add_flat(700);
        words.add_flat(300);
        RZ_SubOpParams p = shifted(0.25F, shift);
        p.offset = 1000;
        EXPECT_EQ(words.subtract(p), flat(30, 700)) << shift;
        Bytes bytes(3, 17, 8, false);
        bytes.add_flat(70);
        bytes.add_flat(30);
        EXPECT_EQ(bytes.subtract(p), flat(51, 70)) << shift;
    }
}

TEST(SubtractionShift, last_shift_that_still_has_a_row) {
    // Rows 1000, 2000, 3000 less rows 1, 2, 3.
    for (const float shift : {2.0F, -2.0F}) {
        Words words(3, 1, 12, false);
        words.add([](int r, int) { return 1000 * (r + 1); });
        words.add([](int r, int) { return r + 1; });
        RZ_SubOpParams p = shifted(0.0F, shift);
        const std::vector<int> want =
            shift > 0 ? std::vector<int>{997, 2000, 3000} : std::vector<int>{1000, 2000, 2999};
        EXPECT_EQ(words.subtract(p), want);
    }
}

TEST(SubtractionShift, whole_component_1_is_not_blended_whatever_component_0_is) {
    for (const float columns : {0.0F, 0.5F, 0.75F, -7.3F, 40.0F}) {
        for (const float rows : {1.0F, 1.0005F, 1.000999F}) {
            Words words(4, 20, 12, false);
            words.add_flat(2000);
            words.add([](int r, int c) { return 100 * r + c; });
            RZ_SubOpParams p = shifted(columns, rows);
            const std::vector<int> got = words.subtract(p);
            for (int r = 0; r < 4; ++r) {
                for (int c = 0; c < 20; ++c) {
                    const int want = r < 3 ? 2000 - (100 * (r + 1) + c) : 2000;
                    ASSERT_EQ(got[static_cast<std::size_t>(20 * r + c)], want) << columns << " " << rows;
                }
            }
        }
    }
}

TEST(SubtractionShift, blends_above_one_thousandth_and_not_at_it) {
    // One column: (1 - fy) x 10000 + fy x 20000, cut.
    const struct {
        float shift;
        int want;
    } cases[] = {{0.001F, 10000}, {std::nextafter(0.001F, 1.0F), 10010}};
    for (const auto& c : cases) {
        SignedWords words(2, 1, 16, true);
        words.add_flat(0);
        words.add([](int r, int) { return 10000 * (r + 1); });
        RZ_SubOpParams p = shifted(0.0F, c.shift);
        EXPECT_EQ(words.subtract(p)[0], -c.want);
    }
}

TEST(SubtractionShift, whole_component_0_moves_nothing) {
    for (const float columns : {0.0F, 1.0F, -5.0F, 1000.0F, 1e7F}) {
        Words words(2, 12, 12, false);
        words.add_flat(4000);
        words.add([](int r, int c) { return 1000 * r + 50 * c; });
        RZ_SubOpParams p = shifted(columns, 0.0F);
        const std::vector<int> got = words.subtract(p);
        for (int i = 0; i < 24; ++i) {
            EXPECT_EQ(got[static_cast<std::size_t>(i)], 4000 - 1000 * (i / 12) - 50 * (i % 12)) << columns;
        }
    }
}

TEST(SubtractionShift, negative_component_takes_the_floor_and_the_last_row_meets_black) {
    // -0.25 is one row up and three quarters back: row r takes a quarter of row r - 1 and three quarters of
    // row r. The last row takes black in place of row r, although that exists.
    Words words(3, 1, 12, false);
    words.add_flat(4000);
    words.add([](int r, int) { return 400 * (r + 1); });
    RZ_SubOpParams p = shifted(0.0F, -0.25F);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{4000, 4000 - (100 + 600), 4000 - 200}));
}

TEST(SubtractionShift, last_row_meets_black) {
    Words words(3, 1, 12, false);
    words.add_flat(4000);
    words.add([](int r, int) { return 400 * (r + 1); });
    RZ_SubOpParams p = shifted(0.0F, 0.25F);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{4000 - (300 + 200), 4000 - (600 + 300), 4000 - 900}));
}

TEST(SubtractionShift, tiny_negative_component_has_a_fraction_of_one) {
    // floor -1, and -1e-9 + 1 is 1 in single precision: row r takes row r - 1 + 1.
    Words words(3, 1, 12, false);
    words.add_flat(4000);
    words.add([](int r, int) { return 400 * (r + 1); });
    RZ_SubOpParams p = shifted(0.0F, -1e-9F);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{4000, 4000 - 800, 4000}));
}

TEST(SubtractionShift, one_column_has_only_the_last_column_and_no_rounding) {
    // 0.5 x 1 + 0.5 x 2 = 1.5 is cut to 1; with two columns the first one is rounded: 1.5 + 0.5.
    Words one(2, 1, 12, false);
    one.add_flat(100);
    one.add([](int r, int) { return r + 1; });
    RZ_SubOpParams p = shifted(0.0F, 0.5F);
    EXPECT_EQ(one.subtract(p)[0], 99);
    Words two(2, 2, 12, false);
    two.add_flat(100);
    two.add([](int r, int) { return r + 1; });
    EXPECT_EQ(two.subtract(p)[0], 98);
    EXPECT_EQ(two.subtract(p)[1], 99);
    Bytes byte(2, 1, 8, false);
    byte.add_flat(100);
    byte.add([](int r, int) { return r + 1; });
    EXPECT_EQ(byte.subtract(p)[0], 99);
}

TEST(SubtractionBlend16, blocks_and_single_samples_exchange_two_weights) {
    // fx = 0.25, fy = 0.5: weights 0.375, 0.125, 0.375, 0.125 on rows of 1000 and 2000. Blocks give the
    // second to the next row: 375 + 250 + 375 + 250. Single samples give it to the neighbour: 375 + 125 + 750
    // + 250.
    Words words(2, 10, 13, false);
    words.add_flat(5000);
    words.add([](int r, int) { return 1000 * (r + 1); });
    RZ_SubOpParams p = shifted(0.25F, 0.5F);
    const std::vector<int> got = words.subtract(p);
    for (std::size_t c = 0; c < 8; ++c) EXPECT_EQ(got[c], 5000 - 1250) << c;
    EXPECT_EQ(got[8], 5000 - 1500);
    EXPECT_EQ(got[9], 5000 - 1500);
}

TEST(SubtractionBlend16, signed_weights_of_a_half_or_more_are_negative_in_blocks) {
    // fy = 0.25: W(0) = 49151 reads as -16385, and 1000 x -16385 / 65536 is -251 below; W(2) = 16384 gives
    // 250.
    SignedWords words(2, 9, 16, true);
    words.add_flat(0);
    words.add_flat(1000);
    RZ_SubOpParams p = shifted(0.0F, 0.25F);
    const std::vector<int> got = words.subtract(p);
    for (std::size_t c = 0; c < 8; ++c) EXPECT_EQ(got[c], 1) << c;
    EXPECT_EQ(got[8], -1000) << "the last column blends as one expects";
}

TEST(SubtractionBlend8, unsigned_words_lose_half_their_bytes) {
    // fy = 0.5: W(0) = 32768, W(1) = 0. Bytes of 100 make words of 25700, half of which twice is 25700: 255.
    // Bytes of 200 make 51400, whose pattern is negative: 0; their fill, all ones, halved, is 255 again.
    const struct {
        int value, even, odd, evenBehind, oddBehind;
    } cases[] = {{100, 255, 0, 255, 0}, {200, 0, 0, 0, 255}};
    for (const auto& c : cases) {
        Bytes bytes(2, 17, 8, false);
        bytes.add_flat(255);
        bytes.add_flat(c.value);
        RZ_SubOpParams p = shifted(0.0F, 0.5F);
        const std::vector<int> got = bytes.subtract(p);
        for (std::size_t i = 0; i < 16; i += 2) {
            EXPECT_EQ(got[i], 255 - (i < 8 ? c.even : c.evenBehind)) << i;
            EXPECT_EQ(got[i + 1], 255 - (i < 8 ? c.odd : c.oddBehind)) << i;
        }
        EXPECT_EQ(got[16], 255 - c.value);
    }
}

TEST(SubtractionBlend8, unsigned_second_half_takes_the_other_rows_from_the_first) {
    // fx = 0.5, fy = 0.5: all weights a quarter, 16384. A word counts for 0.25 of its value: words of 4
    // give 1. Columns 8 to 15 of the current row keep their own word; everything else comes from columns 0
    // to 8.
    Bytes bytes(2, 17, 8, false);
    bytes.add_flat(255);
    bytes.add([](int r, int c) {
        const int currentRow[17] = {4, 0, 8, 0, 12, 0, 16, 0, 40, 0, 80, 0, 120, 0, 160, 0, 0};
        return r == 0 ? currentRow[c] : 0;
    });
    RZ_SubOpParams p = shifted(0.5F, 0.5F);
    const std::vector<int> got = bytes.subtract(p);
    // a = 4 8 12 16 | 40 80 120 160, e = 8, 12, 16, 40 each x 256 / 4: 512, 768, 1024, 2560, all above 255.
    for (std::size_t i = 0; i < 16; i += 2) EXPECT_EQ(got[i], 0) << i;
    for (std::size_t i = 1; i < 16; i += 2) EXPECT_EQ(got[i], 255) << i;

    // The same with samples at odd columns: words of c are x 256, words of c one further are small.
    Bytes odd(2, 17, 8, false);
    odd.add_flat(255);
    odd.add([](int r, int c) {
        const int currentRow[17] = {0, 0, 0, 8, 0, 12, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        return r == 0 ? 0 : currentRow[c];
    });
    // First row: n = 0 0x800 0xc00 0x1000, quartered: 0, 512, 768, 1024; g = 0, 8, 12, 16, quartered 0, 2,
    // 3, 4.
    const std::vector<int> rows = odd.subtract(p);
    const int want[16] = {0, 0, 255, 0, 255, 0, 255, 0, 0, 0, 255, 0, 255, 0, 255, 0};
    for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(rows[i], 255 - want[i]) << i;
}

TEST(SubtractionBlend8, signed_words_give_low_bytes_and_fills) {
    // fy = 0.5: W(0) = 32768 reads as -32768. Words of 100 x 257: -12850 twice, limited to -128; fills are 0.
    SignedBytes positive(2, 17, 8, true);
    positive.add_flat(-10);
    positive.add_flat(100);
    RZ_SubOpParams p = shifted(0.0F, 0.5F);
    const std::vector<int> got = positive.subtract(p);
    for (std::size_t i = 0; i < 16; i += 2) {
        EXPECT_EQ(got[i], 118) << "-10 + 128";
        EXPECT_EQ(got[i + 1], -10);
    }
    // Bytes of -1 make words of -1: -1 x -32768 / 65536 is 0; fills are -1 as well.
    SignedBytes negative(2, 17, 8, true);
    negative.add_flat(-10);
    negative.add_flat(-1);
    const std::vector<int> other = negative.subtract(p);
    // The mean of the last column is -1 + 0.5, cut to 0: the last word is 255, and -127.5 is -128 below.
    for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(other[i], i == 14 ? 118 : -10) << i;
}

TEST(SubtractionMean16, one_slice_is_copied_but_for_the_end_of_the_row) {
    SignedWords words(2, 9, 12, true);
    words.add_flat(-5);
    words.add_flat(0);
    RZ_SubOpParams p = shifted(0.0F, 0.0F);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{-5, -5, -5, -5, -5, -5, -5, -5, -4,  //
                                                   -5, -5, -5, -5, -5, -5, -5, -5, -4}));
    // Up to 4 columns there is no block.
    SignedWords few(1, 4, 12, true);
    few.add_flat(-5);
    few.add_flat(0);
    EXPECT_EQ(few.subtract(p), flat(4, -4));
    SignedWords five(1, 5, 12, true);
    five.add_flat(-5);
    five.add_flat(0);
    EXPECT_EQ(five.subtract(p), (std::vector<int>{-5, -5, -5, -5, -4}));
}

TEST(SubtractionMean16, blocks_and_remainder_of_three_slices_differ) {
    // 3 x 1000 x 341 / 1024 = 999, and 3000 / 3.
    Words words(1, 6, 12, false);
    for (int k = 0; k < 3; ++k) words.add_flat(1000);
    words.add_flat(0);
    RZ_SubOpParams p = ranges(0, 2, 3, 3);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{999, 999, 999, 999, 1000, 1000}));
}

TEST(SubtractionMean16, blocks_of_two_slices_in_both_signs) {
    // 1.0 / 2 x 1023 + 0.5 = 512: a true half, cut downward when signed.
    SignedWords words(1, 6, 12, true);
    words.add_flat(-5);
    words.add_flat(-6);
    words.add_flat(0);
    RZ_SubOpParams p = ranges(0, 1, 2, 2);
    EXPECT_EQ(words.subtract(p), (std::vector<int>{-6, -6, -6, -6, -5, -5})) << "-5.5 down, and -5.5 + 0.5";
    Words large(1, 6, 16, false);
    large.add_flat(65535);
    large.add_flat(65535);
    large.add_flat(0);
    EXPECT_EQ(large.subtract(p), flat(6, 65535));
}

TEST(SubtractionMean8, two_signed_slices_come_out_negated) {
    // Q = 0x8000 reads as -32768; 80 x -32768 / 65536. Three slices: Q = 21845.
    SignedBytes two(1, 9, 8, true);
    two.add_flat(40);
    two.add_flat(40);
    two.add_flat(0);
    RZ_SubOpParams p = ranges(0, 1, 2, 2);
    EXPECT_EQ(two.subtract(p), (std::vector<int>{-40, -40, -40, -40, -40, -40, -40, -40, 40}));
    SignedBytes three(1, 9, 8, true);
    for (int k = 0; k < 3; ++k) three.add_flat(40);
    three.add_flat(0);
    p = ranges(0, 2, 3, 3);
    EXPECT_EQ(three.subtract(p), (std::vector<int>{39, 39, 39, 39, 39, 39, 39, 39, 40}))
        << "120 x 21845 / 65536 = 39.99";
    Bytes plain(1, 9, 8, false);
    plain.add_flat(40);
    plain.add_flat(40);
    plain.add_flat(0);
    p = ranges(0, 1, 2, 2);
    EXPECT_EQ(plain.subtract(p), flat(9, 40)) << "unsigned, the pattern is 32768";
}

TEST(SubtractionMean8, signed_blocks_read_every_second_byte) {
    SignedBytes bytes(1, 10, 8, true);
    for (int k = 0; k < 4; ++k) bytes.add([](int, int c) { return 4 * c; });
    bytes.add_flat(0);
    // Q = 16384, a true quarter, of four times byte 1, 3, 5, 7; columns 8 and 9 are remainder.
    RZ_SubOpParams p = ranges(0, 3, 4, 4);
    EXPECT_EQ(bytes.subtract(p), (std::vector<int>{4, 4, 12, 12, 20, 20, 28, 28, 32, 36}));
}

TEST(SubtractionMean8, one_slice_is_copied_but_for_the_end_of_the_row) {
    SignedBytes bytes(1, 12, 8, true);
    bytes.add([](int, int c) { return -c - 1; });
    bytes.add_flat(0);
    RZ_SubOpParams p = shifted(0.0F, 0.0F);
    EXPECT_EQ(bytes.subtract(p), (std::vector<int>{-1, -2, -3, -4, -5, -6, -7, -8, -8, -9, -10, -11}));
    SignedBytes few(1, 8, 8, true);
    few.add_flat(-5);
    few.add_flat(0);
    EXPECT_EQ(few.subtract(p), flat(8, -4)) << "up to 8 columns there is no block";
}

TEST(SubtractRow16, limit_compares_signed) {
    const struct {
        int bitDepth;
        std::vector<int> in, out;
    } cases[] = {
        {9, {0, 511, 512, 0x7fff, 0x8000, 0xffff}, {0, 511, 511, 511, 0x8000, 0xffff}},
        {12, {0, 4095, 4096, 0x7fff, 0x8000, 0xffff}, {0, 4095, 4095, 4095, 0x8000, 0xffff}},
        {15, {0, 32766, 32767, 0x7fff, 0x8000, 0xffff}, {0, 32766, 32767, 0x7fff, 0x8000, 0xffff}},
        {16, {0, 1, 4096, 0x7fff, 0x8000, 0xffff}, {0xffff, 0xffff, 0xffff, 0xffff, 0x8000, 0xffff}},
    };
    for (const auto& c : cases) {
        Words words(1, 6, c.bitDepth, false);
        words.add([&c](int, int x) { return c.in[static_cast<std::size_t>(x)]; });
        words.add_flat(0);
        RZ_SubOpParams p = shifted(0.0F, 0.0F);
        EXPECT_EQ(words.subtract(p), c.out) << c.bitDepth;
    }
}

TEST(SubtractRow16, unsigned_offset_then_subtrahend_each_saturating) {
    const struct {
        int o, x;
        short offset;
        int want;
    } cases[] = {
        {10, 30, 100, 80},
        {10, 30, 0, 0},
        {65000, 65000, 1000, 535},        // saturates at 65535 first
        {0, 65000, -1, 535},              // -1 is 65535
        {5, 32768, -32768, 5},            // -32768 is 32768
        {20, 10, 20000, 20010 & 0x7fff},  // 15 bits: no limit below 0x8000
    };
    for (const auto& c : cases) {
        Words words(1, 1, 15, false);
        words.add_flat(c.o);
        words.add_flat(c.x);
        RZ_SubOpParams p = shifted(0.0F, 0.0F);
        p.offset = c.offset;
        EXPECT_EQ(words.subtract(p)[0], c.want);
    }
}

TEST(SubtractRow16, signed_saturates_and_takes_neither_offset_nor_depth) {
    const int cases[][3] = {{-30000, 30000, -32768}, {30000, -30000, 32767}, {-5, -32768, 32763}, {7, 5, 2}};
    for (const auto& c : cases) {
        SignedWords words(1, 5, 9, true);
        words.add_flat(c[0]);
        words.add_flat(c[1]);
        RZ_SubOpParams p = shifted(0.0F, 0.0F);
        p.offset = 12345;
        EXPECT_EQ(words.subtract(p)[0], c[2]);
    }
}

TEST(SubtractRow8, offset_is_a_low_byte_and_every_step_saturates) {
    const struct {
        int o, x;
        short offset;
        int want;
    } cases[] = {
        {50, 30, 0x164, 120},                     // offset 100: 50 - 0 + 70
        {50, 180, 0x164, 0},                      // 50 - 80 stops at 0
        {200, 10, 100, 255},                      // 200 + 90 stops at 255
        {10, 20, 0, 0},       {10, 200, -1, 65},  // 0xff: 10 + 55
        {90, 100, 100, 90},
    };
    for (const auto& c : cases) {
        Bytes bytes(1, 1, 8, false);
        bytes.add_flat(c.o);
        bytes.add_flat(c.x);
        RZ_SubOpParams p = shifted(0.0F, 0.0F);
        p.offset = c.offset;
        EXPECT_EQ(bytes.subtract(p)[0], c.want);
    }
}

TEST(SubtractRow8, signed_saturates_without_offset) {
    const int cases[][3] = {{-100, 100, -128}, {100, -100, 127}, {3, 5, -2}};
    for (const auto& c : cases) {
        SignedBytes bytes(1, 9, 8, true);
        bytes.add_flat(c[0]);
        bytes.add_flat(c[1]);
        RZ_SubOpParams p = shifted(0.0F, 0.0F);
        p.offset = 50;
        EXPECT_EQ(bytes.subtract(p)[0], c[2]);
    }
}

TEST(SubtractionStores, stay_within_the_slack_behind_the_last_row) {
    // Fences stand right behind 7 samples and 15 bytes; subtract() looks at them.
    for (int columns = 1; columns <= 70; ++columns) {
        for (const float shift : {0.0F, 0.5F}) {
            RZ_SubOpParams p = shifted(0.3F, shift);
            Words words(2, columns, 12, false);
            words.add_flat(700);
            words.add_flat(0);
            EXPECT_EQ(words.subtract(p), flat(static_cast<std::size_t>(2 * columns), 700)) << columns;
            Bytes bytes(2, columns, 8, false);
            bytes.add_flat(70);
            bytes.add_flat(0);
            EXPECT_EQ(bytes.subtract(p), flat(static_cast<std::size_t>(2 * columns), 70)) << columns;
        }
    }
}

}  // namespace
