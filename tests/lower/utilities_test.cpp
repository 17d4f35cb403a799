#include "lower/utilities/memory.h"

#include <gtest/gtest.h>

#include <numeric>
#include <vector>

namespace {

TEST(Memory, copy_takes_just_the_bytes) {
    std::vector<unsigned char> source(300);
    std::iota(source.begin(), source.end(), static_cast<unsigned char>(1));
    for (const long long bytes : {0LL, 1LL, 7LL, 64LL, 299LL}) {
        std::vector<unsigned char> target(300, 0xEE);
        RZ_Memcpy(target.data(), source.data(), bytes);
        for (std::size_t i = 0; i < 300; ++i) {
            ASSERT_EQ(target[i], i < static_cast<std::size_t>(bytes) ? source[i] : 0xEE);
        }
    }
    unsigned char untouched = 5;
    RZ_Memcpy(&untouched, source.data(), -1);
    EXPECT_EQ(untouched, 5);
}

constexpr unsigned short kValues[] = {0x0000, 0x1234, 0x8001, 0xFFFF};

TEST(Memory, fill_counts_words_and_not_bytes) {
    for (const long long count : {0LL, 1LL, 2LL, 63LL, 99LL}) {
        for (const unsigned short value : kValues) {
            std::vector<unsigned short> words(100, 0x5A5A);
            RZ_FillMemWord(words.data(), count, value);
            for (std::size_t i = 0; i < 100; ++i) {
                ASSERT_EQ(words[i], i < static_cast<std::size_t>(count) ? value : 0x5A5A);
            }
        }
    }
    unsigned short untouched = 5;
    RZ_FillMemWord(&untouched, -3, 1);
    EXPECT_EQ(untouched, 5);
}

}  // namespace
