#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <itkMetaImageIO.h>
#include <itkNiftiImageIO.h>
#include <itkNrrdImageIO.h>

#include "tests/toolkit/core_fields.h"
#include "tests/toolkit/decode_png.h"
#include "tests/toolkit/names_in.h"
#include "tests/toolkit/readers_support.h"
#include "toolkit/core/error.h"
#include "toolkit/io/output_file.h"
#include "toolkit/io/write_volume.h"

// What was written is read back by ITK's readers and by libpng, and compared with what was meant.

namespace rz_test {

namespace fs = std::filesystem;
using namespace rzobl;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct ReadBack {
    itk::ImageIOBase::Pointer io;
    std::vector<char> samples;
};

ReadBack read_back(const fs::path& path) {
    const std::string name = path.string();
    ReadBack result;
    if (name.find(".mha") != std::string::npos)
        result.io = itk::MetaImageIO::New().GetPointer();
    else if (name.find(".nrrd") != std::string::npos)
        result.io = itk::NrrdImageIO::New().GetPointer();
    else
        result.io = itk::NiftiImageIO::New().GetPointer();
    itk::ImageIOBase& io = *result.io;
    EXPECT_TRUE(io.CanReadFile(name.c_str()));
    io.SetFileName(name);
    io.ReadImageInformation();
    itk::ImageIORegion region(io.GetNumberOfDimensions());
    for (unsigned axis = 0; axis < io.GetNumberOfDimensions(); ++axis)
        region.SetSize(axis, io.GetDimensions(axis));
    io.SetIORegion(region);
    result.samples.resize(static_cast<std::size_t>(io.GetImageSizeInBytes()));
    io.Read(result.samples.data());
    return result;
}

void expect_geometry(const itk::ImageIOBase& io, const Grid& grid, double tolerance) {
    ASSERT_EQ(io.GetNumberOfDimensions(), 3U);
    for (unsigned axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(io.GetDimensions(axis), static_cast<unsigned>(grid.size[axis]));
        EXPECT_NEAR(io.GetSpacing(axis), grid.spacing[axis], tolerance);
        EXPECT_NEAR(io.GetOrigin(axis), grid.origin[axis], tolerance * 100);
        for (unsigned k = 0; k < 3; ++k)
            EXPECT_NEAR(io.GetDirection(axis)[k], grid.direction[axis][k], tolerance) << axis << ' ' << k;
    }
}

Volume noise(Random& random, const Grid& grid, SampleKind kind) {
    Volume volume = Volume::allocate(grid, kind);
    const auto bytes = static_cast<std::size_t>(grid.size[0] * grid.size[1]) * bytesPerSample(kind);
    for (int k = 0; k < grid.size[2]; ++k)
        for (std::size_t i = 0; i < bytes; ++i)
            static_cast<unsigned char*>(volume.raster(k))[i] =
                kind == SampleKind::Rgb && i % 4 == 3 ? 0
                                                      : static_cast<unsigned char>(random.between(0, 255));
    return volume;
}

/// All samples in file order, colours as three bytes.
std::vector<char> packed(const Volume& volume) {
    std::vector<char> out;
    const Grid& grid = volume.grid();
    const std::size_t step = bytesPerSample(volume.kind());
    for (int k = 0; k < grid.size[2]; ++k) {
        const char* sample = static_cast<const char*>(volume.raster(k));
        for (int i = 0; i < grid.size[0] * grid.size[1]; ++i, sample += step)
            out.insert(out.end(), sample, sample + (volume.kind() == SampleKind::Rgb ? 3 : step));
    }
    return out;
}

std::string file_bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string refusal(const std::function<void()>& write) {
    try {
        write();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}

Image small_picture() {
    Image image;
    image.grid.size = {3, 2, 1};
    image.grid.spacing = {0.5, 0.5, 4};
    image.lastRow = 1;
    image.lastColumn = 2;
    const std::int16_t samples[6] = {-1000, 0, 40, 140, 240, 3000};
    image.samples.resize(sizeof samples);
    std::memcpy(image.samples.data(), samples, sizeof samples);
    return image;
}

class WriteVolume : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(WriteVolume, ComesBackWithItsSamplesAndItsPlace) {
    const TemporaryFolder folder;
    // NIfTI holds positions and directions as floats.
    const double tolerance = std::string(GetParam()).find("nii") == std::string::npos ? 1e-12 : 2e-6;
    for (const Seed seed : seeds(30)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Grid grid = random_grid(random, 2, 9);
        const SampleKind kind = random.pick({SampleKind::Int16, SampleKind::UInt8, SampleKind::Rgb});
        Volume volume = noise(random, grid, kind);
        if (kind != SampleKind::Rgb) volume.isSigned = random.once_in(2);
        const fs::path path = folder / ("v" + std::to_string(seed) + GetParam());
        write_volume(volume, path, false);
        const ReadBack back = read_back(path);
        expect_geometry(*back.io, grid, tolerance);
        EXPECT_EQ(back.samples, packed(volume));
        EXPECT_EQ(back.io->GetNumberOfComponents(), kind == SampleKind::Rgb ? 3U : 1U);
        const itk::IOComponentEnum want =
            kind == SampleKind::Int16
                ? (volume.isSigned ? itk::IOComponentEnum::SHORT : itk::IOComponentEnum::USHORT)
            : kind == SampleKind::UInt8 && volume.isSigned ? itk::IOComponentEnum::CHAR
                                                           : itk::IOComponentEnum::UCHAR;
        EXPECT_EQ(back.io->GetComponentType(), want);
        if (HasFailure()) return;
    }
}

TEST_P(WriteVolume, WritesAPictureAsOneSliceInSpace) {
    const TemporaryFolder folder;
    Random random(3);
    Volume volume = noise(random, random_grid(random, 20, 30), SampleKind::Int16);
    PlaneRequest request = random_plane(random, volume.grid());
    request.thickness = 3;
    const Image image = reformat(volume, request);
    const fs::path path = folder / (std::string("picture") + GetParam());
    write_volume(image, path, false);
    const ReadBack back = read_back(path);
    expect_geometry(*back.io, image.grid,
                    std::string(GetParam()).find("nii") == std::string::npos ? 1e-12 : 2e-6);
    ASSERT_EQ(back.samples.size(), image.samples.size());
    EXPECT_EQ(std::memcmp(back.samples.data(), image.samples.data(), image.samples.size()), 0);
}

TEST_P(WriteVolume, LeavesAnExistingFileUnlessForced) {
    const TemporaryFolder folder;
    const fs::path path = folder / (std::string("picture") + GetParam());
    std::ofstream(path) << "mine";
    EXPECT_THAT(refusal([&] { write_volume(small_picture(), path, false); }), HasSubstr("--force"));
    EXPECT_EQ(file_bytes(path), "mine");
    EXPECT_EQ(names_in(folder.path()).size(), 1U);
    EXPECT_EQ(refusal([&] { write_volume(small_picture(), path, true); }), "");
    EXPECT_GT(file_bytes(path).size(), 12U);
    EXPECT_EQ(names_in(folder.path()).size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Formats, WriteVolume, testing::Values(".mha", ".nrrd", ".nii", ".nii.gz"),
                         [](const auto& format) {
                             std::string name = format.param + 1;
                             name.erase(std::remove(name.begin(), name.end(), '.'), name.end());
                             return name;
                         });

TEST(WriteRescale, StandsWhereReadersLookForIt) {
    const TemporaryFolder folder;
    Image image = small_picture();
    image.rescale = {0.25, -1024.5};
    write_volume(image, folder / "a.mha", false);
    EXPECT_THAT(file_bytes(folder / "a.mha"), HasSubstr("ElementToIntensityFunctionSlope = 0.25\n"));
    EXPECT_THAT(file_bytes(folder / "a.mha"), HasSubstr("ElementToIntensityFunctionOffset = -1024.5\n"));
    write_volume(image, folder / "a.nrrd", false);
    EXPECT_THAT(file_bytes(folder / "a.nrrd"), HasSubstr("rescale_slope:=0.25\n"));
    EXPECT_THAT(file_bytes(folder / "a.nrrd"), HasSubstr("rescale_intercept:=-1024.5\n"));
    write_volume(image, folder / "a.nii", false);
    const std::string header = file_bytes(folder / "a.nii");
    float slope, intercept;
    std::memcpy(&slope, &header[112], 4);
    std::memcpy(&intercept, &header[116], 4);
    EXPECT_EQ(slope, 0.25F);
    EXPECT_EQ(intercept, -1024.5F);
}

TEST(WritePng, HoldsTheGreysOfTheWindow) {
    const TemporaryFolder folder;
    write_png(small_picture(), {140, 200}, folder / "a.png", false);
    const Decoded picture = decode_png(folder / "a.png");
    EXPECT_EQ(picture.width, 3);
    EXPECT_EQ(picture.height, 2);
    EXPECT_FALSE(picture.colour);
    EXPECT_THAT(picture.bytes, ElementsAre(0, 0, 0, 128, 255, 255));
    EXPECT_THAT(names_in(folder.path()), ElementsAre("a.png"));
}

TEST(WritePng, TellsTheSizeOfAPixel) {
    const TemporaryFolder folder;
    write_png(small_picture(), {40, 400}, folder / "a.png", false);
    const std::string bytes = file_bytes(folder / "a.png");
    const std::size_t at = bytes.find("pHYs");
    ASSERT_NE(at, std::string::npos);
    // 0.5 mm are 2000 pixels per metre: 0x7d0, both ways, unit 1.
    EXPECT_EQ(bytes.substr(at + 4, 9), std::string("\0\0\7\xd0\0\0\7\xd0\1", 9));
}

TEST(WritePng, ColoursKeepTheirChannels) {
    const TemporaryFolder folder;
    Image image;
    image.kind = SampleKind::Rgb;
    image.grid.size = {2, 1, 1};
    const std::uint32_t samples[2] = {0x00102030, 0x00ff8000};
    image.samples.resize(sizeof samples);
    std::memcpy(image.samples.data(), samples, sizeof samples);
    write_png(image, auto_window(image), folder / "a.png", false);
    const Decoded picture = decode_png(folder / "a.png");
    EXPECT_TRUE(picture.colour);
    EXPECT_THAT(picture.bytes, ElementsAre(0x30, 0x20, 0x10, 0x00, 0x80, 0xff));
}

TEST(WriteRefusals, LeaveNothingBehind) {
    const TemporaryFolder folder;
    const Image image = small_picture();
    const Window window{40, 400};
    EXPECT_THAT(refusal([&] {
                    write_png(image, {0, 0}, folder / "a.png", false);
                }),
                HasSubstr("width of a window"));
    EXPECT_THAT(refusal([&] { write_png(image, window, folder / "none" / "a.png", false); }),
                HasSubstr("no folder"));
    EXPECT_THAT(refusal([&] { write_png(image, window, folder.path(), true); }), HasSubstr("it is a folder"));
    EXPECT_THAT(refusal([&] { write_png(image, window, "/dev/full", true); }),
                HasSubstr("not a regular file"));
    EXPECT_THAT(refusal([&] { write_volume(image, folder / "a.tiff", false); }),
                HasSubstr("cannot tell the format"));
    EXPECT_THAT(refusal([&] { write_volume(image, folder / "nii", false); }),
                HasSubstr("cannot tell the format"));
    EXPECT_THAT(refusal([&] { write_volume(image, folder / "a.png", false); }), HasSubstr("not a volume"));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

TEST(WriteOutputFile, AppearsOnlyWhenCommitted) {
    const TemporaryFolder folder;
    {
        OutputFile output(folder / "a.nii.gz", false);
        EXPECT_THAT(output.temporary().string(), testing::EndsWith(".nii.gz"));
        EXPECT_EQ(names_in(folder.path()).size(), 1U);
        EXPECT_FALSE(fs::exists(folder / "a.nii.gz"));
    }
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
    {
        OutputFile output(folder / "a.png", false);
        std::ofstream(output.temporary()) << "whole";
        output.commit();
    }
    EXPECT_EQ(file_bytes(folder / "a.png"), "whole");
    EXPECT_THAT(names_in(folder.path()), ElementsAre("a.png"));
}

TEST(WriteOutputFile, DoesNotReplaceAFileThatCameMeanwhile) {
    const TemporaryFolder folder;
    OutputFile output(folder / "a.png", false);
    std::ofstream(folder / "a.png") << "theirs";
    EXPECT_THROW(output.commit(), Error);
    EXPECT_EQ(file_bytes(folder / "a.png"), "theirs");
}

TEST(WriteOutputFile, RemovesTheUnfinishedFileForASignalHandler) {
    const TemporaryFolder folder;
    OutputFile output(folder / "a.png", false);
    OutputFile::remove_unfinished();
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

}  // namespace rz_test
