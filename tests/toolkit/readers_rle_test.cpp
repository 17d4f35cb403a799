// Frames in run-length code, written by hand: two segments of eight bytes each.
#include <gtest/gtest.h>

#include "readers_support.h"
#include "toolkit/io/dicom/rle_check.h"

namespace {

using rz_test::Bytes;
using rzobl::dicom::is_whole_rle_frame;

Bytes frame(const Bytes& first, const Bytes& second, std::uint8_t segments = 2, int shift = 0) {
    Bytes bytes(64, 0);
    bytes[0] = segments;
    bytes[4] = 64;
    bytes[8] = static_cast<std::uint8_t>(64 + static_cast<int>(first.size()) + shift);
    for (const std::uint8_t byte : first) bytes.push_back(byte);
    for (const std::uint8_t byte : second) bytes.push_back(byte);
    return bytes;
}

bool whole(const Bytes& bytes) {
    const Bytes exact(bytes);  // of its own size, so that the address sanitizer sees one byte too far
    return is_whole_rle_frame(exact.data(), exact.size(), 2, 8);
}

const Bytes kRun{0xf9, 5};                                  // eight fives
const Bytes kLiteral{7, 1, 2, 3, 4, 5, 6, 7, 8};            // eight bytes as they stand
const Bytes kMixed{0x80, 1, 9, 9, 0x80, 0xfd, 4, 1, 2, 3};  // nothing, two, nothing, four, two

TEST(RleCheck, WholeFrames) {
    for (const Bytes& first : {kRun, kLiteral, kMixed}) {
        for (const Bytes& second : {kRun, kLiteral, kMixed}) EXPECT_TRUE(whole(frame(first, second)));
    }
    EXPECT_TRUE(whole(frame({0xf9, 5, 0}, {0xf9, 5, 0}))) << "a byte that makes the length even";
}

TEST(RleCheck, RunsBeyondTheirSegment) {
    EXPECT_FALSE(whole(frame(kRun, {0xf9}))) << "a run without its byte";
    EXPECT_FALSE(whole(frame(kRun, {7, 1, 2, 3}))) << "a literal run that ends early";
    EXPECT_FALSE(whole(frame({7, 1, 2, 3}, kRun))) << "a run into the next segment";
}

TEST(RleCheck, WrongAmounts) {
    EXPECT_FALSE(whole(frame(kRun, {0xfa, 5}))) << "seven bytes";
    EXPECT_FALSE(whole(frame(kRun, {0xf8, 5}))) << "nine bytes";
    EXPECT_FALSE(whole(frame(kRun, {}))) << "none";
}

TEST(RleCheck, WrongHeaders) {
    EXPECT_FALSE(whole(frame(kRun, kRun, 1)));
    EXPECT_FALSE(whole(frame(kRun, kRun, 3)));
    EXPECT_FALSE(whole(frame(kRun, kRun, 2, 100)));
    EXPECT_FALSE(whole(frame(kRun, kRun, 2, -3)));
    EXPECT_FALSE(whole(Bytes(63, 0)));
    EXPECT_FALSE(whole({}));
}

}  // namespace
