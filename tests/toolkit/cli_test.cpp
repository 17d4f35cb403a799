#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tests/toolkit/decode_png.h"
#include "tests/toolkit/names_in.h"
#include "tests/toolkit/phantom_files.h"
#include "toolkit/core/phantom.h"
#include "toolkit/core/plane_request.h"
#include "toolkit/io/read_volume.h"
#include "toolkit/io/write_volume.h"

// The program as a person runs it.

namespace rz_test {

namespace fs = std::filesystem;
using namespace rzobl;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const PhantomFiles& phantoms() {
    static const PhantomFiles made(4);
    return made;
}

Finished mpr(const fs::path& out, const std::vector<std::string>& more,
             const std::string& input = phantoms().ct()) {
    return rzobl_to("mpr", input, out, more);
}

}  // namespace

TEST(CliMpr, NeedsNothingButInputAndOutput) {
    const TemporaryFolder folder;
    const Finished run = mpr(folder / "a.png", {});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, AllOf(HasSubstr("46 x 54 pixels of 4 mm"), HasSubstr("window"), HasSubstr("ms")));
    const Decoded picture = decode_png(folder / "a.png");
    EXPECT_EQ(picture.width, 46);
    EXPECT_EQ(picture.height, 54);
    EXPECT_THAT(names_in(folder.path()), testing::ElementsAre("a.png"));
}

TEST(CliMpr, DrawsWhatTheLibraryDraws) {
    const TemporaryFolder folder;
    const Finished run =
        mpr(folder / "a.nrrd",
            {"--centre", "-5,3,12", "--normal", "-1,2,0.5", "--up", "0,0.2,1", "--size", "60x40", "--spacing",
             "1.5", "--thickness", "9", "--type", "max", "--quality", "linear", "--background", "-1000"});
    ASSERT_EQ(run.status, 0) << run.err;
    PlaneRequest request;
    request.centre = Vec3{-5, 3, 12};
    request.normal = {-1, 2, 0.5};
    request.up = Vec3{0, 0.2, 1};
    request.size = {60, 40};
    request.spacing = 1.5;
    request.thickness = 9;
    request.type = RZ_OBL_RenditionType::Maximum;
    request.background = -1000;
    const Image want = reformat(read_volume(phantoms().ct()).volume, request);
    const Volume got = read_volume(folder / "a.nrrd").volume;
    ASSERT_EQ(got.grid().size, want.grid.size);
    EXPECT_EQ(std::memcmp(got.raster(0), want.samples.data(), want.samples.size()), 0);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(got.grid().origin[k], want.grid.origin[k], 1e-9);
}

TEST(CliMpr, EveryPresetTypeAndQuality) {
    const TemporaryFolder folder;
    for (const char* preset : {"axial", "coronal", "sagittal", "oblique"})
        for (const char* type : {"mean", "max", "min"})
            for (const char* quality : {"fast", "semicubic", "cubic", "linear", "nearest"}) {
                const std::string thickness = std::string(quality) == "nearest" ? "0" : "12";
                const Finished run =
                    mpr(folder / "a.png", {"--preset", preset, "--type", type, "--quality", quality,
                                           "--thickness", thickness, "--force", "--quiet"});
                EXPECT_EQ(run.status, 0) << preset << type << quality << run.err;
                EXPECT_EQ(run.out + run.err, "");
            }
}

TEST(CliMpr, BeadsTellTheLeft) {
    // Three beads on the patient's left, which is the picture's right; one on the other side.
    const TemporaryFolder folder;
    ASSERT_EQ(
        mpr(folder / "a.png", {"--thickness", "30", "--type", "max", "--window", "0,400", "--spacing", "1"})
            .status,
        0);
    const Decoded picture = decode_png(folder / "a.png");
    const auto bright_in_column = [&](double x) {
        const int column = static_cast<int>(std::lround(x + 0.5 * (picture.width - 1)));
        int runs = 0;
        for (int row = 1; row < picture.height; ++row)
            runs += picture.grey(column, row) > 128 && picture.grey(column, row - 1) <= 128;
        return runs;
    };
    EXPECT_EQ(bright_in_column(82), 3);
    EXPECT_EQ(bright_in_column(-82), 1);
}

TEST(CliMpr, ColoursComeOutInTheirChannels) {
    const TemporaryFolder folder;
    const Finished run = mpr(folder / "a.png", {"--preset", "axial", "--centre", "0,0,22", "--spacing", "2"},
                             phantoms().colour());
    ASSERT_EQ(run.status, 0) << run.err;
    const Decoded picture = decode_png(folder / "a.png");
    ASSERT_TRUE(picture.colour);
    // A ventricle, water: (60, 110, 220) at x = 13, y = -8.
    const int column = static_cast<int>(std::lround(13 / 2.0 + 0.5 * (picture.width - 1)));
    const int row = static_cast<int>(std::lround(-8 / 2.0 + 0.5 * (picture.height - 1)));
    EXPECT_NEAR(picture.channel(column, row, 0), 60, 6);
    EXPECT_NEAR(picture.channel(column, row, 1), 110, 6);
    EXPECT_NEAR(picture.channel(column, row, 2), 220, 6);
}

TEST(CliMpr, EightBitVolumes) {
    const TemporaryFolder folder;
    for (const char* type : {"mean", "max", "min"}) {
        const Finished run =
            mpr(folder / "a.png", {"--type", type, "--thickness", "10", "--force"}, phantoms().byte());
        EXPECT_EQ(run.status, 0) << run.err;
    }
}

TEST(CliMpr, KeepsAnExistingFileUnlessForced) {
    const TemporaryFolder folder;
    std::ofstream(folder / "a.png") << "mine";
    EXPECT_THAT(refusal_of(mpr(folder / "a.png", {})), HasSubstr("--force"));
    EXPECT_EQ(fs::file_size(folder / "a.png"), 4U);
    EXPECT_EQ(mpr(folder / "a.png", {"--force"}).status, 0);
    EXPECT_GT(fs::file_size(folder / "a.png"), 4U);
}

struct BadInput {
    const char* name;
    std::vector<std::string> arguments;
    const char* says;
};

class CliMprRefuses : public testing::TestWithParam<BadInput> {};

TEST_P(CliMprRefuses, WithOneSentenceAndNoFile) {
    const TemporaryFolder folder;
    EXPECT_THAT(refusal_of(mpr(folder / "a.png", GetParam().arguments)), HasSubstr(GetParam().says));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    BadInput, CliMprRefuses,
    testing::Values(BadInput{"SizeZero", {"--size", "0x0"}, "columns, not 0"},
                    BadInput{"SizeHuge", {"--size", "40000x40000"}, "columns, not 40000"},
                    BadInput{"SizeNegative", {"--size", "-5x10"}, "columns, not -5"},
                    BadInput{"SizeRowsZero", {"--size", "10x0"}, "rows, not 0"},
                    BadInput{"SizeNoNumber", {"--size", "big"}, "--size takes WxH"},
                    BadInput{"SizeOneNumber", {"--size", "512"}, "--size takes WxH"},
                    BadInput{"SizeOverflow", {"--size", "99999999999x10"}, "--size takes WxH"},
                    BadInput{"SpacingZero", {"--spacing", "0"}, "the spacing must be"},
                    BadInput{"SpacingNegative", {"--spacing", "-1"}, "the spacing must be"},
                    BadInput{"SpacingNan", {"--spacing", "nan"}, "the spacing must be"},
                    BadInput{"SpacingInfinite", {"--spacing", "inf"}, "the spacing must be"},
                    BadInput{"SpacingTiny", {"--spacing", "1e-9"}, "give a size or a larger spacing"},
                    BadInput{"SpacingText", {"--spacing", "1mm"}, "--spacing takes a number"},
                    BadInput{"NormalZero", {"--normal", "0,0,0"}, "zero vector"},
                    BadInput{"NormalNan", {"--normal", "nan,0,1"}, "finite"},
                    BadInput{"NormalShort", {"--normal", "0,1"}, "--normal takes three numbers"},
                    BadInput{"UpParallel", {"--normal", "0,0,1", "--up", "0,0,5"}, "parallel"},
                    BadInput{"UpZero", {"--up", "0,0,0"}, "zero vector"},
                    BadInput{"ThicknessNegative", {"--thickness", "-1"}, "the thickness must be"},
                    BadInput{"ThicknessNan", {"--thickness", "nan"}, "the thickness must be"},
                    BadInput{"ThicknessHuge", {"--thickness", "1e9"}, "thicker than the volume"},
                    BadInput{"ThicknessOfTheVolume", {"--thickness", "250"}, "faces"},
                    BadInput{"CentreFarOutside", {"--centre", "1e6,0,0"}, "misses"},
                    BadInput{"CentreOutside", {"--centre", "0,0,150"}, "nothing to draw"},
                    BadInput{"CentreNan", {"--centre", "nan,0,0"}, "finite"},
                    BadInput{"CentreText", {"--centre", "here"}, "--centre takes three numbers"},
                    BadInput{"WindowZero", {"--window", "40,0"}, "width of a window"},
                    BadInput{"WindowNegative", {"--window", "40,-400"}, "width of a window"},
                    BadInput{"WindowText", {"--window", "bone"}, "--window takes"},
                    BadInput{"BackgroundTooLarge", {"--background", "1e9"}, "does not fit"},
                    BadInput{"BackgroundNan", {"--background", "nan"}, "does not fit"},
                    BadInput{"Preset", {"--preset", "frontal"}, "--preset takes"},
                    BadInput{"PresetAndNormal", {"--preset", "axial", "--normal", "0,0,1"}, "give one"},
                    BadInput{"Type", {"--type", "median"}, "--type takes"},
                    BadInput{"Quality", {"--quality", "best"}, "--quality takes"},
                    BadInput{"NearestSlab", {"--quality", "nearest", "--thickness", "5"}, "nearest"},
                    BadInput{"UnknownOption", {"--colour", "5"}, "--colour"},
                    BadInput{"MissingValue", {"--size"}, "--size"},
                    BadInput{"FurtherInput", {"another.nrrd"}, "another.nrrd"}),
    [](const auto& format) { return std::string(format.param.name); });

TEST(CliMpr, RefusesInputsThatAreNone) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "empty");
    std::ofstream(folder / "text.dcm") << "no picture, just words\n";
    std::ofstream(folder / "text.nrrd") << "no picture, just words\n";
    const fs::path out = folder / "a.png";
    for (const char* input : {"missing", "missing.nrrd", "empty", "text.dcm", "text.nrrd"})
        EXPECT_THAT(refusal_of(mpr(out, {}, (folder / input).string())), HasSubstr(input));
    EXPECT_FALSE(fs::exists(out));
    EXPECT_EQ(names_in(folder.path()).size(), 3U);
}

TEST(CliMpr, RefusesACutFile) {
    const TemporaryFolder folder;
    for (const char* ending : {".nii", ".nii.gz", ".nrrd", ".mha"}) {
        const fs::path cut = folder / (std::string("cut") + ending);
        write_volume(make_phantom(phantom_grid(8), SampleKind::Int16), cut, false);
        fs::resize_file(cut, fs::file_size(cut) / 2);
        EXPECT_THAT(refusal_of(mpr(folder / "a.png", {}, cut.string())), HasSubstr(cut.filename().string()));
    }
    EXPECT_FALSE(fs::exists(folder / "a.png"));
}

TEST(CliMpr, RefusesOutputsThatCannotBeWritten) {
    const TemporaryFolder folder;
    EXPECT_THAT(refusal_of(mpr(folder / "none" / "a.png", {})), HasSubstr("there is no folder"));
    EXPECT_THAT(refusal_of(mpr(folder / "a.jpg", {})), HasSubstr("cannot tell the format"));
    EXPECT_THAT(refusal_of(mpr("/proc/a.png", {})), HasSubstr("cannot write /proc/a.png"));
    EXPECT_THAT(refusal_of(mpr(folder.path(), {"--force"})), HasSubstr("cannot"));
    EXPECT_THAT(refusal_of(mpr(folder / "a.nrrd", {"--window", "40,400"})), HasSubstr("window"));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

TEST(CliMpr, RefusesTheTypesThatColoursDoNotHave) {
    const TemporaryFolder folder;
    EXPECT_THAT(refusal_of(mpr(folder / "a.png", {"--type", "max"}, phantoms().colour())),
                HasSubstr("colour"));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

TEST(CliMpr, ARealSeriesAndWhatCanBeWrongWithOne) {
    const fs::path ct = real_ct();
    if (ct.empty())
        GTEST_SKIP() << "the real CT is not here: CliMpr.ARealSeriesAndWhatCanBeWrongWithOne did not run";
    const TemporaryFolder folder;
    const fs::path out = folder / "a.png";
    EXPECT_THAT(refusal_of(mpr(out, {}, (ct / "phantom-tilted").string())),
                AllOf(HasSubstr("16.5 degrees"), HasSubstr("--regrid")));

    // Hard links need one file system; where there are two, copies do.
    const auto take = [](const fs::path& from, const fs::path& to) {
        std::error_code error;
        fs::create_hard_link(from, to, error);
        if (error) fs::copy_file(from, to);
    };
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(ct / "phantom")) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    fs::create_directory(folder / "series");
    fs::create_directory(folder / "cut");
    for (std::size_t i = 0; i < files.size(); ++i) {
        // The file in the middle of the names lies somewhere inside the stack.
        if (i != files.size() / 2) take(files[i], folder.path() / "series" / files[i].filename().string());
    }
    const Finished gap = mpr(out, {}, (folder / "series").string());
    EXPECT_THAT(refusal_of(gap), HasSubstr("--regrid"));
    fs::copy_file(files[0], folder.path() / "cut" / "a.dcm");
    fs::resize_file(folder.path() / "cut" / "a.dcm", fs::file_size(files[0]) / 2);
    refusal_of(mpr(out, {}, (folder / "cut").string()));
    EXPECT_FALSE(fs::exists(out));

    for (const auto& entry : fs::directory_iterator(ct / "phantom-tilted"))
        take(entry.path(), folder.path() / "series" / ("tilted-" + entry.path().filename().string()));
    EXPECT_THAT(refusal_of(mpr(out, {}, (folder / "series").string())), HasSubstr("series"));
    EXPECT_FALSE(fs::exists(out));

    const Finished good = mpr(out, {"--preset", "coronal"}, (ct / "phantom").string());
    EXPECT_EQ(good.status, 0) << good.err;
    EXPECT_EQ(good.err, "");
    const Decoded picture = decode_png(out);
    EXPECT_EQ(picture.width, 512);
    EXPECT_EQ(picture.height, 311);
}

TEST(CliProgram, SaysHowItIsUsed) {
    EXPECT_THAT(refusal_of(rzobl({})), HasSubstr("--help"));
    EXPECT_THAT(refusal_of(rzobl({"paint"})), HasSubstr("paint"));
    EXPECT_THAT(refusal_of(rzobl({"mpr"})), HasSubstr("INPUT"));
    const Finished help = rzobl({"mpr", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    for (const char* part : {"patient's right is on the left", "LPS", "--thickness", "half a sample off"})
        EXPECT_THAT(help.out, HasSubstr(part));
}

TEST(CliInfo, TellsAPersonAndAProgram) {
    const Finished said = rzobl({"info", phantoms().ct()});
    EXPECT_EQ(said.status, 0);
    EXPECT_THAT(said.out,
                AllOf(HasSubstr("46 x 54 x 51 samples"), HasSubstr("4 x 4 x 4 mm"), HasSubstr("NRRD")));
    const Finished run = rzobl({"info", phantoms().ct(), "--json"});
    EXPECT_EQ(run.status, 0);
    const auto json = nlohmann::json::parse(run.out);
    EXPECT_EQ(json["format"], "NRRD");
    EXPECT_EQ(json["size"], (std::vector<int>{46, 54, 51}));
    EXPECT_EQ(json["spacing"], (std::vector<double>{4, 4, 4}));
    EXPECT_EQ(json["samples"], "16-bit");
    EXPECT_EQ(json["signed"], true);
    EXPECT_EQ(json["values"][0], -1000);
    EXPECT_THAT(refusal_of(rzobl({"info", "no such file"})), HasSubstr("no such file"));
}

TEST(CliPhantom, MakesWhatTheCoreMakes) {
    const TemporaryFolder folder;
    const std::pair<const char*, SampleKind> kinds[] = {
        {"ct", SampleKind::Int16}, {"byte", SampleKind::UInt8}, {"colour", SampleKind::Rgb}};
    for (const auto& [name, kind] : kinds) {
        const fs::path path = folder / (std::string(name) + ".nrrd");
        const Finished run = rzobl({"phantom", "-o", path.string(), "--kind", name, "--spacing", "6"});
        ASSERT_EQ(run.status, 0) << run.err;
        const Volume got = read_volume(path).volume;
        const Volume want = make_phantom(phantom_grid(6), kind);
        ASSERT_EQ(got.kind(), kind);
        ASSERT_EQ(got.grid().size, want.grid().size);
        const auto bytes =
            static_cast<std::size_t>(want.grid().size[0] * want.grid().size[1]) * bytesPerSample(kind);
        for (int k = 0; k < want.grid().size[2]; ++k)
            ASSERT_EQ(std::memcmp(got.raster(k), want.raster(k), bytes), 0);
    }
    EXPECT_THAT(refusal_of(rzobl({"phantom", "-o", (folder / "a.png").string()})),
                HasSubstr("a PNG holds a picture"));
    EXPECT_THAT(refusal_of(rzobl({"phantom", "-o", (folder / "a.nrrd").string(), "--spacing", "0"})),
                HasSubstr("spacing"));
    EXPECT_THAT(refusal_of(rzobl({"phantom", "-o", (folder / "a.nrrd").string(), "--kind", "cat"})),
                HasSubstr("--kind"));
}

}  // namespace rz_test
