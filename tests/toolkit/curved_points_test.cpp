#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "tests/toolkit/readers_support.h"
#include "toolkit/core/error.h"
#include "toolkit/io/read_points.h"

// Points of curves from lists and files.

namespace rz_test {

using namespace rzobl;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class File {
  public:
    explicit File(const std::string& content, const std::string& name = "points.txt")
        : path_(folder_ / name) {
        write_text(path_, content);
    }
    std::vector<Vec3> read() const { return read_points(path_.string()); }

  private:
    TemporaryFolder folder_;
    std::filesystem::path path_;
};

std::vector<Vec3> from(const std::string& content) {
    return File(content).read();
}

std::string refusal(const std::function<void()>& read) {
    try {
        read();
    } catch (const Error& error) {
        EXPECT_THAT(error.what(), testing::Not(HasSubstr("\n")));
        return error.what();
    }
    return {};
}

std::string refused(const std::string& content) {
    return refusal([&] { from(content); });
}

std::string refused_list(const std::string& list) {
    return refusal([&] { read_points(list); });
}

const Vec3 kA{1.5, -2, 3}, kB{4, 5e1, -6.25};
const auto kBoth = ElementsAre(kA, kB);
const auto kTurned = ElementsAre(Vec3{-1.5, 2, 3}, Vec3{-4, -50, -6.25});

}  // namespace

TEST(CurvedPointsList, IsReadAsItStands) {
    EXPECT_THAT(read_points("1.5,-2,3;4,5e1,-6.25"), kBoth);
    EXPECT_THAT(read_points(" 1.5, -2 ,3 ; +4,50,-6.25;"), kBoth);
    EXPECT_THAT(read_points("1.5,-2,3"), ElementsAre(kA));
}

TEST(CurvedPointsList, SaysWhichPointIsWrong) {
    EXPECT_THAT(refused_list("1,2,3;4,5"), AllOf(HasSubstr("point 2"), HasSubstr("4,5")));
    EXPECT_THAT(refused_list("1,2,3;4,5,6,7"), HasSubstr("point 2"));
    EXPECT_THAT(refused_list("1,nan,3"), HasSubstr("point 1"));
    EXPECT_THAT(refused_list("1,inf,3"), HasSubstr("point 1"));
    EXPECT_THAT(refused_list("1,1e999,3"), HasSubstr("point 1"));
    EXPECT_THAT(refused_list("1,2,3;;4,5,6"), HasSubstr("point 2"));
    EXPECT_THAT(refused_list("1,2,3mm"), HasSubstr("3mm"));
    EXPECT_THAT(refused_list(","), HasSubstr("point 1"));
    EXPECT_THAT(refused_list("no-such-file.csv"), HasSubstr("neither a file nor a list"));
    EXPECT_THAT(refused_list("no/such,file.csv"), HasSubstr("neither a file nor a list"));
    EXPECT_THAT(refused_list(""), HasSubstr("neither a file nor a list"));
}

TEST(CurvedPointsTable, EverySeparator) {
    EXPECT_THAT(from("1.5,-2,3\n4,50,-6.25\n"), kBoth);
    EXPECT_THAT(from("1.5;-2;3\n4;50;-6.25"), kBoth);
    EXPECT_THAT(from("1.5\t-2\t3\r\n4\t50\t-6.25\r\n"), kBoth);
    EXPECT_THAT(from("  1.5  -2 3 \n\n4 50 -6.25\n\n"), kBoth);
    EXPECT_THAT(from("\xef\xbb\xbf"
                     "1.5,-2,3\n4,50,-6.25\n"),
                kBoth);
    EXPECT_THAT(from("# by hand\n1.5,-2,3\n# and\n4,50,-6.25\n"), kBoth);
}

TEST(CurvedPointsTable, NamedColumns) {
    EXPECT_THAT(from("x,y,z\n1.5,-2,3\n4,50,-6.25\n"), kBoth);
    EXPECT_THAT(from("Name;Z;Y;X\na;3;-2;1.5\nb;-6.25;50;4\n"), kBoth);
    EXPECT_THAT(from("label,l,p,s,seen\n\"a, first\",1.5,-2,3,1\nb,4,50,-6.25,0\n"), kBoth);
    EXPECT_THAT(from("label,r,a,s,seen\na,1.5,-2,3,1\nb,4,50,-6.25,0\n"), kTurned);
}

TEST(CurvedPointsTable, Markups) {
    const std::string head = "# Markups fiducial file version = 4.11\n";
    const std::string columns = "# columns = id,x,y,z,ow,ox,oy,oz,vis,sel,lock,label,desc\n";
    const std::string rows = "F_0,1.5,-2,3,0,0,0,1,1,1,0,F-1,\nF_1,4,50,-6.25,0,0,0,1,1,1,0,\"F, 2\",here\n";
    EXPECT_THAT(from(head + "# CoordinateSystem = LPS\n" + columns + rows), kBoth);
    EXPECT_THAT(from(head + "# CoordinateSystem = RAS\n" + columns + rows), kTurned);
    EXPECT_THAT(from(head + "# CoordinateSystem = 1\n" + columns + rows), kBoth);
    EXPECT_THAT(from(head + "# CoordinateSystem = 0\n" + columns + rows), kTurned);
    EXPECT_THAT(from(head + columns + rows), kTurned);
    EXPECT_THAT(refused(head + "# CoordinateSystem = 2\n" + columns + rows),
                HasSubstr("neither LPS nor RAS"));
    EXPECT_THAT(refused("# CoordinateSystem = LPS\nr,a,s\n1,2,3\n"), HasSubstr("other"));
}

TEST(CurvedPointsTable, SaysWhichLineIsWrong) {
    EXPECT_THAT(refused("1,2,3\n4,5,six\n"), AllOf(HasSubstr("points.txt, line 2"), HasSubstr("six")));
    EXPECT_THAT(refused("x,y,z\n1,2,3\n\n4,5\n"), AllOf(HasSubstr("line 4"), HasSubstr("too few")));
    EXPECT_THAT(refused("1,2\n"), AllOf(HasSubstr("line 1"), HasSubstr("2 columns")));
    EXPECT_THAT(refused("1,2,3,4\n"), AllOf(HasSubstr("line 1"), HasSubstr("4 columns")));
    EXPECT_THAT(refused("1,2,nan\n"), HasSubstr("not a finite number"));
    EXPECT_THAT(refused("1,2,\n"), HasSubstr("line 1"));
    EXPECT_THAT(refused("1,5;2,5;3,5\n"), AllOf(HasSubstr("line 1"), HasSubstr("1,5")));
    EXPECT_THAT(refused("no points, just words\n"), HasSubstr("line 1"));
    EXPECT_THAT(refused("# nothing\n"), HasSubstr("holds no points"));
    EXPECT_THAT(refused("x,y,z\n"), HasSubstr("holds no points"));
    EXPECT_THAT(refused(""), HasSubstr("is empty"));
    EXPECT_THAT(refused(" \n\n"), HasSubstr("is empty"));
    EXPECT_THAT(refused(std::string("\0\1\2\x89PNG\n\0", 9)), HasSubstr("line 1"));
}

TEST(CurvedPointsJson, Arrays) {
    EXPECT_THAT(from("[[1.5,-2,3],[4,50,-6.25]]"), kBoth);
    EXPECT_THAT(from(R"(  [ {"x":1.5,"y":-2,"z":3}, {"z":-6.25,"name":"b","y":50,"x":4} ])"), kBoth);
    EXPECT_THAT(from(R"({"points": [[1.5,-2,3],[4,50,-6.25]]})"), kBoth);
    EXPECT_THAT(from(R"({"coordinateSystem": "RAS", "points": [[1.5,-2,3],[4,50,-6.25]]})"), kTurned);
}

TEST(CurvedPointsJson, Markups) {
    const auto markup = [](const std::string& system, const std::string& units = "mm") {
        return R"({"@schema": "x", "markups": [{"type": "Curve", "coordinateSystem": ")" + system +
               R"(", "coordinateUnits": ")" + units + R"(", "controlPoints": [
            {"id": "1", "position": [1.5, -2.0, 3.0], "positionStatus": "defined"},
            {"id": "2", "position": [9, 9, 9], "positionStatus": "undefined"},
            {"id": "3", "position": [4.0, 50.0, -6.25]}]}]})";
    };
    EXPECT_THAT(from(markup("LPS")), kBoth);
    EXPECT_THAT(from(markup("RAS")), kTurned);
    EXPECT_THAT(refused(markup("IJK")), HasSubstr("neither LPS nor RAS"));
    EXPECT_THAT(refused(markup("LPS", "um")), HasSubstr("not in mm"));
    EXPECT_THAT(refused(R"({"markups": []})"), HasSubstr("0 markups"));
    EXPECT_THAT(refused(R"({"markups": [{}, {}]})"), HasSubstr("2 markups"));
    EXPECT_THAT(refused(R"({"markups": [{}]})"), HasSubstr("controlPoints"));
    EXPECT_THAT(refused(R"({"markups": [{"controlPoints": [{"position": [1, 2]}]}]})"), HasSubstr("point 1"));
    EXPECT_THAT(refused(R"({"markups": [{"controlPoints": [{}]}]})"), HasSubstr("point 1"));
    EXPECT_THAT(refused(R"({"markups": [{"coordinateSystem": 5, "controlPoints": []}]})"),
                HasSubstr("coordinateSystem"));
}

TEST(CurvedPointsJson, SaysWhatIsWrong) {
    EXPECT_THAT(refused("[[1,2,3],\n[4,5,]]"), AllOf(HasSubstr("line 2"), HasSubstr("not valid JSON")));
    EXPECT_THAT(refused("[[1,2,3]"), HasSubstr("not valid JSON"));
    EXPECT_THAT(refused("[[1,2,3],[4,5]]"), HasSubstr("point 2"));
    EXPECT_THAT(refused("[[1,2,3],[4,5,\"6\"]]"), HasSubstr("point 2"));
    EXPECT_THAT(refused("[[1,2,3],[4,5,null]]"), HasSubstr("point 2"));
    EXPECT_THAT(refused("[1,2,3]"), HasSubstr("point 1"));
    EXPECT_THAT(refused("[[1,2,1e999]]"), HasSubstr("points.txt"));
    EXPECT_THAT(refused("[[1,2,NaN]]"), HasSubstr("not valid JSON"));
    EXPECT_THAT(refused(R"([{"x":1,"y":2}])"), HasSubstr("point 1"));
    EXPECT_THAT(refused("{}"), HasSubstr("neither \"points\" nor \"markups\""));
    EXPECT_THAT(refused(R"({"points": 5})"), HasSubstr("not an array"));
    EXPECT_THAT(refused("[]"), HasSubstr("holds no points"));
    EXPECT_THAT(refused(std::string(100000, '[')), HasSubstr("not valid JSON"));
    EXPECT_THAT(refused("[\"\xff\xfe\"]"), HasSubstr("not valid JSON"));
}

TEST(CurvedPointsFile, RefusesWhatIsNone) {
    const TemporaryFolder folder;
    EXPECT_THAT(refused_list(folder.path().string()), HasSubstr("not a regular file"));
}

}  // namespace rz_test
