// DICOM series that the test writes itself: sign, bits, rescale, padding, colours, transfer syntaxes.
#include <gtest/gtest.h>

#include <numeric>

#include "readers_dicom_writer.h"
#include "readers_support.h"

namespace {

using namespace rz_test;
using rzobl::read_volume;
using rzobl::ReadResult;
using rzobl::SampleKind;
using rzobl::Volume;

std::vector<int> rising(const DicomSlice& slice, int from) {
    std::vector<int> values(static_cast<std::size_t>(slice.rows * slice.columns * slice.channels));
    std::iota(values.begin(), values.end(), from);
    return values;
}

/// Each slice begins 100 above the one before it.
void number_pixels(DicomSlice& slice, int k) {
    slice.pixels = rising(slice, 100 * k);
}

struct Stored {
    const char* name;
    int bitsAllocated, bitsStored, highBit;
    bool isSigned;
    std::vector<int> containers;
    std::vector<int> expected;
    SampleKind kind;
};

class ReadDicomBits : public testing::TestWithParam<Stored> {};

TEST_P(ReadDicomBits, Reads) {
    const Stored& c = GetParam();
    DicomSlice like;
    like.columns = static_cast<int>(c.containers.size());
    like.rows = 1;
    like.bitsAllocated = c.bitsAllocated;
    like.bitsStored = c.bitsStored;
    like.highBit = c.highBit;
    like.isSigned = c.isSigned;
    like.pixels = c.containers;
    like.intercept = -10;
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1});
    const ReadResult result = read_volume(folder.path());
    ASSERT_EQ(result.volume.kind(), c.kind);
    const rzobl::Rescale rescale = result.volume.rescale;
    for (int k = 0; k < 2; ++k) {
        for (int i = 0; i < like.columns; ++i) {
            EXPECT_EQ(stored(result.volume, i, 0, k) * rescale.slope + rescale.intercept,
                      c.expected[static_cast<std::size_t>(i)] - 10)
                << "sample " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, ReadDicomBits,
    testing::Values(
        Stored{"Unsigned12",
               16,
               12,
               11,
               false,
               {0, 1, 2047, 2048, 4095, 7},
               {0, 1, 2047, 2048, 4095, 7},
               SampleKind::Int16},
        Stored{"Signed12",
               16,
               12,
               11,
               true,
               {0, 0x7ff, 0x800, 0xfff, 0xf800, 5},
               {0, 2047, -2048, -1, -2048, 5},
               SampleKind::Int16},
        Stored{"ForeignHighBits",
               16,
               12,
               11,
               false,
               {0xf123, 0x1000, 0x8fff, 4},
               {0x123, 0, 0xfff, 4},
               SampleKind::Int16},
        Stored{"Signed16",
               16,
               16,
               15,
               true,
               {0, 32767, 32768, 65535},
               {0, 32767, -32768, -1},
               SampleKind::Int16},
        Stored{"Unsigned16Low", 16, 16, 15, false, {0, 5, 32767, 300}, {0, 5, 32767, 300}, SampleKind::Int16},
        Stored{"Unsigned16High",
               16,
               16,
               15,
               false,
               {0, 5, 32768, 65535},
               {0, 5, 32768, 65535},
               SampleKind::Int16},
        Stored{"ShiftedUp",
               16,
               12,
               15,
               false,
               {0xfff0, 0x0010, 0x001f, 0x8000},
               {4095, 1, 1, 2048},
               SampleKind::Int16},
        Stored{"ShiftedUpSigned",
               16,
               12,
               15,
               true,
               {0xfff0, 0x0010, 0x8000, 0x7ff0},
               {-1, 1, -2048, 2047},
               SampleKind::Int16},
        Stored{"Unsigned8",
               8,
               8,
               7,
               false,
               {0, 1, 127, 128, 255, 9},
               {0, 1, 127, 128, 255, 9},
               SampleKind::UInt8},
        Stored{
            "Signed8", 8, 8, 7, true, {0, 1, 127, 128, 255, 9}, {0, 1, 127, -128, -1, 9}, SampleKind::Int16}),
    [](const auto& made) { return std::string(made.param.name); });

TEST(ReadDicomBitsTold, AnOffsetIsWarnedAboutAndKeptInTheIntercept) {
    DicomSlice like;
    like.bitsStored = 16;
    like.highBit = 15;
    like.slope = 2;
    like.intercept = -1024;
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1},
                 [](DicomSlice& slice, int) { slice.pixels = rising(slice, 40000); });
    const ReadResult result = read_volume(folder.path());
    EXPECT_TRUE(warned(result, "40029"));
    EXPECT_TRUE(warned(result, "32768"));
    EXPECT_TRUE(result.volume.isSigned);
    EXPECT_EQ(stored(result.volume, 0, 0, 0), 40000 - 32768);
    EXPECT_DOUBLE_EQ(result.volume.rescale.intercept, 2 * 32768 - 1024);
}

TEST(ReadDicomBitsTold, SignAndDepthComeFromTheTags) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 2, {0, 0, 1}, number_pixels);
    const Volume volume = read_volume(folder.path()).volume;
    EXPECT_FALSE(volume.isSigned);
    EXPECT_EQ(volume.bitDepth, 12);
}

TEST(ReadDicomRescale, DifferingSlicesComeToACommonOneExactly) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 4, {0, 0, 1}, [](DicomSlice& slice, int k) {
        number_pixels(slice, k);
        slice.slope = k == 2 ? 1.5 : 0.5;
        slice.intercept = k == 3 ? -1000 : -1024;
    });
    const ReadResult result = read_volume(folder.path());
    EXPECT_TRUE(warned(result, "differ in their rescale"));
    const rzobl::Rescale rescale = result.volume.rescale;
    for (int k = 0; k < 4; ++k) {
        for (int i = 0; i < 6; ++i)
            EXPECT_EQ(stored(result.volume, i, 0, k) * rescale.slope + rescale.intercept,
                      (100 * k + i) * (k == 2 ? 1.5 : 0.5) + (k == 3 ? -1000 : -1024));
    }
}

TEST(ReadDicomRescale, WhatNoIntegerHoldsIsRefused) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 3, {0, 0, 1},
                 [](DicomSlice& slice, int k) { slice.slope = k == 1 ? 1.37 : 1; });
    expect_refused(folder.path(), {}, {"rescale", "1.37"});
    const TemporaryFolder wide;
    write_series(wide.path(), {}, 2, {0, 0, 1}, [](DicomSlice& slice, int k) {
        number_pixels(slice, 3);
        slice.slope = k == 1 ? 1 : 1000;
    });
    expect_refused(wide.path(), {}, {"329000", "16 bits"});
}

TEST(ReadDicomRescale, ASlopeOfZeroIsRefused) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 2, {0, 0, 1}, [](DicomSlice& slice, int) { slice.slope = 0; });
    expect_refused(folder.path(), {}, {"RescaleSlope"});
}

TEST(ReadDicomPadding, BecomesTheLeastMeasuredValue) {
    DicomSlice like;
    like.columns = 4;
    like.rows = 1;
    like.isSigned = true;
    like.bitsStored = 16;
    like.highBit = 15;
    like.padding = -2000;
    like.pixels = {-2000, -900, 50, -2000};
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1});
    const Volume volume = read_volume(folder.path()).volume;
    EXPECT_EQ(volume.padding, -900);
    EXPECT_EQ(stored(volume, 0, 0, 0), -900);
    EXPECT_EQ(stored(volume, 1, 0, 0), -900);
    EXPECT_EQ(stored(volume, 2, 0, 1), 50);
    EXPECT_EQ(stored(volume, 3, 0, 1), -900);
}

TEST(ReadDicomPadding, MayLieOutsideTheStoredBitsOrBeARange) {
    DicomSlice like;
    like.columns = 5;
    like.rows = 1;
    like.padding = 63536;  // -2000 as a container of 16 bits, where 12 are stored
    like.pixels = {63536, 2096, 24, 63536, 300};
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1});
    const Volume volume = read_volume(folder.path()).volume;
    for (const auto& [i, value] : {std::pair{0, 24}, {1, 2096}, {2, 24}, {3, 24}, {4, 300}})
        EXPECT_EQ(stored(volume, i, 0, 0), value) << i;

    like.padding = 0;
    like.paddingLimit = 9;
    like.pixels = {0, 5, 9, 10, 300};
    const TemporaryFolder range;
    write_series(range.path(), like, 2, {0, 0, 1});
    const Volume other = read_volume(range.path()).volume;
    for (const auto& [i, value] : {std::pair{0, 10}, {1, 10}, {2, 10}, {3, 10}, {4, 300}})
        EXPECT_EQ(stored(other, i, 0, 0), value) << i;
}

class ReadDicomSyntax : public testing::TestWithParam<Syntax> {};

TEST_P(ReadDicomSyntax, ReadsTheSamePixels) {
    DicomSlice like;
    like.columns = 16;
    like.rows = 16;
    const TemporaryFolder folder;
    write_series(folder.path(), like, 3, {0, 0, 1}, number_pixels, GetParam());
    const Volume volume = read_volume(folder.path()).volume;
    for (int k = 0; k < 3; ++k) {
        for (int j = 0; j < 16; ++j) {
            for (int i = 0; i < 16; ++i) ASSERT_EQ(stored(volume, i, j, k), 100 * k + 16 * j + i);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Lossless, ReadDicomSyntax,
                         testing::Values(Syntax::LittleImplicit, Syntax::BigExplicit, Syntax::Deflated,
                                         Syntax::Rle, Syntax::JpegLossless, Syntax::JpegLs));

TEST(ReadDicomSyntaxMissing, AMissingDecoderIsOneSentence) {
    const TemporaryFolder folder;
    DicomSlice slice;
    write_undecodable_dicom(folder / "a.dcm", slice);
    expect_refused(folder.path(), {}, {"a.dcm", "JPEG 2000"});
}

class ReadDicomColour : public testing::TestWithParam<std::pair<int, Syntax>> {};

TEST_P(ReadDicomColour, Reads) {
    const auto [planar, syntax] = GetParam();
    DicomSlice like;
    like.channels = 3;
    like.columns = 8;
    like.rows = 4;
    like.bitsAllocated = 8;
    like.bitsStored = 8;
    like.highBit = 7;
    like.photometric = "RGB";
    like.planar = planar;
    like.pixels.resize(96);
    const auto channel = [](int pixel, int c) { return (pixel * 3 + 50 * c) & 0xff; };
    for (int pixel = 0; pixel < 32; ++pixel) {
        for (int c = 0; c < 3; ++c)
            like.pixels[static_cast<std::size_t>(planar != 0 ? c * 32 + pixel : pixel * 3 + c)] =
                channel(pixel, c);
    }
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1}, {}, syntax);
    const Volume volume = read_volume(folder.path()).volume;
    ASSERT_EQ(volume.kind(), SampleKind::Rgb);
    for (int pixel = 0; pixel < 32; ++pixel)
        EXPECT_EQ(stored(volume, pixel % 8, pixel / 8, 1),
                  channel(pixel, 0) | channel(pixel, 1) << 8 | channel(pixel, 2) << 16);
}

INSTANTIATE_TEST_SUITE_P(All, ReadDicomColour,
                         testing::Values(std::pair{0, Syntax::LittleExplicit},
                                         std::pair{1, Syntax::LittleExplicit}, std::pair{0, Syntax::Rle},
                                         std::pair{1, Syntax::Rle}, std::pair{0, Syntax::JpegLossless},
                                         std::pair{1, Syntax::JpegLossless}, std::pair{0, Syntax::JpegLs}));

TEST(ReadDicomColourLossy, BaselineJpegComesBackAsRgb) {
    DicomSlice like;
    like.channels = 3;
    like.columns = 16;
    like.rows = 16;
    like.bitsAllocated = 8;
    like.bitsStored = 8;
    like.highBit = 7;
    like.photometric = "RGB";
    for (int i = 0; i < 256; ++i) like.pixels.insert(like.pixels.end(), {200, 100, 40});
    const TemporaryFolder folder;
    write_series(folder.path(), like, 2, {0, 0, 1}, {}, Syntax::JpegBaseline);
    const int pixel = stored(read_volume(folder.path()).volume, 7, 9, 1);
    EXPECT_NEAR(pixel & 0xff, 200, 4);
    EXPECT_NEAR(pixel >> 8 & 0xff, 100, 4);
    EXPECT_NEAR(pixel >> 16 & 0xff, 40, 4);
}

}  // namespace
