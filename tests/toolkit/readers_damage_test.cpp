// Small files of every format, cut, flipped and overwritten at random: a reader refuses or reads, in little
// time and memory, and nothing else.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <functional>

#include "readers_dicom_writer.h"
#include "readers_nifti_bytes.h"
#include "tests/support/seeded.h"
#include "toolkit/core/error.h"

namespace {

using namespace rz_test;

Bytes damaged(Bytes bytes, Random& random) {
    const auto place = [&] {
        return static_cast<std::size_t>(random.between(0, static_cast<int>(bytes.size()) - 1));
    };
    if (random.once_in(4)) bytes.resize(place() + 1);
    for (int n = random.between(0, 6); n > 0; --n)
        bytes[place()] ^= static_cast<std::uint8_t>(1 << random.between(0, 7));
    if (random.once_in(4))
        bytes[place()] = random.pick<std::uint8_t>({0, 1, 0x7f, 0x80, 0xff, ' ', '\n', '-', '9'});
    if (random.once_in(6)) {
        const std::size_t from = place(), count = std::min<std::size_t>(bytes.size() - from, 16);
        const Bytes piece(bytes.begin() + static_cast<std::ptrdiff_t>(from),
                          bytes.begin() + static_cast<std::ptrdiff_t>(from + count));
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(place()), piece.begin(), piece.end());
    }
    return bytes;
}

long peak_megabytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

/// Counts outcomes; every other exception and every crash fails the test.
void survive(const std::string& name, const Bytes& whole, int count) {
    const TemporaryFolder folder;
    write_bytes(folder / name, whole);
    ASSERT_NO_THROW(rzobl::read_volume(folder / name)) << "the undamaged file";
    const long before = peak_megabytes();
    int refused = 0;
    for (const Seed seed : seeds(count)) {
        Random random(seed);
        write_bytes(folder / name, damaged(whole, random));
        rzobl::ReadOptions options;
        options.regrid = random.once_in(2);
        const auto start = std::chrono::steady_clock::now();
        try {
            rzobl::read_volume(folder / name, options);
        } catch (const rzobl::Error& error) {
            ++refused;
            ASSERT_EQ(std::string(error.what()).find('\n'), std::string::npos)
                << error.what() << ' ' << replay(seed);
        } catch (const std::exception& other) {
            FAIL() << other.what() << ' ' << replay(seed);
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        ASSERT_LT(took.count(), 10) << replay(seed);
    }
    EXPECT_TRUE(is_replay() || refused > count / 4) << refused;
    // Damage within headers can promise more than the file holds, but never make the reader believe it.
    EXPECT_LT(peak_megabytes() - before, 700);
}

Bytes noise(std::size_t count) {
    Bytes bytes(count);
    Random random(5);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random.bits());
    return bytes;
}

Bytes nifti() {
    NiftiFile file;
    file.dim = {8, 7, 5};
    file.qformCode = 1;
    file.quaternion = {0, 0, 0, -10, -20, 30};
    file.samples = noise(8 * 7 * 5 * 2);
    return file.bytes();
}

Bytes with_header(const std::string& header, const Bytes& samples) {
    Bytes bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), samples.begin(), samples.end());
    return bytes;
}

Bytes nrrd(const std::string& encoding, const Bytes& samples) {
    return with_header(
        "NRRD0004\ntype: short\ndimension: 3\nspace: left-posterior-superior\nsizes: 8 7 5\n"
        "space directions: (0.5,0,0) (0,0.5,0) (0,0,2)\nkinds: domain domain domain\nendian: little\n"
        "encoding: " +
            encoding + "\nspace origin: (10,20,30)\nrescale_slope:=1\n\n",
        samples);
}

Bytes metaimage(bool compressed, const Bytes& samples) {
    return with_header(
        std::string("ObjectType = Image\nNDims = 3\nBinaryData = True\n") +
            "BinaryDataByteOrderMSB = False\nCompressedData = " +
            (compressed ? "True\nCompressedDataSize = " + std::to_string(samples.size()) : "False") +
            "\nTransformMatrix = 1 0 0 0 1 0 0 0 1\nOffset = 10 20 30\nCenterOfRotation = 0 0 0\n"
            "AnatomicalOrientation = RAI\nElementSpacing = 0.5 0.75 2\nDimSize = 8 7 5\n"
            "ElementType = MET_SHORT\nElementDataFile = LOCAL\n",
        samples);
}

Bytes dicom(Syntax syntax) {
    const TemporaryFolder folder;
    DicomSlice slice;
    slice.rows = slice.columns = 24;
    Random random(9);
    for (int i = 0; i < 24 * 24; ++i) slice.pixels.push_back(random.between(0, 4095));
    slice.padding = 0;
    slice.slope = 1;
    slice.intercept = -1024;
    write_dicom(folder / "a.dcm", slice, syntax);
    return read_bytes(folder / "a.dcm");
}

Bytes multiframe() {
    const TemporaryFolder folder;
    std::vector<DicomSlice> slices(4);
    for (std::size_t k = 0; k < 4; ++k) slices[k].position = {0, 0, 2.0 * static_cast<double>(k)};
    write_multiframe_dicom(folder / "a.dcm", slices, true);
    return read_bytes(folder / "a.dcm");
}

const Bytes& samples() {
    static const Bytes bytes = noise(8 * 7 * 5 * 2);
    return bytes;
}

TEST(ReadDamaged, Nifti) {
    survive("a.nii", nifti(), 600);
}
TEST(ReadDamaged, NiftiGzip) {
    survive("a.nii.gz", gzipped(nifti()), 400);
}
TEST(ReadDamaged, Nrrd) {
    survive("a.nrrd", nrrd("raw", samples()), 600);
}
TEST(ReadDamaged, NrrdGzip) {
    survive("a.nrrd", nrrd("gzip", gzipped(samples())), 400);
}
TEST(ReadDamaged, MetaImage) {
    survive("a.mha", metaimage(false, samples()), 600);
}
TEST(ReadDamaged, MetaImageCompressed) {
    survive("a.mha", metaimage(true, deflated(samples())), 400);
}
TEST(ReadDamaged, Dicom) {
    survive("a.dcm", dicom(Syntax::LittleExplicit), 600);
}
TEST(ReadDamaged, DicomImplicit) {
    survive("a.dcm", dicom(Syntax::LittleImplicit), 400);
}
TEST(ReadDamaged, DicomDeflated) {
    survive("a.dcm", dicom(Syntax::Deflated), 300);
}
TEST(ReadDamaged, DicomRle) {
    survive("a.dcm", dicom(Syntax::Rle), 400);
}
TEST(ReadDamaged, DicomJpeg) {
    survive("a.dcm", dicom(Syntax::JpegLossless), 400);
}
TEST(ReadDamaged, DicomJpegLs) {
    survive("a.dcm", dicom(Syntax::JpegLs), 400);
}
TEST(ReadDamaged, DicomMultiframe) {
    survive("a.dcm", multiframe(), 400);
}

}  // namespace
