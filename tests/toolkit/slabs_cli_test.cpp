#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "tests/toolkit/decode_png.h"
#include "tests/toolkit/names_in.h"
#include "tests/toolkit/phantom_files.h"
#include "tests/toolkit/slabs_fields.h"
#include "toolkit/core/resample.h"
#include "toolkit/core/restack.h"
#include "toolkit/core/slab.h"
#include "toolkit/core/subtract.h"
#include "toolkit/io/read_volume.h"

// slab, subtract, restack, resample and outline as a person runs them.

namespace rz_test {

namespace fs = std::filesystem;
using namespace rzobl;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// The CT has 23 x 27 x 26 samples of 8 mm.
const PhantomFiles& volumes() {
    static const PhantomFiles made(8);
    return made;
}

void expect_same_samples(const Volume& got, const void* want, int k = 0) {
    const auto bytes =
        static_cast<std::size_t>(got.grid().size[0] * got.grid().size[1]) * bytesPerSample(got.kind());
    EXPECT_EQ(std::memcmp(got.raster(k), want, bytes), 0) << "slice " << k;
}

void expect_same_grid(const Grid& got, const Grid& want) {
    EXPECT_EQ(got.size, want.size);
    expect_vector(got.spacing, want.spacing, 1e-9);
    expect_vector(got.origin, want.origin, 1e-9);
    for (std::size_t k = 0; k < 3; ++k) expect_vector(got.direction[k], want.direction[k], 1e-9);
}

std::string text_of(const fs::path& path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

}  // namespace

TEST(SlabsCli, ASlabIsWhatTheCoreMakes) {
    const TemporaryFolder folder;
    const Volume ct = read_volume(volumes().ct()).volume;
    for (const auto& [name, type] : {std::pair{"mean", RZ_OBL_SlabbingType::SlabAverage},
                                     {"max", RZ_OBL_SlabbingType::SlabMaximum},
                                     {"min", RZ_OBL_SlabbingType::SlabMinimum}}) {
        const fs::path out = folder / (std::string(name) + ".nrrd");
        const Finished done = rzobl_to("slab", volumes().ct(), out, {"--range", "5:9", "--type", name});
        ASSERT_EQ(done.status, 0) << done.err;
        EXPECT_THAT(done.out, HasSubstr("23 x 27 pixels, 40 mm thick"));
        const Image want = slab(ct, {5, 9}, type);
        const Volume got = read_volume(out).volume;
        expect_same_grid(got.grid(), want.grid);
        expect_same_samples(got, want.samples.data());
    }
}

TEST(SlabsCli, ASlabOfBytesIsWiderAndAPngShowsIt) {
    const TemporaryFolder folder;
    ASSERT_EQ(rzobl_to("slab", volumes().byte(), folder / "a.mha", {"--range", "3:9"}).status, 0);
    EXPECT_EQ(read_volume(folder / "a.mha").volume.kind(), SampleKind::Int16);
    ASSERT_EQ(
        rzobl_to("slab", volumes().byte(), folder / "a.png", {"--range", "9", "--window", "128,256"}).status,
        0);
    EXPECT_EQ(decode_png(folder / "a.png").width, 23);
}

TEST(SlabsCli, ASlidingSlabIsAVolume) {
    const TemporaryFolder folder;
    for (const char* how : {"--slide", "--afresh"}) {
        const fs::path out = folder / (std::string(how) + ".mha");
        const Finished done = rzobl_to("slab", volumes().ct(), out, {"--range", "2:11", "--slide", how});
        ASSERT_EQ(done.status, 0) << done.err;
        const Volume got = read_volume(out).volume;
        const Volume want =
            sliding_slab(read_volume(volumes().ct()).volume, {2, 11}, RZ_OBL_SlabbingType::SlabAverage,
                         how[2] == 's' ? Slide::Incremental : Slide::Afresh);
        expect_same_grid(got.grid(), want.grid());
        for (int k = 0; k < want.grid().size[2]; ++k) expect_same_samples(got, want.raster(k), k);
    }
}

TEST(SlabsCli, ASubtractionIsWhatTheCoreMakes) {
    const TemporaryFolder folder;
    for (const bool wholeRows : {false, true}) {
        SubtractRequest request;
        request.minuend = {4, 6};
        request.subtrahend = {9, 9};
        request.shift = {0.25, -2.5};
        request.wholeRows = wholeRows;
        std::vector<std::string> arguments{"--minuend", "4:6", "--subtrahend", "9", "--shift", "0.25,-2.5"};
        if (wholeRows) arguments.push_back("--whole-rows");
        const fs::path out = folder / (wholeRows ? "rows.nrrd" : "samples.nrrd");
        const Finished done = rzobl_to("subtract", volumes().ct(), out, arguments);
        ASSERT_EQ(done.status, 0) << done.err;
        EXPECT_THAT(done.err, HasSubstr("warning: the shift leaves 3 of 27 rows nothing to subtract"));
        const Image want = subtract(read_volume(volumes().ct()).volume, request);
        const Volume got = read_volume(out).volume;
        expect_same_grid(got.grid(), want.grid);
        expect_same_samples(got, want.samples.data());
    }
}

TEST(SlabsCli, AShiftTakesTheBonesOffFramesWithContrast) {
    const TemporaryFolder folder;
    const fs::path frames = folder / "frames.nrrd";
    ASSERT_EQ(rzobl({"phantom", "--kind", "frames", "-o", frames.string()}).status, 0);
    // Mean distance of the difference from none, away from the vessels.
    const auto residue = [&](const char* name, const std::vector<std::string>& more) {
        std::vector<std::string> arguments{"--minuend", "4:7", "--subtrahend", "0:3", "--offset", "2048"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Finished done = rzobl_to("subtract", frames.string(), folder / name, arguments);
        EXPECT_EQ(done.status, 0) << done.err;
        const Volume difference = read_volume(folder / name).volume;
        EXPECT_FALSE(difference.isSigned);
        EXPECT_EQ(difference.rescale.intercept, -2048);
        double sum = 0;
        for (int row = 180; row < 310; ++row)
            for (int column = 10; column < 110; ++column)
                sum += std::abs(sample_at(difference, column, row, 0) - 2048);
        return sum / (130 * 100);
    };
    const double shifted = residue("a.nrrd", {"--shift", "0.4,2.6"}), plain = residue("b.nrrd", {});
    EXPECT_LT(shifted, 20);
    EXPECT_GT(plain, 5 * shifted);
    EXPECT_THAT(refusal_of(rzobl(
                    {"phantom", "--kind", "frames", "--spacing", "2", "-o", (folder / "c.nrrd").string()})),
                HasSubstr("spacing of their own"));
}

TEST(SlabsCli, ADifferenceOfBytesTakesAnOffset) {
    const TemporaryFolder folder;
    ASSERT_EQ(rzobl_to("subtract", volumes().byte(), folder / "a.nrrd",
                       {"--minuend", "4", "--subtrahend", "9", "--offset", "128"})
                  .status,
              0);
    const Volume got = read_volume(folder / "a.nrrd").volume, byte = read_volume(volumes().byte()).volume;
    ASSERT_EQ(got.kind(), SampleKind::UInt8);
    EXPECT_EQ(got.rescale.intercept, -128);
    for (int j = 0; j < 27; ++j)
        for (int i = 0; i < 23; ++i)
            ASSERT_EQ(sample_at(got, i, j, 0),
                      std::clamp(sample_at(byte, i, j, 4) - sample_at(byte, i, j, 9) + 128, 0, 255));
}

TEST(SlabsCli, StacksAreWhatTheCoreMakes) {
    const TemporaryFolder folder;
    const Volume ct = read_volume(volumes().ct()).volume;
    PlaneRequest plane;
    plane.normal = {0.2, 1, 0.5};
    plane.spacing = 4;
    plane.thickness = 10;
    plane.type = RZ_OBL_RenditionType::Maximum;
    const struct {
        const char* name;
        std::vector<std::string> arguments;
        std::function<Volume()> make;
    } stacks[] = {
        {"exact", {"--spacing", "3", "--exact"}, [&] { return restack(ct, 3, {}); }},
        {"range",
         {"--spacing", "3", "--range", "4:10"},
         [&] {
             return restack(ct, 3, SliceRange{4, 10});
         }},
        {"shared", {"--spacing", "3", "--shared"}, [&] { return restack_shared(ct, 3, {}); }},
        {"oblique",
         {"--spacing", "10", "--normal", "0.2,1,0.5", "--pixel", "4", "--thickness", "10", "--type", "max"},
         [&] { return oblique_stack(ct, plane, 10); }},
    };
    for (const auto& stack : stacks) {
        SCOPED_TRACE(stack.name);
        const fs::path out = folder / (std::string(stack.name) + ".nrrd");
        const Finished done = rzobl_to("restack", volumes().ct(), out, stack.arguments);
        ASSERT_EQ(done.status, 0) << done.err;
        const Volume want = stack.make(), got = read_volume(out).volume;
        expect_same_grid(got.grid(), want.grid());
        for (int k = 0; k < want.grid().size[2]; ++k) expect_same_samples(got, want.raster(k), k);
    }
    ASSERT_EQ(rzobl_to("restack", volumes().colour(), folder / "c.nrrd", {"--spacing", "20"}).status, 0);
    EXPECT_EQ(read_volume(folder / "c.nrrd").volume.kind(), SampleKind::Rgb);
}

TEST(SlabsCli, ResamplingTakesAGridOverOrMakesOne) {
    const TemporaryFolder folder;
    ASSERT_EQ(rzobl_to("resample", volumes().ct(), folder / "a.nrrd", {"--spacing", "5,6,7"}).status, 0);
    const Volume spaced = read_volume(folder / "a.nrrd").volume;
    expect_vector(spaced.grid().spacing, {5, 6, 7}, 1e-9);
    EXPECT_EQ(spaced.kind(), SampleKind::Int16);
    const Finished done = rzobl_to("resample", volumes().byte(), folder / "b.nrrd",
                                   {"--like", (folder / "a.nrrd").string(), "--float", "--outside", "-1.5"});
    ASSERT_EQ(done.status, 0) << done.err;
    ReadOptions options;
    options.floatRange = {-10, 300};
    const ReadResult floats = read_volume(folder / "b.nrrd", options);
    expect_same_grid(floats.volume.grid(), spaced.grid());
    EXPECT_THAT(floats.details, testing::Contains(testing::Pair("stored samples", "32-bit float")));
    // A float volume serves as a reference, too.
    ASSERT_EQ(
        rzobl_to("resample", volumes().ct(), folder / "c.nii.gz", {"--like", (folder / "b.nrrd").string()})
            .status,
        0);
    EXPECT_EQ(read_volume(folder / "c.nii.gz").volume.grid().size, spaced.grid().size);
}

TEST(SlabsCli, FloatsAreWrittenAsTheyWereComputed) {
    const TemporaryFolder folder;
    ASSERT_EQ(rzobl_to("resample", volumes().ct(), folder / "a.mha", {"--spacing", "5", "--float"}).status,
              0);
    const Volume ct = read_volume(volumes().ct()).volume;
    const Grid grid = respaced(ct.grid(), {5, 5, 5});
    const FloatVolume want = resample_float(ct, grid, {});
    const std::string file = text_of(folder / "a.mha");
    EXPECT_THAT(file.substr(0, 1000), HasSubstr("MET_FLOAT"));
    const std::size_t bytes = want.block.size();
    ASSERT_GT(file.size(), bytes);
    EXPECT_EQ(std::memcmp(file.data() + file.size() - bytes, want.block.data(), bytes), 0);
}

TEST(SlabsCli, OutlinesArePrintedOrDrawn) {
    const TemporaryFolder folder;
    const Finished said = rzobl({"outline", volumes().ct(), "--normal", "1,1,1"});
    EXPECT_EQ(said.status, 0) << said.err;
    EXPECT_EQ(std::count(said.out.begin(), said.out.end(), '\n'), 6);
    const Finished drawn =
        rzobl_to("outline", volumes().ct(), folder / "a.svg", {"--normal", "0,0,1", "--centre", "0,0,9"});
    EXPECT_EQ(drawn.status, 0) << drawn.err;
    EXPECT_THAT(drawn.out, HasSubstr("4 corners"));
    EXPECT_THAT(text_of(folder / "a.svg"), HasSubstr("<polygon"));
}

TEST(SlabsCli, VolumesPageToAFolder) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "pages");
    const std::vector<std::string> arguments{"--spacing", "3"};
    std::vector<std::string> paged = arguments;
    paged.insert(paged.end(), {"--page-to", (folder / "pages").string()});
    ASSERT_EQ(rzobl_to("restack", volumes().ct(), folder / "a.nrrd", arguments).status, 0);
    const Finished done = rzobl_to("restack", volumes().ct(), folder / "b.nrrd", paged);
    ASSERT_EQ(done.status, 0) << done.err;
    EXPECT_EQ(text_of(folder / "a.nrrd"), text_of(folder / "b.nrrd"));
    EXPECT_TRUE(fs::is_empty(folder / "pages"));
}

struct BadCall {
    const char* name;
    const char* command;
    std::vector<std::string> arguments;
    const char* says;
    const char* out = "a.nrrd";
    const char* input = "ct";
};

class SlabsCliRefuses : public testing::TestWithParam<BadCall> {};

TEST_P(SlabsCliRefuses, WithOneSentenceAndNoFile) {
    const TemporaryFolder folder;
    const BadCall& bad = GetParam();
    const std::string input = bad.input == std::string("ct")       ? volumes().ct()
                              : bad.input == std::string("byte")   ? volumes().byte()
                              : bad.input == std::string("colour") ? volumes().colour()
                                                                   : bad.input;
    EXPECT_THAT(refusal_of(rzobl_to(bad.command, input, folder / bad.out, bad.arguments)),
                HasSubstr(bad.says));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Slab, SlabsCliRefuses,
    testing::Values(
        BadCall{"NoRange", "slab", {}, "--range"},
        BadCall{"RangeReversed", "slab", {"--range", "9:5"}, "backwards"},
        BadCall{"RangeOutside", "slab", {"--range", "5:26"}, "slices are 0 to 25"},
        BadCall{"RangeNegative", "slab", {"--range=-1:3"}, "leaves the volume"},
        BadCall{"RangeHuge", "slab", {"--range", "0:99999999999"}, "--range takes A:B"},
        BadCall{"RangeText", "slab", {"--range", "all"}, "--range takes A:B"},
        BadCall{"RangeHalf", "slab", {"--range", "3:"}, "--range takes A:B"},
        BadCall{"RangeThree", "slab", {"--range", "3:4:5"}, "--range takes A:B"},
        BadCall{"Type", "slab", {"--range", "3:4", "--type", "median"}, "--type takes"},
        BadCall{"Colours", "slab", {"--range", "3:4"}, "colours", "a.nrrd", "colour"},
        BadCall{"AfreshAlone", "slab", {"--range", "3:4", "--afresh"}, "--slide"},
        BadCall{"SlidePng", "slab", {"--range", "3:4", "--slide"}, "a PNG holds a picture", "a.png"},
        BadCall{"Window", "slab", {"--range", "3:4", "--window", "5,9"}, "window"},
        BadCall{"Format", "slab", {"--range", "3:4"}, "cannot tell the format", "a.jpg"},
        BadCall{"NoInput", "slab", {"--range", "3:4"}, "no such volume", "a.nrrd", "no such volume"},
        BadCall{"PageToNowhere", "slab", {"--range", "3:4", "--page-to", "/nowhere"}, "no such folder"},
        BadCall{"PageToReadOnly", "slab", {"--range", "3:4", "--page-to", "/proc"}, "cannot page to /proc"}),
    [](const auto& bad) { return std::string(bad.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Subtract, SlabsCliRefuses,
    testing::Values(
        BadCall{"NoSubtrahend", "subtract", {"--minuend", "1"}, "--subtrahend"},
        BadCall{"MinuendReversed", "subtract", {"--minuend", "3:1", "--subtrahend", "0"}, "the minuend 3:1"},
        BadCall{"SubtrahendOutside",
                "subtract",
                {"--minuend", "3", "--subtrahend", "20:30"},
                "the subtrahend 20:30"},
        BadCall{"ShiftWholeColumn",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--shift", "1.5,0"},
                "first part of the shift"},
        BadCall{"ShiftNegativeColumn",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--shift=-0.5,0"},
                "first part of the shift"},
        BadCall{"ShiftFar",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--shift", "0,1e9"},
                "off the picture"},
        BadCall{
            "ShiftNan", "subtract", {"--minuend", "3", "--subtrahend", "2", "--shift", "0,nan"}, "finite"},
        BadCall{"ShiftText",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--shift", "left"},
                "--shift takes"},
        BadCall{
            "OffsetSigned", "subtract", {"--minuend", "3", "--subtrahend", "2", "--offset", "5"}, "unsigned"},
        BadCall{"OffsetText",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--offset", "0.5"},
                "--offset takes"},
        BadCall{"OffsetBytes",
                "subtract",
                {"--minuend", "3", "--subtrahend", "2", "--offset", "256"},
                "0 to 255",
                "a.nrrd",
                "byte"},
        BadCall{
            "Colours", "subtract", {"--minuend", "3", "--subtrahend", "2"}, "colours", "a.nrrd", "colour"}),
    [](const auto& bad) { return std::string(bad.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Restack, SlabsCliRefuses,
    testing::Values(
        BadCall{"NoSpacing", "restack", {}, "--spacing"},
        BadCall{"SpacingZero", "restack", {"--spacing", "0"}, "the spacing must be"},
        BadCall{"SpacingNegative", "restack", {"--spacing=-2"}, "the spacing must be"},
        BadCall{"SpacingNan", "restack", {"--spacing", "nan"}, "the spacing must be"},
        BadCall{"SpacingInfinite", "restack", {"--spacing", "inf"}, "the spacing must be"},
        BadCall{"SpacingHuge", "restack", {"--spacing", "1e9"}, "more than the 200 mm"},
        BadCall{"SpacingTiny", "restack", {"--spacing", "1e-9"}, "at most 32767"},
        BadCall{"SpacingText", "restack", {"--spacing", "2mm"}, "--spacing takes"},
        BadCall{"RangeReversed", "restack", {"--spacing", "2", "--range", "5:3"}, "backwards"},
        BadCall{"RangeOfOne", "restack", {"--spacing", "2", "--range", "5:5"}, "single slice"},
        BadCall{"RangeOutside", "restack", {"--spacing", "2", "--range", "5:50"}, "slices are 0 to 25"},
        BadCall{"Both", "restack", {"--spacing", "2", "--exact", "--shared"}, "exclude"},
        BadCall{"SharedBytes", "restack", {"--spacing", "2", "--shared"}, "16-bit", "a.nrrd", "byte"},
        BadCall{"SharedColours", "restack", {"--spacing", "2", "--shared"}, "16-bit", "a.nrrd", "colour"},
        BadCall{"TypeAlone", "restack", {"--spacing", "2", "--type", "max"}, "--normal"},
        BadCall{"ThicknessAlone", "restack", {"--spacing", "2", "--thickness", "5"}, "--normal"},
        BadCall{
            "NormalRange", "restack", {"--spacing", "2", "--normal", "0,1,0", "--range", "1:2"}, "--range"},
        BadCall{"NormalShared", "restack", {"--spacing", "2", "--normal", "0,1,0", "--shared"}, "--shared"},
        BadCall{"NormalZero", "restack", {"--spacing", "2", "--normal", "0,0,0"}, "zero vector"},
        BadCall{
            "NormalSpacingZero", "restack", {"--spacing", "0", "--normal", "0,1,0"}, "the spacing must be"},
        BadCall{"NormalSpacingHuge", "restack", {"--spacing", "1e9", "--normal", "0,1,0"}, "more than"},
        BadCall{"ThicknessHuge",
                "restack",
                {"--spacing", "2", "--normal", "0,1,0", "--thickness", "1e9"},
                "thicker"},
        BadCall{"ColourMaximum",
                "restack",
                {"--spacing", "2", "--normal", "0,1,0", "--type", "max"},
                "colour",
                "a.nrrd",
                "colour"},
        BadCall{"TooLarge", "restack", {"--spacing", "0.1", "--normal", "0,1,0", "--pixel", "0.01"}, "needs"},
        BadCall{"Png", "restack", {"--spacing", "2"}, "a PNG holds a picture", "a.png"}),
    [](const auto& bad) { return std::string(bad.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Resample, SlabsCliRefuses,
    testing::Values(
        BadCall{"Neither", "resample", {}, "one of the two"},
        BadCall{"Both", "resample", {"--spacing", "2", "--like", "x"}, "one of the two"},
        BadCall{"NoReference", "resample", {"--like", "no such reference"}, "no such reference"},
        BadCall{"SpacingZero", "resample", {"--spacing", "0"}, "the spacing must be"},
        BadCall{"SpacingOneZero", "resample", {"--spacing", "1,0,1"}, "the spacing must be"},
        BadCall{"SpacingNegative", "resample", {"--spacing=-1"}, "the spacing must be"},
        BadCall{"SpacingNan", "resample", {"--spacing", "nan"}, "the spacing must be"},
        BadCall{"SpacingHuge", "resample", {"--spacing", "1e9"}, "far more"},
        BadCall{"SpacingTiny", "resample", {"--spacing", "1e-9"}, "more than 32767"},
        BadCall{"SpacingTwo", "resample", {"--spacing", "1,2"}, "--spacing takes"},
        BadCall{"TooLarge", "resample", {"--spacing", "0.01"}, "of memory, and this machine has"},
        BadCall{"OutsideTooLarge", "resample", {"--spacing", "9", "--outside", "1e9"}, "does not fit"},
        BadCall{"OutsideNan", "resample", {"--spacing", "9", "--outside", "nan"}, "does not fit"},
        BadCall{"OutsideText", "resample", {"--spacing", "9", "--outside", "air"}, "--outside takes"},
        BadCall{"Colours", "resample", {"--spacing", "9"}, "colours", "a.nrrd", "colour"},
        BadCall{"Png", "resample", {"--spacing", "9"}, "a PNG holds a picture", "a.png"},
        BadCall{"NoFolder", "resample", {"--spacing", "9"}, "there is no folder", "none/a.nrrd"}),
    [](const auto& bad) { return std::string(bad.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Outline, SlabsCliRefuses,
    testing::Values(BadCall{"NoNormal", "outline", {}, "--normal", "a.svg"},
                    BadCall{"NormalZero", "outline", {"--normal", "0,0,0"}, "zero vector", "a.svg"},
                    BadCall{"NormalNan", "outline", {"--normal", "nan,0,1"}, "finite", "a.svg"},
                    BadCall{
                        "Missed", "outline", {"--normal", "0,0,1", "--centre", "0,0,500"}, "misses", "a.svg"},
                    BadCall{"Format", "outline", {"--normal", "0,0,1"}, "ending .svg", "a.png"}),
    [](const auto& bad) { return std::string(bad.param.name); });

TEST(SlabsCli, AnExistingFileStaysUnlessForced) {
    const std::pair<const char*, std::vector<std::string>> calls[] = {
        {"slab", {"--range", "3:5"}},
        {"subtract", {"--minuend", "3", "--subtrahend", "4"}},
        {"restack", {"--spacing", "20"}},
        {"resample", {"--spacing", "20"}}};
    for (const auto& [command, arguments] : calls) {
        const TemporaryFolder folder;
        std::ofstream(folder / "a.nrrd") << "mine";
        EXPECT_THAT(refusal_of(rzobl_to(command, volumes().ct(), folder / "a.nrrd", arguments)),
                    HasSubstr("--force"));
        EXPECT_EQ(text_of(folder / "a.nrrd"), "mine");
        std::vector<std::string> forced = arguments;
        forced.insert(forced.end(), {"--force", "--quiet"});
        const Finished done = rzobl_to(command, volumes().ct(), folder / "a.nrrd", forced);
        EXPECT_EQ(done.status, 0) << done.err;
        EXPECT_EQ(done.out + done.err, "");
        EXPECT_THAT(names_in(folder.path()), ElementsAre("a.nrrd"));
        EXPECT_GT(fs::file_size(folder / "a.nrrd"), 100U);
    }
}

TEST(SlabsCli, TheHelpTellsTheConventions) {
    const std::pair<const char*, const char*> parts[] = {{"slab", "count from 0"},
                                                         {"slab", "arithmetic mean"},
                                                         {"subtract", "less than 1"},
                                                         {"subtract", "--whole-rows"},
                                                         {"restack", "not evenly spaced"},
                                                         {"resample", "last but one"},
                                                         {"outline", "LPS"}};
    for (const auto& [command, part] : parts) {
        const Finished help = rzobl({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, HasSubstr(part));
    }
}

}  // namespace rz_test
