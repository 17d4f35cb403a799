#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/toolkit/decode_png.h"
#include "tests/toolkit/names_in.h"
#include "tests/toolkit/phantom_files.h"
#include "toolkit/core/curved_request.h"
#include "toolkit/io/read_volume.h"

// rzobl curved as a person runs it.

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

constexpr const char* kArch = "-40,20,10;-25,-30,10;25,-30,10;40,20,10";

Finished curved(const fs::path& out, const std::vector<std::string>& more, const std::string& points = kArch,
                const std::string& input = phantoms().ct()) {
    std::vector<std::string> arguments{"--points", points};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return rzobl_to("curved", input, out, arguments);
}

}  // namespace

TEST(CurvedCli, NeedsNothingButInputOutputAndPoints) {
    const TemporaryFolder folder;
    const Finished run = curved(folder / "a.png", {});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, AllOf(HasSubstr("pixels of 4 mm"), HasSubstr("mm of curve from left to right"),
                               HasSubstr("window"), HasSubstr(" ms\n")));
    const Decoded picture = decode_png(folder / "a.png");
    EXPECT_GT(picture.width, 30);
    EXPECT_NEAR(picture.height, 51, 1);
    EXPECT_THAT(names_in(folder.path()), testing::ElementsAre("a.png"));
}

TEST(CurvedCli, DrawsWhatTheCoreDraws) {
    const TemporaryFolder folder;
    const Finished run = curved(
        folder / "a.nrrd", {"--sweep", "0.1,0.2,1", "--local-frames", "--size", "90x40", "--spacing", "1.5",
                            "--thickness", "9", "--band", "50", "--type", "max", "--background", "-1000"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("written flat"));
    CurvedRequest request;
    request.points = {{-40, 20, 10}, {-25, -30, 10}, {25, -30, 10}, {40, 20, 10}};
    request.sweep = Vec3{0.1, 0.2, 1};
    request.localFrames = true;
    request.size = {90, 40};
    request.spacing = 1.5;
    request.thickness = 9;
    request.band = 50;
    request.type = RZ_OBL_RenditionType::Maximum;
    request.background = -1000;
    const Image want = draw_curved(read_volume(phantoms().ct()).volume, request).image;
    const Volume got = read_volume(folder / "a.nrrd").volume;
    ASSERT_EQ(got.grid().size, want.grid.size);
    EXPECT_EQ(std::memcmp(got.raster(0), want.samples.data(), want.samples.size()), 0);
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(got.grid().spacing[k], want.grid.spacing[k], 1e-9);
}

TEST(CurvedCli, EveryFormatTypeAndMode) {
    const TemporaryFolder folder;
    for (const char* ending : {".png", ".mha", ".nrrd", ".nii", ".nii.gz"})
        for (const char* type : {"mean", "max", "min"})
            for (const std::string& input : {phantoms().ct(), phantoms().byte()}) {
                const Finished run =
                    curved(folder / (std::string("a") + ending),
                           {"--type", type, "--thickness", "12", "--local-frames", "--force", "--quiet"},
                           kArch, input);
                EXPECT_EQ(run.status, 0) << ending << type << run.err;
                EXPECT_EQ(run.out + run.err, "");
            }
}

TEST(CurvedCli, PointsFromFiles) {
    const TemporaryFolder folder;
    std::ofstream(folder / "lps.csv") << "x,y,z\n-40,20,10\n-25,-30,10\n25,-30,10\n40,20,10\n";
    std::ofstream(folder / "ras.json") << R"({"coordinateSystem": "RAS", "points":
        [[40,-20,10],[25,30,10],[-25,30,10],[-40,-20,10]]})";
    for (const char* name : {"lps.csv", "ras.json"}) {
        ASSERT_EQ(curved(folder / "file.nrrd", {"--force"}, (folder / name).string()).status, 0);
        ASSERT_EQ(curved(folder / "list.nrrd", {"--force"}).status, 0);
        const Volume a = read_volume(folder / "file.nrrd").volume,
                     b = read_volume(folder / "list.nrrd").volume;
        ASSERT_EQ(a.grid().size, b.grid().size);
        const auto bytes =
            2 * static_cast<std::size_t>(a.grid().size[0]) * static_cast<std::size_t>(a.grid().size[1]);
        EXPECT_EQ(std::memcmp(a.raster(0), b.raster(0), bytes), 0) << name;
    }
}

TEST(CurvedCli, ThePlaneWithTheCurveDrawnIn) {
    const TemporaryFolder folder;
    const Finished run = curved(folder / "a.png", {"--plane", (folder / "plane.png").string()});
    ASSERT_EQ(run.status, 0) << run.err;
    const Decoded plane = decode_png(folder / "plane.png");
    EXPECT_THAT(run.out, HasSubstr("plane.png: " + std::to_string(plane.width) + " x " +
                                   std::to_string(plane.height) + " pixels of 4 mm, drawn in "));
    ASSERT_TRUE(plane.colour);
    int coloured = 0;
    for (int row = 0; row < plane.height; ++row)
        for (int column = 0; column < plane.width; ++column)
            coloured += plane.channel(column, row, 0) > plane.channel(column, row, 2) + 60;
    EXPECT_GT(coloured, 30);
    EXPECT_THAT(names_in(folder.path()), testing::UnorderedElementsAre("a.png", "plane.png"));

    const std::string existing = (folder / "plane.png").string();
    EXPECT_THAT(refusal_of(curved(folder / "b.png", {"--plane", existing})), HasSubstr("--force"));
    EXPECT_THAT(refusal_of(curved(folder / "b.png", {"--plane", (folder / "b.png").string()})),
                HasSubstr("the same file"));
    EXPECT_THAT(refusal_of(curved(folder / "b.png", {"--plane", (folder / "b.nrrd").string()})),
                HasSubstr("ends in .png"));
    EXPECT_EQ(names_in(folder.path()).size(), 2U);
}

TEST(CurvedCli, KeepsAnExistingFileUnlessForced) {
    const TemporaryFolder folder;
    std::ofstream(folder / "a.png") << "mine";
    EXPECT_THAT(refusal_of(curved(folder / "a.png", {})), HasSubstr("--force"));
    EXPECT_EQ(fs::file_size(folder / "a.png"), 4U);
    EXPECT_EQ(curved(folder / "a.png", {"--force"}).status, 0);
    EXPECT_GT(fs::file_size(folder / "a.png"), 4U);
}

struct BadCurve {
    const char* name;
    const char* points;
    std::vector<std::string> arguments;
    const char* says;
};

void PrintTo(const BadCurve& bad, std::ostream* out) {
    *out << bad.name;
}

class CurvedCliRefuses : public testing::TestWithParam<BadCurve> {};

TEST_P(CurvedCliRefuses, WithOneSentenceAndNoFile) {
    const TemporaryFolder folder;
    EXPECT_THAT(refusal_of(curved(folder / "a.png", GetParam().arguments, GetParam().points)),
                HasSubstr(GetParam().says));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    BadInput, CurvedCliRefuses,
    testing::Values(
        BadCurve{"OnePoint", "1,2,3", {}, "at least two points"},
        BadCurve{"EqualPoints", "1,2,3;1,2,3;1,2,3", {}, "two that differ"},
        BadCurve{"PointsNearlyEqual", "1,2,3;1,2,3.1", {}, "too short"},
        BadCurve{"PointsOutside", "100,0,0;100,20,0;100,40,9", {}, "outside the volume"},
        BadCurve{"PointsFarOutside", "0,0,0;1e6,20,0", {}, "point 2"},
        BadCurve{"PointNan", "0,0,0;0,nan,0", {}, "point 2"},
        BadCurve{"PointInfinite", "0,0,0;0,inf,0", {}, "point 2"},
        BadCurve{"PointShort", "0,0,0;0,1", {}, "point 2"},
        BadCurve{"PointText", "here,there,far", {}, "point 1"},
        BadCurve{"NoSuchFile", "no-such-file", {}, "neither a file nor a list"},
        BadCurve{"PointsEmpty", "", {}, "neither a file nor a list"},
        BadCurve{"PointsFolder", "/", {}, "not a regular file"},
        BadCurve{"SweepAlongCurve", "0,-20,0;0,20,0", {"--sweep", "0,1,0"}, "runs along the curve"},
        BadCurve{
            "SweepAlongCurveLocal", "0,-20,0;0,20,0", {"--sweep", "0,1,0", "--local-frames"}, "runs along"},
        BadCurve{"SweepZero", kArch, {"--sweep", "0,0,0"}, "zero vector"},
        BadCurve{"SweepNan", kArch, {"--sweep", "nan,0,1"}, "finite"},
        BadCurve{"SweepShort", kArch, {"--sweep", "0,1"}, "--sweep takes three numbers"},
        BadCurve{"SizeZero", kArch, {"--size", "0x10"}, "columns, not 0"},
        BadCurve{"SizeHuge", kArch, {"--size", "40000x40000"}, "columns, not 40000"},
        BadCurve{"SizeText", kArch, {"--size", "big"}, "--size takes WxH"},
        BadCurve{"SpacingZero", kArch, {"--spacing", "0"}, "the spacing must be"},
        BadCurve{"SpacingNegative", kArch, {"--spacing", "-1"}, "the spacing must be"},
        BadCurve{"SpacingNan", kArch, {"--spacing", "nan"}, "the spacing must be"},
        BadCurve{"SpacingTiny", kArch, {"--spacing", "0.001"}, "larger spacing"},
        BadCurve{"SpacingHuge", kArch, {"--spacing", "300"}, "too short"},
        BadCurve{"ThicknessNegative", kArch, {"--thickness", "-1"}, "the thickness must be"},
        BadCurve{"ThicknessNan", kArch, {"--thickness", "nan"}, "the thickness must be"},
        BadCurve{"ThicknessHuge", kArch, {"--thickness", "1e9"}, "thicker than the volume"},
        BadCurve{"ThicknessOfTheVolume", kArch, {"--thickness", "300"}, "two faces"},
        BadCurve{"BandAlone", kArch, {"--band", "20"}, "--local-frames"},
        BadCurve{"BandZero", kArch, {"--local-frames", "--band", "0"}, "the band must be"},
        BadCurve{"BandNan", kArch, {"--local-frames", "--band", "nan"}, "the band must be"},
        BadCurve{"Type", kArch, {"--type", "median"}, "--type takes"},
        BadCurve{"WindowZero", kArch, {"--window", "40,0"}, "width of a window"},
        BadCurve{"BackgroundTooLarge", kArch, {"--background", "1e9"}, "does not fit"},
        BadCurve{"UnknownOption", kArch, {"--quality", "cubic"}, "--quality"}),
    [](const auto& format) { return std::string(format.param.name); });

TEST(CurvedCli, RefusesInputsAndOutputsThatAreNone) {
    const TemporaryFolder folder;
    const fs::path out = folder / "a.png";
    EXPECT_THAT(refusal_of(curved(out, {}, kArch, "missing.nrrd")), HasSubstr("missing.nrrd"));
    EXPECT_THAT(refusal_of(curved(out, {}, kArch, phantoms().colour())), HasSubstr("colours"));
    EXPECT_THAT(refusal_of(curved(folder / "none" / "a.png", {})), HasSubstr("there is no folder"));
    EXPECT_THAT(refusal_of(curved(folder / "a.jpg", {})), HasSubstr("cannot tell the format"));
    EXPECT_THAT(refusal_of(curved(folder / "a.nrrd", {"--window", "40,400"})), HasSubstr("window"));
    EXPECT_THAT(refusal_of(rzobl({"curved", phantoms().ct(), "-o", out.string()})), HasSubstr("--points"));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
}

TEST(CurvedCli, PointsByTheHundredThousand) {
    const TemporaryFolder folder;
    const auto write = [&](int count) {
        std::ofstream file(folder / "many.csv");
        for (int i = 0; i < count; ++i) file << -40 + 80.0 * i / count << ",0,10\n";
    };
    write(100000);
    const std::string points = (folder / "many.csv").string();
    const Finished run = curved(folder / "a.png", {}, points);
    EXPECT_EQ(run.status, 0) << run.err;
    write(100001);
    EXPECT_THAT(refusal_of(curved(folder / "b.png", {}, points)), HasSubstr("at most 100000 points"));
}

TEST(CurvedCli, SaysHowItIsUsed) {
    const Finished help = rzobl({"curved", "--help"});
    EXPECT_EQ(help.status, 0);
    for (const char* part : {"LPS", "--local-frames", "RAS", "130", "head up"})
        EXPECT_THAT(help.out, HasSubstr(part));
}

namespace {

/// rzobl with a terminal as its standard error.
class OnTerminal {
  public:
    explicit OnTerminal(std::vector<std::string> arguments) {
        terminal_ = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
        if (terminal_ < 0 || grantpt(terminal_) != 0 || unlockpt(terminal_) != 0) return;
        std::string name = RZOBL_PROGRAM;
        std::vector<char*> argv{name.data()};
        for (std::string& argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int end = open(ptsname(terminal_), O_RDWR | O_NOCTTY | O_CLOEXEC);
        child_ = fork();
        if (child_ == 0) {
            dup2(end, STDERR_FILENO);
            execv(argv[0], argv.data());
            _exit(127);
        }
        close(end);
    }
    ~OnTerminal() {
        if (child_ > 0) {
            kill(child_, SIGKILL);
            waitpid(child_, nullptr, 0);
        }
        close(terminal_);
    }
    OnTerminal(const OnTerminal&) = delete;
    OnTerminal& operator=(const OnTerminal&) = delete;

    /// Reads until the text stands there; false at the end of the program or after half a minute.
    bool shows(const std::string& text) {
        const auto late = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (said_.find(text) == std::string::npos) {
            pollfd ready{terminal_, POLLIN, 0};
            if (std::chrono::steady_clock::now() > late) return false;
            if (poll(&ready, 1, 1000) <= 0) continue;
            char buffer[1024];
            const ssize_t count = read(terminal_, buffer, sizeof buffer);
            if (count <= 0) return false;
            said_.append(buffer, static_cast<std::size_t>(count));
        }
        return true;
    }
    void interrupt() const { kill(child_, SIGINT); }
    /// Waits for the end of the program; its status as waitpid gives it.
    int status() {
        shows("\x01 never");  // reads to the end
        int status = -1;
        waitpid(child_, &status, 0);
        child_ = -1;
        return status;
    }
    const std::string& said() const { return said_; }

  private:
    int terminal_ = -1;
    pid_t child_ = -1;
    std::string said_;
};

}  // namespace

TEST(CurvedCli, CtrlCCancelsAndLeavesNoFile) {
    const TemporaryFolder folder;
    // A minute of work or more.
    OnTerminal run({"curved", phantoms().ct(), "-o", (folder / "a.nrrd").string(), "--points", kArch,
                    "--spacing", "0.01", "--size", "10000x4000", "--thickness", "150", "--type", "max",
                    "--plane", (folder / "plane.png").string()});
    ASSERT_TRUE(run.shows("drawing")) << run.said();
    ASSERT_TRUE(run.shows("%")) << run.said();
    const auto then = std::chrono::steady_clock::now();
    run.interrupt();
    const int status = run.status();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 130) << status << run.said();
    EXPECT_THAT(run.said(), HasSubstr("rzobl: cancelled; nothing was written."));
    EXPECT_THAT(names_in(folder.path()), IsEmpty());
    EXPECT_LT(std::chrono::steady_clock::now() - then, std::chrono::seconds(10));
}

TEST(CurvedCli, TheBarGoesAwayWhenTheWorkIsDone) {
    const TemporaryFolder folder;
    OnTerminal run({"curved", phantoms().ct(), "-o", (folder / "a.nrrd").string(), "--points", kArch,
                    "--spacing", "0.05", "--size", "3000x2000", "--thickness", "40", "--quiet"});
    EXPECT_EQ(run.status(), 0);
    EXPECT_EQ(run.said(), "") << "quiet";
}

}  // namespace rz_test
