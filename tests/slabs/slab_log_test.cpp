#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lower/log/log.h"
#include "rz_obl/rz_oblique/rz_oblique.h"

// What the slab functions log, and that they log nothing unless asked.

namespace {

struct Line {
    std::string file, function;
    int line, level, category;
    std::string text;
};

/// Collects the lines of a level while it lives.
class Lines {
  public:
    explicit Lines(int threshold) : before_(JrnGLog.GetThreshold()) {
        JrnGLog.SetSink(&Lines::receive, this);
        JrnGLog.SetThreshold(threshold);
    }
    ~Lines() {
        JrnGLog.SetThreshold(before_);
        JrnGLog.SetSink(nullptr, nullptr);
    }
    Lines(const Lines&) = delete;
    Lines& operator=(const Lines&) = delete;

    std::vector<Line> all;

  private:
    static void receive(const Jrn_LogRecord& r, void* user) {
        static_cast<Lines*>(user)->all.push_back({r.file, r.function, r.line, r.level, r.category, r.text});
    }
    int before_;
};

void expect_line(const Line& line, const char* function, const char* text) {
    EXPECT_EQ(line.file, "rz_oblique");
    EXPECT_EQ(line.function, function);
    EXPECT_EQ(line.text, text);
    EXPECT_EQ(line.level, 7);
    EXPECT_EQ(line.category, 208);
    EXPECT_GT(line.line, 0);
}

int combine(const std::vector<short*>& slices) {
    short output[16] = {};
    return RZ_GetMultiSlicePlane(slices, 1, 1, true, RZ_OBL_SlabbingType::SlabAverage, output, 0, 0, nullptr,
                                 0, 0);
}

int subtract(const std::vector<void*>& slices, int bitDepth, bool isSigned, float shiftX, float shiftY) {
    short output[32] = {};
    RZ_SubOpParams p;
    p.pixel_shift[0] = shiftX;
    p.pixel_shift[1] = shiftY;
    return RZ_GetMultiSliceSubtractionPlane(slices, 1, 1, bitDepth, isSigned, output, p, nullptr, p);
}

TEST(SlabLog, multi_slice_plane) {
    std::vector<short> raster(8, 1);
    const Lines lines(7);
    EXPECT_EQ(combine({raster.data()}), 1);
    ASSERT_EQ(lines.all.size(), 1U);
    expect_line(lines.all[0], "RZ_GetMultiSlicePlane", "RZ_GetMultiSlicePlane <==>");
}

TEST(SlabLog, subtraction_plane) {
    std::vector<short> raster(8, 1);
    const Lines lines(7);
    EXPECT_EQ(subtract({raster.data()}, 12, true, 0.5F, -2.25F), 1);
    ASSERT_EQ(lines.all.size(), 2U);
    expect_line(lines.all[0], "RZ_GetMultiSliceSubtractionPlane",
                "RZ_GetMultiSliceSubtractionPlane bitdepth is 12 and is_signed is 1\n");
    expect_line(lines.all[1], "RZ_GetMultiSliceSubtractionPlane",
                "RZ_GetMultiSliceSubtractionPlane pixel_shift is 0.500000 -2.250000\n");
    EXPECT_EQ(lines.all[1].line, lines.all[0].line + 1);
}

TEST(SlabLog, refused_calls_say_the_same_and_no_more) {
    const Lines lines(7);
    EXPECT_EQ(combine({}), -1);
    EXPECT_EQ(subtract({}, 99, false, 1e10F, 0.0F), -1);
    ASSERT_EQ(lines.all.size(), 3U);
    expect_line(lines.all[0], "RZ_GetMultiSlicePlane", "RZ_GetMultiSlicePlane <==>");
    expect_line(lines.all[1], "RZ_GetMultiSliceSubtractionPlane",
                "RZ_GetMultiSliceSubtractionPlane bitdepth is 99 and is_signed is 0\n");
    expect_line(lines.all[2], "RZ_GetMultiSliceSubtractionPlane",
                "RZ_GetMultiSliceSubtractionPlane pixel_shift is 10000000000.000000 0.000000\n");
}

TEST(SlabLog, nothing_where_no_line_of_level_7_is_wanted) {
    std::vector<short> raster(8, 1);
    for (const int threshold : {6, 3, -1}) {
        const Lines lines(threshold);
        EXPECT_EQ(combine({raster.data()}), 1);
        EXPECT_EQ(subtract({raster.data()}, 12, true, 0.5F, 0.5F), 1);
        EXPECT_EQ(combine({}), -1);
        EXPECT_TRUE(lines.all.empty());
    }
}

}  // namespace
