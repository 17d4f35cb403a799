// NRRD, MetaImage and PNG files that the test writes byte by byte.
#include <gtest/gtest.h>
#include <zlib.h>

#include <array>
#include <filesystem>
#include <limits>
#include <numeric>

#include "readers_support.h"

namespace {

using namespace rz_test;
using rzobl::read_volume;
using rzobl::ReadResult;
using rzobl::SampleKind;
using rzobl::Vec3;
using rzobl::Volume;

std::vector<std::int16_t> rising() {
    std::vector<std::int16_t> values(24);
    std::iota(values.begin(), values.end(), std::int16_t{-5});
    return values;
}

Bytes joined(const std::string& text, const Bytes& bytes) {
    Bytes all(text.begin(), text.end());
    all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

void expect_point(const Volume& volume, const Vec3& index, const Vec3& lps) {
    const Vec3 p = volume.grid().toPhysical(index);
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(p[axis], lps[axis], 1e-6) << "axis " << axis;
}

void expect_rising(const Volume& volume) {
    ASSERT_EQ(volume.grid().size, (std::array<int, 3>{4, 3, 2}));
    for (int i = 0; i < 24; ++i) ASSERT_EQ(stored(volume, i % 4, i / 4 % 3, i / 12), i - 5);
}

const std::string kNrrd =
    "NRRD0004\n# a comment\ntype: short\ndimension: 3\nspace: left-posterior-superior\nsizes: 4 3 2\n"
    "space directions: (0,0.5,0) (0,0,-0.75) (-2,0,0)\nkinds: domain domain domain\nendian: little\n"
    "encoding: raw\nspace origin: (10,20,30)\n";

TEST(ReadNrrd, RawWithDirections) {
    const TemporaryFolder folder;
    write_bytes(folder / "a.nrrd", joined(kNrrd + "\n", bytes_of_values(rising())));
    const ReadResult result = read_volume(folder / "a.nrrd");
    EXPECT_EQ(result.format, "NRRD");
    EXPECT_TRUE(result.warnings.empty());
    expect_rising(result.volume);
    EXPECT_EQ(result.volume.grid().spacing, (Vec3{0.5, 0.75, 2}));
    expect_point(result.volume, {0, 0, 0}, {10, 20, 30});
    expect_point(result.volume, {2, 1, 1}, {8, 21, 29.25});
}

TEST(ReadNrrd, SpacesTurnToLps) {
    const TemporaryFolder folder;
    write_bytes(folder / "a.nrrd",
                joined(replaced(kNrrd, "left-posterior-superior", "right-anterior-superior") + "\n",
                       bytes_of_values(rising())));
    expect_point(read_volume(folder / "a.nrrd").volume, {2, 1, 1}, {-8, -21, 29.25});
    write_bytes(folder / "a.nrrd",
                joined(replaced(kNrrd, "left-posterior-superior", "LAS") + "\n", bytes_of_values(rising())));
    expect_point(read_volume(folder / "a.nrrd").volume, {2, 1, 1}, {8, -21, 29.25});
}

TEST(ReadNrrd, GzipBigEndianDetachedSkipped) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising());
    write_bytes(folder / "gz.nrrd", joined(replaced(kNrrd, "raw", "gzip") + "\n", gzipped(samples)));
    expect_rising(read_volume(folder / "gz.nrrd").volume);

    Bytes swapped = samples;
    for (std::size_t i = 0; i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
    write_bytes(folder / "big.nrrd", joined(replaced(kNrrd, "little", "big") + "\n", swapped));
    expect_rising(read_volume(folder / "big.nrrd").volume);

    write_bytes(folder / "a.raw", joined("skip me", samples));
    write_text(folder / "a.nhdr", kNrrd + "byte skip: 7\ndata file: a.raw\n");
    expect_rising(read_volume(folder / "a.nhdr").volume);
    write_text(folder / "a.nhdr", kNrrd + "byte skip: -1\ndata file: a.raw\n");
    expect_rising(read_volume(folder / "a.nhdr").volume);
    write_text(folder / "a.nhdr", kNrrd + "byte skip: 8\ndata file: a.raw\n");
    expect_refused(folder / "a.nhdr", {}, {"a.raw", "promises 48 bytes", "holds 47"});
    write_text(folder / "a.nhdr", kNrrd + "data file: gone.raw\n");
    expect_refused(folder / "a.nhdr", {}, {"gone.raw", "does not exist"});
}

TEST(ReadNrrd, RescaleFromKeyValues) {
    const TemporaryFolder folder;
    write_bytes(folder / "a.nrrd", joined(kNrrd + "rescale_slope:=0.25\nrescale_intercept:=-100\n\n",
                                          bytes_of_values(rising())));
    const Volume volume = read_volume(folder / "a.nrrd").volume;
    expect_rising(volume);
    EXPECT_EQ(volume.rescale.slope, 0.25);
    EXPECT_EQ(volume.rescale.intercept, -100);
}

TEST(ReadNrrd, Colours) {
    for (const char* kind : {"RGB-color", "vector", "3-color"}) {
        const TemporaryFolder folder;
        std::string header = replaced(kNrrd, "dimension: 3", "dimension: 4");
        header = replaced(header, "type: short", "type: uint8");
        header = replaced(header, "sizes: 4 3 2", "sizes: 3 2 1 1");
        header = replaced(header, "directions: ", "directions: none ");
        header = replaced(header, "kinds: ", std::string("kinds: ") + kind + " ");
        write_bytes(folder / "a.nrrd", joined(header + "\n", {1, 2, 3, 250, 251, 252}));
        const Volume volume = read_volume(folder / "a.nrrd").volume;
        ASSERT_EQ(volume.kind(), SampleKind::Rgb) << kind;
        EXPECT_EQ(stored(volume, 1, 0, 0), 250 | 251 << 8 | 252 << 16);
        expect_point(volume, {1, 0, 0}, {10, 20.5, 30});
    }
}

TEST(ReadNrrd, ShearedSlicesAreRefusedOrRegridded) {
    const TemporaryFolder folder;
    // Each slice 0.6 mm further to the front.
    const std::string header =
        replaced(kNrrd, "(0,0.5,0) (0,0,-0.75) (-2,0,0)", "(0.5,0,0) (0,0.75,0) (0,-0.6,2)");
    write_bytes(folder / "a.nrrd", joined(header + "\n", bytes_of_values(rising())));
    expect_refused(folder / "a.nrrd", {}, {"tilted", "16.7 degrees"});
    const Volume volume = read_volume(folder / "a.nrrd", {true, {}, {}}).volume;
    EXPECT_EQ(volume.grid().spacing, (Vec3{0.5, 0.75, 2}));
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{4, 4, 2}));
}

TEST(ReadNrrd, FloatsThatAreNoNumberStay) {
    const TemporaryFolder folder;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::string header =
        replaced(replaced(kNrrd, "type: short", "type: float"), "sizes: 4 3 2", "sizes: 2 1 1");
    write_bytes(folder / "a.nrrd", joined(header + "\n", bytes_of_values(std::vector<float>{nan, nan})));
    expect_refused(folder / "a.nrrd", {}, {"no number"});
    write_bytes(folder / "a.nrrd", joined(header + "\n", bytes_of_values(std::vector<float>{nan, 1})));
    const ReadResult result = read_volume(folder / "a.nrrd", {false, {}, {{-1, 1}}});
    EXPECT_TRUE(warned(result, "1 sample outside -1 to 1"));
    EXPECT_EQ(stored(result.volume, 0, 0, 0), -32768);
    EXPECT_EQ(stored(result.volume, 1, 0, 0), 32767);
}

TEST(ReadNrrd, PackedSamplesWithoutTheMarkOfGzipAreRefused) {
    const TemporaryFolder folder;
    write_bytes(folder / "a.nrrd",
                joined(replaced(kNrrd, "raw", "gzip") + "\n", deflated(bytes_of_values(rising()))));
    expect_refused(folder / "a.nrrd", {}, {"a.nrrd", "do not begin as gzip"});
}

TEST(ReadNrrd, WrongHeadersAreRefused) {
    const TemporaryFolder folder;
    const auto refused = [&](const std::string& from, const std::string& to,
                             std::initializer_list<const char*> parts) {
        write_bytes(folder / "a.nrrd", joined(replaced(kNrrd, from, to) + "\n", bytes_of_values(rising())));
        expect_refused(folder / "a.nrrd", {}, parts);
    };
    refused("sizes: 4 3 2", "sizes: 4 3 3", {"promises 72 bytes", "holds 48"});
    refused("sizes: 4 3 2", "sizes: 4 3 2 1", {"3 dimensions and 4 sizes"});
    refused("sizes: 4 3 2", "sizes: 4 3 0", {"size of 0"});
    refused("sizes: 4 3 2", "sizes: 4 3 99999", {"size of 99999"});
    refused("sizes: 4 3 2", "sizes: 4 x 2", {"'x'"});
    refused("type: short", "type: block", {"'block'"});
    refused("encoding: raw", "encoding: hex", {"'hex'"});
    refused("endian: little\n", "", {"byte order"});
    refused("type: short", "type: short\ntype: int", {"type twice"});
    refused("(0,0.5,0) (0,0,-0.75)", "(0,0.5,0.4) (0,0,-0.75)", {"right angles"});
    refused("dimension: 3", "junk", {"'junk'"});
}

TEST(ReadNrrd, CutFilesAreRefused) {
    const TemporaryFolder folder;
    for (const bool compressed : {false, true}) {
        const Bytes samples = bytes_of_values(rising());
        const Bytes whole = compressed ? joined(replaced(kNrrd, "raw", "gzip") + "\n", gzipped(samples))
                                       : joined(kNrrd + "\n", samples);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            write_bytes(folder / "cut.nrrd",
                        Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
            expect_refused(folder / "cut.nrrd", {}, {"cut.nrrd"});
        }
    }
}

const std::string kMeta =
    "ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\nCompressedData = "
    "False\n"
    "TransformMatrix = 0 1 0 0 0 -1 -1 0 0\nOffset = 10 20 30\nCenterOfRotation = 0 0 0\n"
    "ElementSpacing = 0.5 0.75 2\nDimSize = 4 3 2\nElementType = MET_SHORT\n";

/// kMeta for compressed samples.
std::string packed_meta(std::size_t length) {
    return replaced(kMeta, "CompressedData = False",
                    "CompressedData = True\nCompressedDataSize = " + std::to_string(length));
}

TEST(ReadMetaImage, LocalAndDetached) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising());
    write_bytes(folder / "a.mha", joined(kMeta + "ElementDataFile = LOCAL\n", samples));
    const ReadResult result = read_volume(folder / "a.mha");
    EXPECT_EQ(result.format, "MetaImage");
    EXPECT_TRUE(result.warnings.empty());
    expect_rising(result.volume);
    expect_point(result.volume, {2, 1, 1}, {8, 21, 29.25});

    write_bytes(folder / "a.raw", samples);
    write_text(folder / "a.mhd", kMeta + "ElementDataFile = a.raw\n");
    expect_rising(read_volume(folder / "a.mhd").volume);
    write_bytes(folder / "b.raw", joined("1234", samples));
    write_text(folder / "a.mhd", kMeta + "HeaderSize = 4\nElementDataFile = b.raw\n");
    expect_rising(read_volume(folder / "a.mhd").volume);
    write_text(folder / "a.mhd", kMeta + "HeaderSize = -1\nElementDataFile = b.raw\n");
    expect_rising(read_volume(folder / "a.mhd").volume);
}

TEST(ReadMetaImage, CompressedAndBigEndian) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising()), packed = deflated(samples);
    const std::string header = packed_meta(packed.size());
    write_bytes(folder / "z.mha", joined(header + "ElementDataFile = LOCAL\n", packed));
    expect_rising(read_volume(folder / "z.mha").volume);
    write_bytes(folder / "z.zraw", packed);
    write_text(folder / "z.mhd", header + "ElementDataFile = z.zraw\n");
    expect_rising(read_volume(folder / "z.mhd").volume);
    Bytes swapped = samples;
    for (std::size_t i = 0; i < swapped.size(); i += 2) std::swap(swapped[i], swapped[i + 1]);
    write_bytes(folder / "b.mha",
                joined(replaced(kMeta, "OrderMSB = False", "OrderMSB = True") + "ElementDataFile = LOCAL\n",
                       swapped));
    expect_rising(read_volume(folder / "b.mha").volume);
}

TEST(ReadMetaImage, FieldsThatNobodyKnowsDoNoHarm) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising()), packed = deflated(samples);
    const std::string author = "Author = nobody\n";
    write_bytes(folder / "a.mha", joined(author + kMeta + "ElementDataFile = LOCAL\n", samples));
    expect_rising(read_volume(folder / "a.mha").volume);
    write_bytes(folder / "a.mha",
                joined(author + packed_meta(packed.size()) + "ElementDataFile = LOCAL\n", packed));
    expect_rising(read_volume(folder / "a.mha").volume);
}

TEST(ReadMetaImage, PackedLengthsThatDoNotFitAreRefused) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising()), packed = deflated(samples);
    const auto refused = [&](const std::string& header, const Bytes& bytes,
                             std::initializer_list<const char*> parts) {
        write_bytes(folder / "z.mha", joined(header + "ElementDataFile = LOCAL\n", bytes));
        expect_refused(folder / "z.mha", {}, parts);
    };
    refused(replaced(kMeta, "CompressedData = False", "CompressedData = True"), packed,
            {"z.mha", "without their length"});
    refused(packed_meta(999999999999), packed, {"promises 999999999999 bytes of compressed"});
    refused(packed_meta(packed.size() - 1), packed, {"z.mha", "damaged"});
    // Two streams in a row, each with half of the samples: the second would not be unpacked.
    const auto middle = samples.begin() + 24;
    Bytes halves = gzipped(Bytes(samples.begin(), middle));
    const Bytes second = gzipped(Bytes(middle, samples.end()));
    halves.insert(halves.end(), second.begin(), second.end());
    refused(packed_meta(halves.size()), halves, {"promises 48 bytes", "holds 24"});
    Bytes more = samples;
    more.push_back(1);
    more = deflated(more);
    refused(packed_meta(more.size()), more, {"hold more than the 48 bytes"});
}

TEST(ReadMetaImage, RescaleLeavesSamplesAsStored) {
    const TemporaryFolder folder;
    write_bytes(
        folder / "a.mha",
        joined(kMeta + "ElementToIntensityFunctionSlope = 0.5\nElementToIntensityFunctionOffset = -3\n"
                       "ElementDataFile = LOCAL\n",
               bytes_of_values(rising())));
    const Volume volume = read_volume(folder / "a.mha").volume;
    expect_rising(volume);
    EXPECT_EQ(volume.rescale.slope, 0.5);
    EXPECT_EQ(volume.rescale.intercept, -3);
}

TEST(ReadMetaImage, Colours) {
    const TemporaryFolder folder;
    std::string header = replaced(kMeta, "MET_SHORT", "MET_UCHAR\nElementNumberOfChannels = 3");
    header = replaced(header, "DimSize = 4 3 2", "DimSize = 2 1 1");
    write_bytes(folder / "a.mha", joined(header + "ElementDataFile = LOCAL\n", {1, 2, 3, 250, 251, 252}));
    const Volume volume = read_volume(folder / "a.mha").volume;
    ASSERT_EQ(volume.kind(), SampleKind::Rgb);
    EXPECT_EQ(stored(volume, 1, 0, 0), 250 | 251 << 8 | 252 << 16);
}

TEST(ReadMetaImage, WrongHeadersAreRefused) {
    const TemporaryFolder folder;
    const auto refused = [&](const std::string& from, const std::string& to,
                             std::initializer_list<const char*> parts) {
        write_bytes(folder / "a.mha", joined(replaced(kMeta, from, to) + "ElementDataFile = LOCAL\n",
                                             bytes_of_values(rising())));
        expect_refused(folder / "a.mha", {}, parts);
    };
    refused("DimSize = 4 3 2", "DimSize = 4 3 3", {"promises 72 bytes", "holds 48"});
    refused("NDims = 3", "NDims = 9999999", {"9999999 dimensions"});
    refused("DimSize = 4 3 2", "DimSize = 4 3", {"2 sizes"});
    refused("ElementSpacing = 0.5 0.75 2", "ElementSpacing = 0.5", {"ElementSpacing"});
    refused("ElementSpacing = 0.5 0.75 2", "ElementSpacing = 0.5 nan 2", {"nan"});
    refused("ElementSpacing = 0.5 0.75 2", "ElementSpacing = 0 0.75 2", {"a.mha"});
    refused("0 1 0 0 0 -1 -1 0 0", "0 1 0 0 0.4 -1 -1 0 0", {"a.mha"});
    refused("MET_SHORT", "MET_STRING", {"MET_STRING"});
    refused("ObjectType = Image", "ObjectType = Tube", {"Tube"});
    refused("BinaryData = True", "BinaryData = False", {"text"});
    write_text(folder / "a.mhd", kMeta + "ElementDataFile = LIST\na.raw\n");
    expect_refused(folder / "a.mhd", {}, {"several files"});
    write_text(folder / "a.mhd", kMeta);
    expect_refused(folder / "a.mhd", {}, {"no end"});
}

TEST(ReadMetaImage, CutFilesAreRefused) {
    const TemporaryFolder folder;
    const Bytes samples = bytes_of_values(rising()), packed = deflated(samples);
    const std::string header = packed_meta(packed.size());
    for (const Bytes& whole : {joined(kMeta + "ElementDataFile = LOCAL\n", samples),
                               joined(header + "ElementDataFile = LOCAL\n", packed)}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            write_bytes(folder / "cut.mha",
                        Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
            expect_refused(folder / "cut.mha", {}, {"cut.mha"});
        }
    }
}

/// A PNG of one image data chunk; colour: 0 grey, 2 red, green, blue.
Bytes png(int width, int height, int bits, int colour, const Bytes& rows) {
    Bytes out{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    const auto big = [](Bytes& to, std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8) to.push_back(static_cast<std::uint8_t>(value >> shift));
    };
    const auto chunk = [&](const std::string& type, const Bytes& data) {
        big(out, static_cast<std::uint32_t>(data.size()));
        Bytes body = joined(type, data);
        out.insert(out.end(), body.begin(), body.end());
        big(out, static_cast<std::uint32_t>(crc32(0, body.data(), static_cast<uInt>(body.size()))));
    };
    Bytes header;
    big(header, static_cast<std::uint32_t>(width));
    big(header, static_cast<std::uint32_t>(height));
    for (const int field : {bits, colour, 0, 0, 0}) header.push_back(static_cast<std::uint8_t>(field));
    chunk("IHDR", header);
    Bytes filtered;
    const std::size_t row = rows.size() / static_cast<std::size_t>(height);
    for (std::size_t at = 0; at < rows.size(); at += row) {
        filtered.push_back(0);
        filtered.insert(filtered.end(), rows.begin() + static_cast<std::ptrdiff_t>(at),
                        rows.begin() + static_cast<std::ptrdiff_t>(at + row));
    }
    chunk("IDAT", deflated(filtered));
    chunk("IEND", {});
    return out;
}

TEST(ReadPngStack, NumbersInNamesCount) {
    const TemporaryFolder folder;
    for (const int k : {10, 2, 9, 1}) {
        const auto value = static_cast<std::uint8_t>(k);
        write_bytes(folder / ("s" + std::to_string(k) + ".png"), png(2, 1, 8, 0, {value, 200}));
    }
    const ReadResult result = read_volume(folder.path());
    EXPECT_EQ(result.format, "PNG");
    EXPECT_TRUE(warned(result, "1 mm"));
    ASSERT_EQ(result.volume.grid().size, (std::array<int, 3>{2, 1, 4}));
    EXPECT_EQ(result.volume.kind(), SampleKind::UInt8);
    const std::array<int, 4> order{1, 2, 9, 10};
    for (int k = 0; k < 4; ++k) {
        EXPECT_EQ(stored(result.volume, 0, 0, k), order[static_cast<std::size_t>(k)]);
        EXPECT_EQ(stored(result.volume, 1, 0, k), 200);
    }
}

TEST(ReadPngStack, ColoursAndSixteenBits) {
    const TemporaryFolder colours, deep;
    for (const char* name : {"a.png", "b.png"}) {
        write_bytes(colours / name, png(2, 1, 8, 2, {1, 2, 3, 250, 251, 252}));
        write_bytes(deep / name, png(2, 1, 16, 0, {0x12, 0x34, 0x01, 0x00}));
    }
    const Volume rgb = read_volume(colours.path()).volume, grey = read_volume(deep.path()).volume;
    ASSERT_EQ(rgb.kind(), SampleKind::Rgb);
    EXPECT_EQ(stored(rgb, 1, 0, 1), 250 | 251 << 8 | 252 << 16);
    ASSERT_EQ(grey.kind(), SampleKind::Int16);
    EXPECT_EQ(stored(grey, 0, 0, 1), 0x1234);
    EXPECT_EQ(stored(grey, 1, 0, 0), 0x100);
}

TEST(ReadPngStack, UnequalAndCutOnesAreRefused) {
    const TemporaryFolder folder;
    write_bytes(folder / "a.png", png(2, 1, 8, 0, {1, 2}));
    write_bytes(folder / "b.png", png(1, 2, 8, 0, {1, 2}));
    expect_refused(folder.path(), {}, {"b.png", "1 x 2", "a.png", "2 x 1"});
    std::filesystem::remove(folder / "a.png");
    const Bytes whole = png(4, 4, 8, 0, Bytes(16, 77));
    for (std::size_t length = 8; length + 1 < whole.size(); ++length) {
        write_bytes(folder / "b.png",
                    Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        expect_refused(folder.path(), {}, {"b.png"});
    }
}

}  // namespace
