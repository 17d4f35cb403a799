// DICOM series that the test writes itself: order, place, which pictures belong together.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numeric>

#include "readers_dicom_writer.h"
#include "readers_support.h"
#include "tests/support/seeded.h"

namespace {

using namespace rz_test;
using rzobl::read_volume;
using rzobl::ReadResult;
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

struct Frame3 {
    Vector row, column, normal;
};

/// A right-handed frame turned by three random angles.
Frame3 random_frame(Random& random) {
    const auto angle = [&] { return static_cast<double>(random.real(-3.1F, 3.1F)); };
    const double a = angle(), b = angle(), c = angle();
    const Vector row{std::cos(a) * std::cos(b), std::sin(a) * std::cos(b), -std::sin(b)};
    const Vector column{std::cos(a) * std::sin(b) * std::sin(c) - std::sin(a) * std::cos(c),
                        std::sin(a) * std::sin(b) * std::sin(c) + std::cos(a) * std::cos(c),
                        std::cos(b) * std::sin(c)};
    return {row,
            column,
            {row[1] * column[2] - row[2] * column[1], row[2] * column[0] - row[0] * column[2],
             row[0] * column[1] - row[1] * column[0]}};
}

TEST(ReadDicomOrder, SortsAlongTheNormalWhateverTheNames) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 9, {0, 0, 1.25}, number_pixels);
    const ReadResult result = read_volume(folder.path());
    EXPECT_EQ(result.format, "DICOM");
    EXPECT_TRUE(result.warnings.empty());
    const rzobl::Grid& grid = result.volume.grid();
    EXPECT_EQ(grid.size, (std::array<int, 3>{6, 5, 9}));
    EXPECT_EQ(grid.spacing, (rzobl::Vec3{0.5, 0.5, 1.25}));
    for (int k = 0; k < 9; ++k) {
        EXPECT_EQ(stored(result.volume, 0, 0, k), 100 * k);
        EXPECT_EQ(stored(result.volume, 5, 4, k), 100 * k + 29);
    }
}

TEST(ReadDicomPlace, EverySampleLiesWhereItsSliceSaysInAnyOrientation) {
    for (const Seed seed : seeds(40)) {
        Random random(seed);
        const Frame3 frame = random_frame(random);
        DicomSlice like;
        like.alongRow = frame.row;
        like.alongColumn = frame.column;
        like.pixelSpacing = {0.75, 0.4};  // rows are 0.75 mm apart
        like.position = {-31.5, 12.25, 803};
        const double step = random.once_in(2) ? 2.5 : -2.5;  // file numbers run either way
        const TemporaryFolder folder;
        write_series(folder.path(), like, 4,
                     {step * frame.normal[0], step * frame.normal[1], step * frame.normal[2]}, number_pixels);
        const Volume volume = read_volume(folder.path()).volume;
        EXPECT_NEAR(volume.grid().spacing[0], 0.4, 1e-9);
        EXPECT_NEAR(volume.grid().spacing[1], 0.75, 1e-9);
        EXPECT_NEAR(volume.grid().spacing[2], 2.5, 1e-6);
        for (int k = 0; k < 4; ++k) {
            for (int j = 0; j < 5; j += 2) {
                for (int i = 0; i < 6; ++i) {
                    const int value = stored(volume, i, j, k), slice = value / 100;
                    ASSERT_EQ(value % 100, j * 6 + i) << replay(seed);
                    const rzobl::Vec3 where = volume.grid().toPhysical({double(i), double(j), double(k)});
                    for (std::size_t axis = 0; axis < 3; ++axis) {
                        const double expected = like.position[axis] + slice * step * frame.normal[axis] +
                                                i * 0.4 * frame.row[axis] + j * 0.75 * frame.column[axis];
                        ASSERT_NEAR(where[axis], expected, 1e-5) << replay(seed);
                    }
                }
            }
        }
    }
}

TEST(ReadDicomPlace, OneFileStandsForItsSeries) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 5, {0, 0, 1}, number_pixels);
    DicomSlice other;
    other.seriesUid = "1.2.3.5";
    write_dicom(folder / "other.dcm", other);
    write_text(folder / "broken.dcm", "no picture");
    const ReadResult result = read_volume(folder / "S3.dcm");
    EXPECT_EQ(result.volume.grid().size[2], 5);
    EXPECT_TRUE(warned(result, "broken.dcm"));
    const ReadResult single = read_volume(folder / "other.dcm");
    EXPECT_EQ(single.volume.grid().size[2], 1);
    EXPECT_TRUE(warned(single, "single slice"));
}

TEST(ReadDicomPlace, ThicknessNeverCounts) {
    const TemporaryFolder folder;
    DicomSlice like;
    like.thickness = 10;
    write_series(folder.path(), like, 3, {0, 0, 3}, number_pixels);
    EXPECT_DOUBLE_EQ(read_volume(folder.path()).volume.grid().spacing[2], 3);
}

TEST(ReadDicomPlace, RoundedPositionsAreToldAndKept) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 9, {0, 0, 0}, [](DicomSlice& slice, int k) {
        slice.position[2] = std::round(0.625 * k * 10) / 10;  // one decimal, as some scanners write
    });
    const ReadResult result = read_volume(folder.path());
    EXPECT_NEAR(result.volume.grid().spacing[2], 0.625, 1e-9);
    EXPECT_TRUE(warned(result, "0.6 to 0.7 mm"));
}

TEST(ReadDicomMultiframe, GroupsPlaceEachPicture) {
    std::vector<DicomSlice> slices(4);
    for (int k = 0; k < 4; ++k) {
        const int place = (k * 3 + 1) % 4;
        number_pixels(slices[static_cast<std::size_t>(k)], place);
        slices[static_cast<std::size_t>(k)].position = {10, 20, 30 + 2.0 * place};
        slices[static_cast<std::size_t>(k)].intercept = -1024;
    }
    const TemporaryFolder folder;
    write_multiframe_dicom(folder / "multi.dcm", slices, true);
    const Volume volume = read_volume(folder / "multi.dcm").volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{6, 5, 4}));
    EXPECT_DOUBLE_EQ(volume.grid().spacing[2], 2);
    EXPECT_DOUBLE_EQ(volume.rescale.intercept, -1024);
    for (int k = 0; k < 4; ++k) EXPECT_EQ(stored(volume, 2, 1, k), 100 * k + 8);
}

TEST(ReadDicomMultiframe, WithoutGroupsIsRefused) {
    const TemporaryFolder folder;
    write_multiframe_dicom(folder / "multi.dcm", std::vector<DicomSlice>(3), false);
    expect_refused(folder.path(), {}, {"multi.dcm", "where they lie"});
}

TEST(ReadDicomSeries, SeveralAreNamedAndChosen) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 4, {0, 0, 1}, number_pixels);
    DicomSlice other;
    other.columns = 8;
    other.seriesUid = "1.2.3.77";
    other.seriesNumber = "12";
    other.description = "HEAD 3.0";
    std::filesystem::create_directory(folder / "second");
    write_series(folder / "second", other, 3, {0, 0, 3}, number_pixels);
    expect_refused(folder.path(), {},
                   {"2 series", "number 7 'TEST', CT, 4 slices of 6 x 5", "number 12 'HEAD 3.0'",
                    "3 slices of 8 x 5", "1.2.3.77"});
    EXPECT_EQ(read_volume(folder.path(), {false, "12", {}}).volume.grid().size[0], 8);
    EXPECT_EQ(read_volume(folder.path(), {false, "1.2.3.4", {}}).volume.grid().size[0], 6);
    expect_refused(folder.path(), {false, "99", {}}, {"no series '99'", "number 12"});
}

TEST(ReadDicomSeries, LocalisersOfTheSameSeriesAreApart) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 4, {0, 0, 1}, number_pixels);
    DicomSlice localiser;
    localiser.alongRow = {0, 1, 0};
    localiser.alongColumn = {0, 0, -1};
    write_dicom(folder / "localiser.dcm", localiser);
    expect_refused(folder.path(), {}, {"number 1 ", "number 2 ", "1 slice of 6 x 5"});
    EXPECT_EQ(read_volume(folder / "S3.dcm").volume.grid().size[2], 4);
}

TEST(ReadDicomSeries, WhatIsNoPictureIsLeftOut) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 4, {0, 0, 1}, number_pixels);
    write_dicom_report(folder / "report.dcm");
    DicomSlice capture;
    capture.placed = false;
    write_dicom(folder / "capture.dcm", capture);
    write_text(folder / "notes.txt", "hello");
    const ReadResult result = read_volume(folder.path());
    EXPECT_EQ(result.volume.grid().size[2], 4);
    EXPECT_TRUE(warned(result, "capture.dcm"));
    expect_refused(folder / "report.dcm", {}, {"report.dcm", "without pictures"});
    expect_refused(folder / "capture.dcm", {}, {"capture.dcm", "ImagePositionPatient"});
}

TEST(ReadDicomSeries, CopiesAreLeftOutAndSecondVolumesRefused) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 4, {0, 0, 1}, number_pixels);
    std::filesystem::copy_file(folder / "S3.dcm", folder / "copy.dcm");
    const ReadResult result = read_volume(folder.path());
    EXPECT_EQ(result.volume.grid().size[2], 4);
    EXPECT_TRUE(warned(result, "1 slice"));
    DicomSlice phase;
    write_dicom(folder / "phase2.dcm", phase);
    expect_refused(folder.path(), {}, {"more than one volume", "phase2.dcm"});
}

TEST(ReadDicomSeries, MixedLayoutsAreRefused) {
    const TemporaryFolder folder;
    write_series(folder.path(), {}, 3, {0, 0, 1}, [](DicomSlice& slice, int k) { slice.isSigned = k == 1; });
    expect_refused(folder.path(), {}, {"stored in different ways"});
}

TEST(ReadDicomClaims, SmallFilesThatClaimMuchAreRefused) {
    const TemporaryFolder folder;
    DicomSlice slice;
    write_dicom(folder / "a.dcm", slice, Syntax::Rle);
    Bytes bytes = read_bytes(folder / "a.dcm");
    const Bytes rows{0x28, 0, 0x10, 0, 'U', 'S', 2, 0}, columns{0x28, 0, 0x11, 0, 'U', 'S', 2, 0};
    for (const Bytes& tag : {rows, columns}) {
        const auto at = std::search(bytes.begin(), bytes.end(), tag.begin(), tag.end());
        ASSERT_NE(at, bytes.end());
        at[8] = 0xff, at[9] = 0x7f;
    }
    write_bytes(folder / "a.dcm", bytes);
    expect_refused(folder / "a.dcm", {}, {"a.dcm", "2.0 GiB"});
}

TEST(ReadDicomClaims, FewerPixelsThanStatedAreRefused) {
    const TemporaryFolder folder;
    DicomSlice slice;
    write_dicom(folder / "a.dcm", slice);
    Bytes bytes = read_bytes(folder / "a.dcm");
    const Bytes rows{0x28, 0, 0x10, 0, 'U', 'S', 2, 0};
    const auto at = std::search(bytes.begin(), bytes.end(), rows.begin(), rows.end());
    at[8] = 50;
    write_bytes(folder / "a.dcm", bytes);
    expect_refused(folder / "a.dcm", {}, {"a.dcm"});
}

}  // namespace
