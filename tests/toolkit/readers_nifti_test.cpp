#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "readers_nifti_bytes.h"
#include "tests/support/seeded.h"

namespace {

using namespace rz_test;
using rzobl::read_volume;
using rzobl::ReadResult;
using rzobl::SampleKind;
using rzobl::Vec3;
using rzobl::Volume;

NiftiFile plain() {
    NiftiFile file;
    std::vector<std::int16_t> values;
    for (std::int16_t i = 0; i < 24; ++i) values.push_back(static_cast<std::int16_t>(100 * i - 1000));
    file.samples = bytes_of_values(values);
    return file;
}

ReadResult read(const NiftiFile& file, const rzobl::ReadOptions& options = {}, const char* name = "a.nii") {
    const TemporaryFolder folder;
    write_bytes(folder / name, file.bytes());
    return read_volume(folder / name, options);
}

void expect_point(const Volume& volume, const Vec3& index, const Vec3& lps) {
    const Vec3 p = volume.grid().toPhysical(index);
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(p[axis], lps[axis], 1e-4) << "axis " << axis;
}

TEST(ReadNifti, SformTurnsToLps) {
    const ReadResult result = read(plain());
    EXPECT_EQ(result.format, "NIfTI");
    EXPECT_TRUE(result.warnings.empty());
    const Volume& volume = result.volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{4, 3, 2}));
    EXPECT_EQ(volume.grid().spacing, (Vec3{0.5, 0.75, 2}));
    // RAS (-10, -20, 30) is LPS (10, 20, 30).
    expect_point(volume, {0, 0, 0}, {10, 20, 30});
    expect_point(volume, {3, 2, 1}, {10 - 1.5, 20 - 1.5, 32});
    for (int i = 0; i < 24; ++i) EXPECT_EQ(stored(volume, i % 4, i / 4 % 3, i / 12), 100 * i - 1000);
    EXPECT_TRUE(volume.isSigned);
}

TEST(ReadNifti, QformWhereThereIsNoSform) {
    NiftiFile file = plain();
    file.sformCode = 0;
    file.qformCode = 1;
    // A quarter turn about z: columns run to the front, rows to the left (RAS).
    file.quaternion = {0, 0, std::sqrt(0.5F), -10, -20, 30};
    Volume volume = read(file).volume;
    expect_point(volume, {0, 0, 0}, {10, 20, 30});
    expect_point(volume, {1, 0, 0}, {10, 19.5, 30});
    expect_point(volume, {0, 1, 0}, {10.75, 20, 30});
    expect_point(volume, {0, 0, 1}, {10, 20, 32});
    file.pixdim[0] = -1;  // turns the slices round
    volume = read(file).volume;
    expect_point(volume, {0, 1, 0}, {10.75, 20, 30});
    expect_point(volume, {0, 0, 1}, {10, 20, 28});
}

TEST(ReadNifti, QformOfAnyTurn) {
    for (const Seed seed : seeds(100)) {
        Random random(seed);
        Vec3 axis{static_cast<double>(random.real(-1, 1)), static_cast<double>(random.real(-1, 1)),
                  static_cast<double>(random.real(0.1F, 1))};
        const double norm = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
        for (double& x : axis) x /= norm;
        const double angle = random.once_in(8) ? M_PI : static_cast<double>(random.real(0, 3.14159F));
        NiftiFile file = plain();
        file.sformCode = 0;
        file.qformCode = 1;
        for (std::size_t i = 0; i < 3; ++i)
            file.quaternion[i] = static_cast<float>(axis[i] * std::sin(angle / 2));
        const Volume volume = read(file).volume;
        // Rodrigues' rotation of a step along each index, RAS.
        for (std::size_t i = 0; i < 3; ++i) {
            Vec3 step{}, index{};
            step[i] = static_cast<double>(file.pixdim[i + 1]);
            index[i] = 1;
            const double along = axis[i] * step[i] * (1 - std::cos(angle));
            const Vec3 turned{step[0] * std::cos(angle) +
                                  (axis[1] * step[2] - axis[2] * step[1]) * std::sin(angle) + axis[0] * along,
                              step[1] * std::cos(angle) +
                                  (axis[2] * step[0] - axis[0] * step[2]) * std::sin(angle) + axis[1] * along,
                              step[2] * std::cos(angle) +
                                  (axis[0] * step[1] - axis[1] * step[0]) * std::sin(angle) +
                                  axis[2] * along};
            const Vec3 found = volume.grid().toPhysical(index);
            EXPECT_NEAR(found[0], -turned[0], 2e-3) << replay(seed);
            EXPECT_NEAR(found[1], -turned[1], 2e-3) << replay(seed);
            EXPECT_NEAR(found[2], turned[2], 2e-3) << replay(seed);
        }
    }
}

TEST(ReadNifti, DifferingFormsAreBothNamed) {
    NiftiFile file = plain();
    file.qformCode = 1;
    file.sformCode = 2;
    file.quaternion = {0, 0, 0, -10, -20, 37};
    const ReadResult result = read(file);
    EXPECT_TRUE(warned(result, "sform (code 2) and qform (code 1) differ by up to 7 mm"));
    expect_point(result.volume, {0, 0, 0}, {10, 20, 30});
    file.quaternion[5] = 30;
    EXPECT_TRUE(read(file).warnings.empty());
}

TEST(ReadNifti, NoFormIsTold) {
    NiftiFile file = plain();
    file.sformCode = 0;
    const ReadResult result = read(file);
    EXPECT_TRUE(warned(result, "no orientation"));
    EXPECT_EQ(result.volume.grid().spacing, (Vec3{0.5, 0.75, 2}));
}

TEST(ReadNifti, UnitsCount) {
    NiftiFile file = plain();
    file.units = 3;  // micrometres
    for (auto& row : file.srow) {
        for (float& entry : row) entry *= 1000;
    }
    for (std::size_t axis = 1; axis < 4; ++axis) file.pixdim[axis] *= 1000;
    EXPECT_NEAR(read(file).volume.grid().spacing[2], 2, 1e-6);
}

TEST(ReadNifti, ScalingBecomesTheRescaleAndSamplesStay) {
    NiftiFile file = plain();
    file.slope = 0.1F;
    file.intercept = -7;
    const Volume volume = read(file).volume;
    EXPECT_EQ(volume.kind(), SampleKind::Int16);
    EXPECT_EQ(stored(volume, 3, 2, 1), 1300);
    EXPECT_FLOAT_EQ(static_cast<float>(volume.rescale.slope), 0.1F);
    EXPECT_EQ(volume.rescale.intercept, -7);
}

TEST(ReadNifti, CompressedAndBigEndian) {
    const TemporaryFolder folder;
    NiftiFile file = plain();
    write_bytes(folder / "a.nii.gz", gzipped(file.bytes()));
    EXPECT_EQ(stored(read_volume(folder / "a.nii.gz").volume, 3, 2, 1), 1300);
    file.bigEndian = true;
    for (std::size_t i = 0; i < file.samples.size(); i += 2) std::swap(file.samples[i], file.samples[i + 1]);
    EXPECT_EQ(stored(read(file).volume, 3, 2, 1), 1300);
}

TEST(ReadNifti, CutFilesAreRefusedWithTheNumbers) {
    const TemporaryFolder folder;
    const Bytes whole = plain().bytes();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        write_bytes(folder / "cut.nii",
                    Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        expect_refused(folder / "cut.nii", {}, {"cut.nii"});
    }
    expect_refused(folder / "cut.nii", {}, {"promises 48 bytes", "holds 47"});
    const Bytes packed = gzipped(whole);
    for (std::size_t length = 0; length < packed.size(); ++length) {
        write_bytes(folder / "cut.nii.gz",
                    Bytes(packed.begin(), packed.begin() + static_cast<std::ptrdiff_t>(length)));
        expect_refused(folder / "cut.nii.gz", {}, {"cut.nii.gz"});
    }
    Bytes wrong = packed;
    wrong[packed.size() - 6] ^= 1;  // the checksum
    write_bytes(folder / "cut.nii.gz", wrong);
    expect_refused(folder / "cut.nii.gz", {}, {"damaged"});
}

TEST(ReadNifti, FourDimensionsOnlyIfTheFourthIsOne) {
    NiftiFile file = plain();
    file.dim = {2, 3, 2, 2};
    const TemporaryFolder folder;
    write_bytes(folder / "a.nii", file.bytes());
    expect_refused(folder / "a.nii", {}, {"a.nii", "2 volumes", "dimension 4"});
    file.dim = {4, 3, 2, 1};
    EXPECT_EQ(read(file).volume.grid().size, (std::array<int, 3>{4, 3, 2}));
    file.dim = {4, 6};
    EXPECT_EQ(read(file).volume.grid().size, (std::array<int, 3>{4, 6, 1}));
}

TEST(ReadNifti, OtherHeadersAreRefused) {
    const TemporaryFolder folder;
    const auto refused = [&](const NiftiFile& file, std::initializer_list<const char*> parts) {
        write_bytes(folder / "a.nii", file.bytes());
        expect_refused(folder / "a.nii", {}, parts);
    };
    NiftiFile file = plain();
    file.datatype = 32;
    refused(file, {"type 32"});
    file = plain();
    file.bitpix = 8;
    refused(file, {"8 bits"});
    file = plain();
    file.dim = {4, -3, 2};
    refused(file, {"size of -3"});
    file = plain();
    file.offset = std::numeric_limits<float>::quiet_NaN();
    refused(file, {"begin at byte nan"});
    file = plain();
    file.srow[0] = {};
    refused(file, {"spacing of 0"});
    file = plain();
    file.srow[0][1] = 0.5F;
    refused(file, {"right angles"});
    file = plain();
    file.srow[0][3] = std::numeric_limits<float>::infinity();
    refused(file, {"not a number"});
    file = plain();
    file.srow[0][1] = 1e-40F;
    refused(file, {"too small"});
    file = plain();
    file.srow[0][3] = -2.1e38F;  // too much for a decomposition that never ends then
    refused(file, {"too large"});
}

TEST(ReadNifti, ShearedSlicesAreRefused) {
    NiftiFile file = plain();
    file.srow[1][2] = 0.6F;  // each slice 0.6 mm further to the front
    const TemporaryFolder folder;
    write_bytes(folder / "a.nii", file.bytes());
    expect_refused(folder / "a.nii", {}, {"tilted", "16.7 degrees"});
    expect_refused(folder / "a.nii", {true, {}, {}}, {"a.nii", "ITK", "orthonormal direction cosines"});
    // With a qform beside it ITK takes the samples, and their places are ours to tell.
    file.qformCode = 1;
    file.quaternion = {0, 0, 0, -10, -20, 30};
    write_bytes(folder / "a.nii", file.bytes());
    const ReadResult result = read_volume(folder / "a.nii", {true, {}, {}});
    EXPECT_TRUE(warned(result, "differ by up to 0.6 mm"));
    const Volume& volume = result.volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{4, 4, 2}));
    expect_point(volume, {0, 0, 1}, {10, 20, 32});
    // 0.6 mm of 0.75: row 1 of the second plane lies 0.2 of a row after its row 0.
    EXPECT_EQ(stored(volume, 2, 1, 1), 12 * 100 + 200 + 80 - 1000);
}

template <class T>
NiftiFile of_type(int datatype, const std::vector<T>& values) {
    NiftiFile file;
    file.datatype = datatype;
    file.bitpix = static_cast<int>(sizeof(T)) * 8;
    file.dim = {static_cast<int>(values.size()), 1, 1};
    file.samples = bytes_of_values(values);
    return file;
}

TEST(ReadSampleTypes, EightBitsStayEightBits) {
    const Volume volume = read(of_type<std::uint8_t>(2, {0, 127, 128, 255})).volume;
    EXPECT_EQ(volume.kind(), SampleKind::UInt8);
    EXPECT_EQ(stored(volume, 3, 0, 0), 255);
    const Volume wide = read(of_type<std::int8_t>(256, {-128, -1, 0, 127})).volume;
    EXPECT_EQ(wide.kind(), SampleKind::Int16);
    EXPECT_EQ(stored(wide, 0, 0, 0), -128);
}

TEST(ReadSampleTypes, UnsignedSixteenBits) {
    const ReadResult low = read(of_type<std::uint16_t>(512, {0, 32767}));
    EXPECT_TRUE(low.warnings.empty());
    EXPECT_FALSE(low.volume.isSigned);
    const ReadResult high = read(of_type<std::uint16_t>(512, {0, 32768, 65535}));
    EXPECT_TRUE(warned(high, "65535"));
    EXPECT_EQ(stored(high.volume, 0, 0, 0), -32768);
    EXPECT_EQ(stored(high.volume, 2, 0, 0), 32767);
    EXPECT_EQ(high.volume.rescale.intercept, 32768);
}

TEST(ReadSampleTypes, ThirtyTwoBitIntegersThatFit) {
    EXPECT_EQ(stored(read(of_type<std::int32_t>(8, {-32768, 32767})).volume, 0, 0, 0), -32768);
    const ReadResult high = read(of_type<std::uint32_t>(768, {1, 65535}));
    EXPECT_EQ(high.volume.rescale.intercept, 32768);
    EXPECT_EQ(stored(high.volume, 1, 0, 0), 32767);
    const TemporaryFolder folder;
    write_bytes(folder / "a.nii", of_type<std::int32_t>(8, {-5, 70000}).bytes());
    expect_refused(folder / "a.nii", {}, {"32-bit signed", "-5 to 70000"});
    write_bytes(folder / "a.nii", of_type<std::int32_t>(8, {-1, 65535}).bytes());
    expect_refused(folder / "a.nii", {}, {"-1 to 65535"});
    write_bytes(folder / "a.nii", of_type<std::uint32_t>(768, {0, 4294967295U}).bytes());
    expect_refused(folder / "a.nii", {}, {"4294967295"});
}

TEST(ReadSampleTypes, FloatsOnlyWithARange) {
    NiftiFile file = of_type<float>(16, {-2.5F, 0, 1.25F, 7.5F, 9, -3});
    const TemporaryFolder folder;
    write_bytes(folder / "a.nii", file.bytes());
    expect_refused(folder / "a.nii", {}, {"32-bit float", "-3 to 9", "--float-range"});
    const ReadResult result = read(file, {false, {}, {{-2.5, 7.5}}});
    EXPECT_EQ(result.warnings.size(), 1U);
    EXPECT_TRUE(warned(result, "2 samples outside -2.5 to 7.5"));
    const Volume& volume = result.volume;
    const double step = 10.0 / 65535;
    for (const auto& [i, value] : {std::pair{0, -2.5}, {1, 0.0}, {2, 1.25}, {3, 7.5}, {4, 7.5}, {5, -2.5}})
        EXPECT_NEAR(stored(volume, i, 0, 0) * volume.rescale.slope + volume.rescale.intercept, value,
                    0.501 * step);
    EXPECT_EQ(stored(volume, 0, 0, 0), -32768);
    EXPECT_EQ(stored(volume, 3, 0, 0), 32767);
    expect_refused(folder / "a.nii", {false, {}, {{3, 3}}}, {"3 to 3"});
    EXPECT_EQ(stored(read(of_type<double>(64, {0.0, 1.0}), {false, {}, {{0, 1}}}).volume, 1, 0, 0), 32767);
}

TEST(ReadSampleTypes, NiftiSamplesThatAreNoNumberAreReadAsZeroAndTold) {
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    std::vector<float> values(70000, 0.5F);  // longer than the pieces in which a file is looked through
    values[0] = nan;
    values[40000] = inf;
    values[69999] = -inf;
    NiftiFile file = of_type<float>(16, values);
    file.dim = {700, 100, 1};
    const rzobl::ReadOptions options{false, {}, {{-1, 1}}};
    const auto expect_zeroes = [&](const ReadResult& result) {
        EXPECT_TRUE(warned(result, "3 of its samples are NaN or infinite and are read as 0"));
        for (const int i : {0, 40000, 69999}) {
            const Volume& volume = result.volume;
            EXPECT_NEAR(stored(volume, i % 700, i / 700, 0) * volume.rescale.slope + volume.rescale.intercept,
                        0, 2.0 / 65535);
        }
    };
    expect_zeroes(read(file, options));
    const TemporaryFolder folder;
    write_bytes(folder / "a.nii.gz", gzipped(file.bytes()));
    expect_zeroes(read_volume(folder / "a.nii.gz", options));
    file.bigEndian = true;
    for (std::size_t i = 0; i < file.samples.size(); i += 4)
        std::reverse(file.samples.begin() + static_cast<std::ptrdiff_t>(i),
                     file.samples.begin() + static_cast<std::ptrdiff_t>(i + 4));
    expect_zeroes(read(file, options));
    NiftiFile wide = of_type<double>(64, {0.0, std::numeric_limits<double>::quiet_NaN(), 1.0});
    EXPECT_TRUE(warned(read(wide, options), "1 of its samples"));
}

TEST(ReadSampleTypes, Colours) {
    NiftiFile file;
    file.datatype = 128;
    file.bitpix = 24;
    file.dim = {2, 1, 1};
    file.samples = {1, 2, 3, 250, 251, 252};
    const Volume volume = read(file).volume;
    ASSERT_EQ(volume.kind(), SampleKind::Rgb);
    EXPECT_EQ(stored(volume, 1, 0, 0), 250 | 251 << 8 | 252 << 16);
}

}  // namespace
