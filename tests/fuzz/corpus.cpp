#include <filesystem>
#include <string>
#include <vector>

#include "readers_dicom_writer.h"
#include "readers_nifti_bytes.h"
#include "readers_support.h"
#include "tests/support/seeded.h"

// Writes the inputs that the fuzzers start from: corpus <folder>. Each fuzzer has a folder of its name in it.

namespace {

using namespace rz_test;

Bytes noise(std::size_t count, Seed seed) {
    Random random(seed);
    Bytes bytes(count);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random.bits());
    return bytes;
}

class Folder {
  public:
    explicit Folder(const std::filesystem::path& path) : path_(path) {
        std::filesystem::create_directories(path);
    }
    void add(Bytes choices, const Bytes& content) {
        choices.insert(choices.end(), content.begin(), content.end());
        write_bytes(path_ / ("seed" + std::to_string(count_++)), choices);
    }
    void add(Bytes choices, const std::string& content) {
        add(choices, Bytes(content.begin(), content.end()));
    }

  private:
    std::filesystem::path path_;
    int count_ = 0;
};

/// For the makers of the tests: every first byte, with as many choices as a case may take.
void add_cases(const std::filesystem::path& path, int kinds) {
    Folder folder(path);
    for (int kind = 0; kind < kinds; ++kind) {
        for (const std::size_t size : {120U, 400U}) {
            const auto first = static_cast<std::uint8_t>(kind);
            folder.add({first}, noise(size, static_cast<Seed>(kind) * 1000 + size));
        }
    }
}

Bytes nifti(int datatype, int bitpix, const Bytes& samples) {
    NiftiFile file;
    file.dim = {5, 4, 3};
    file.datatype = datatype;
    file.bitpix = bitpix;
    file.samples = samples;
    return file.bytes();
}

std::string nrrd(const std::string& encoding) {
    return "NRRD0004\ntype: short\ndimension: 3\nspace: left-posterior-superior\nsizes: 5 4 3\n"
           "space directions: (0.5,0,0) (0,0.5,0) (0,0,2)\nkinds: domain domain domain\nendian: little\n"
           "encoding: " +
           encoding + "\nspace origin: (10,20,30)\n\n";
}

std::string metaimage(bool compressed) {
    return std::string("ObjectType = Image\nNDims = 3\nBinaryData = True\nBinaryDataByteOrderMSB = False\n") +
           "CompressedData = " + (compressed ? "True" : "False") +
           "\nTransformMatrix = 1 0 0 0 1 0 0 0 1\nOffset = 10 20 30\nElementSpacing = 0.5 0.75 2\n"
           "DimSize = 5 4 3\nElementType = MET_SHORT\nElementDataFile = LOCAL\n";
}

Bytes joined(const std::string& header, const Bytes& samples) {
    Bytes bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), samples.begin(), samples.end());
    return bytes;
}

Bytes dicom(Syntax syntax, int channels) {
    const TemporaryFolder folder;
    DicomSlice slice;
    slice.rows = slice.columns = 6;
    slice.channels = channels;
    if (channels == 3) {
        slice.photometric = "RGB";
        slice.bitsAllocated = slice.bitsStored = 8;
        slice.highBit = 7;
    }
    for (int i = 0; i < 36 * channels; ++i) slice.pixels.push_back(i * 7 % 256);
    slice.slope = 1;
    slice.intercept = -1024;
    write_dicom(folder / "a.dcm", slice, syntax);
    return read_bytes(folder / "a.dcm");
}

Bytes multiframe() {
    const TemporaryFolder folder;
    std::vector<DicomSlice> slices(3);
    for (std::size_t k = 0; k < slices.size(); ++k) slices[k].position = {0, 0, 2.0 * static_cast<double>(k)};
    write_multiframe_dicom(folder / "a.dcm", slices, true);
    return read_bytes(folder / "a.dcm");
}

void add_files(const std::filesystem::path& path) {
    Folder folder(path);
    const Bytes samples = noise(5 * 4 * 3 * 2, 7);
    for (const auto options : {std::uint8_t{0}, std::uint8_t{3}}) {
        for (const Syntax syntax : {Syntax::LittleExplicit, Syntax::LittleImplicit, Syntax::BigExplicit,
                                    Syntax::Deflated, Syntax::Rle, Syntax::JpegLossless, Syntax::JpegLs}) {
            folder.add({0, options}, dicom(syntax, 1));
        }
        folder.add({0, options}, dicom(Syntax::LittleExplicit, 3));
        folder.add({0, options}, multiframe());
        for (const auto name : {std::uint8_t{1}, std::uint8_t{2}}) {
            folder.add({name, options}, nifti(4, 16, samples));
            folder.add({name, options}, nifti(2, 8, noise(60, 1)));
            folder.add({name, options}, nifti(16, 32, noise(240, 2)));
        }
        folder.add({3, options}, joined(nrrd("raw"), samples));
        folder.add({3, options}, joined(nrrd("gzip"), gzipped(samples)));
        folder.add({3, options}, nrrd("ascii") + "1 2 3 4 5 6 7 8 9 10");
        folder.add({4, options}, joined(metaimage(false), samples));
        folder.add({4, options}, joined(metaimage(true), deflated(samples)));
        folder.add({5, options}, metaimage(false));
    }
}

void add_points(const std::filesystem::path& path) {
    Folder folder(path);
    folder.add({0}, std::string("1,2,3;4.5,-6,7e1;0,0,0"));
    folder.add({1}, std::string("x,y,z\n1,2,3\n4,5,6\n"));
    folder.add({1}, std::string("# Markups fiducial file version = 4.11\n# CoordinateSystem = LPS\n"
                                "# columns = id,x,y,z,ow,ox,oy,oz,vis,sel,lock,label,desc,associatedNodeID\n"
                                "1,10.5,-20,30,0,0,0,1,1,1,0,F-1,,\n2,11,-21,31,0,0,0,1,1,1,0,F-2,,\n"));
    folder.add({1}, std::string("r a s\n1 2 3\n-4 5e2 6\n"));
    folder.add({2}, std::string("[[1,2,3],[4,5,6]]"));
    folder.add(
        {2}, std::string(R"({"coordinateSystem":"RAS","points":[{"x":1,"y":2,"z":3},{"x":4,"y":5,"z":6}]})"));
    folder.add({2}, std::string(R"({"markups":[{"type":"Curve","coordinateSystem":"LPS","controlPoints":)"
                                R"([{"position":[1,2,3]},{"position":[4,5,6]}]}]})"));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::filesystem::path folder = argv[1];
    add_cases(folder / "entries", 16);
    add_cases(folder / "kernels", 16);
    add_cases(folder / "planar", 4);
    add_cases(folder / "curved", 2);
    add_cases(folder / "slabs", 16);
    add_cases(folder / "resample", 2);
    add_cases(folder / "boxes", 2);
    add_cases(folder / "volumes", 5);
    add_files(folder / "readers");
    add_points(folder / "points");
    return 0;
}
