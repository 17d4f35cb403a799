// What a person may point the readers at by mistake.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

#include "readers_dicom_writer.h"
#include "readers_support.h"

namespace {

using namespace rz_test;
namespace fs = std::filesystem;

TEST(ReadBadInput, NothingThere) {
    expect_refused("/nowhere/at-all", {}, {"/nowhere/at-all", "does not exist"});
}

TEST(ReadBadInput, EmptyFolder) {
    const TemporaryFolder folder;
    expect_refused(folder.path(), {}, {folder.path().c_str(), "no DICOM"});
}

TEST(ReadBadInput, UnreadableFile) {
    const TemporaryFolder folder;
    write_text(folder / "secret.nii", "x");
    fs::create_directory(folder / "locked");
    write_text(folder / "locked/a.nii", "x");
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(folder / "secret.nii", fs::perms::none);
    fs::permissions(folder / "locked", fs::perms::none);
    // Root reads everything: be nobody for a while.
    const uid_t user = geteuid();
    ASSERT_EQ(user == 0 ? seteuid(65534) : 0, 0);
    expect_refused(folder / "secret.nii", {}, {"secret.nii", "cannot be opened", "denied"});
    expect_refused(folder / "locked", {}, {"locked", "denied"});
    expect_refused(folder / "locked/a.nii", {}, {"locked/a.nii", "denied"});
    ASSERT_EQ(user == 0 ? seteuid(user) : 0, 0);
    fs::permissions(folder / "locked", fs::perms::owner_all);
}

TEST(ReadBadInput, NotARegularFile) {
    expect_refused("/dev/zero", {}, {"/dev/zero", "not a regular file"});
}

TEST(ReadBadInput, TextNamedAsDicom) {
    const TemporaryFolder folder;
    write_text(folder / "notes.dcm", "These are notes.\n");
    expect_refused(folder / "notes.dcm", {}, {"notes.dcm", "not a DICOM file"});
    expect_refused(folder.path(), {}, {"notes.dcm", "not a DICOM file"});
}

TEST(ReadBadInput, EmptyFilesOfEveryEnding) {
    for (const char* name :
         {"a.dcm", "a.nii", "a.nii.gz", "a.nrrd", "a.nhdr", "a.mha", "a.mhd", "a.png", "a.txt"}) {
        const TemporaryFolder folder;
        write_text(folder / name, "");
        expect_refused(folder / name, {}, {name});
    }
}

TEST(ReadBadInput, DicomCutAnywhere) {
    const TemporaryFolder folder;
    DicomSlice slice;
    slice.rows = slice.columns = 64;
    write_dicom(folder / "whole.dcm", slice);
    const Bytes whole = read_bytes(folder / "whole.dcm");
    for (std::size_t length = 0; length < whole.size(); length += length < 1400 ? 7 : 501) {
        const TemporaryFolder other;
        write_bytes(other / "cut.dcm",
                    Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
        expect_refused(other / "cut.dcm", {}, {"cut.dcm"});
        expect_refused(other.path(), {}, {"cut.dcm"});
    }
}

TEST(ReadBadInput, SequencesNestedWithoutEnd) {
    const TemporaryFolder folder;
    write_dicom_report(folder / "deep.dcm");
    Bytes bytes = read_bytes(folder / "deep.dcm");
    // A sequence of undefined length and in it an item of undefined length, again and again.
    const Bytes level{0x40, 0,    0x40, 0xa7, 'S', 'Q',  0,    0,    0xff, 0xff,
                      0xff, 0xff, 0xfe, 0xff, 0,   0xe0, 0xff, 0xff, 0xff, 0xff};
    for (int depth = 0; depth < 100000; ++depth) bytes.insert(bytes.end(), level.begin(), level.end());
    write_bytes(folder / "deep.dcm", bytes);
    expect_refused(folder / "deep.dcm", {}, {"deep.dcm", "damaged"});
    expect_refused(folder.path(), {}, {"deep.dcm", "damaged"});
}

TEST(ReadBadInput, CompressedDicomCutAnywhere) {
    for (const Syntax syntax : {Syntax::Rle, Syntax::JpegLossless, Syntax::JpegLs}) {
        const TemporaryFolder folder;
        DicomSlice slice;
        slice.rows = slice.columns = 32;
        for (int i = 0; i < 1024; ++i) slice.pixels.push_back(i * 7919 % 4096);
        write_dicom(folder / "whole.dcm", slice, syntax);
        const Bytes whole = read_bytes(folder / "whole.dcm");
        for (std::size_t length = 1; length + 16 < whole.size(); length += 97) {
            const TemporaryFolder other;
            write_bytes(other / "cut.dcm",
                        Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
            expect_refused(other / "cut.dcm", {}, {"cut.dcm"});
        }
    }
}

}  // namespace
