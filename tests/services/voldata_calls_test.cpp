#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "lower/log/log.h"
#include "rz_obl/volume_services/volume_services.h"
#include "tests/services/voldata_recorder.h"
#include "tests/services/voldata_source.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

// What CalcObliqueVoldata asks of the lower library, in which order, and what it leaves behind where it
// fails.

namespace {

using namespace rz_test;
using Events = std::vector<std::string>;
using Type = RZ_OBL_RenditionType;

/// What a failed call abandons is told so.
class Abandoned {
#if defined(__SANITIZE_ADDRESS__)
    __lsan::ScopedDisabler disabler_;
#else
  public:
    ~Abandoned() {}
#endif
};

/// width x height x depth samples, 1 mm apart in x and y.
RZ_Box upright(int width, int height, int depth, double zSpacing) {
    const double start[3] = {0, 0, 0};
    const double sides[3][3] = {
        {static_cast<double>(width), 0, 0}, {0, static_cast<double>(height), 0}, {0, 0, depth * zSpacing}};
    return RZ_Box(width, height, depth, RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

RZ_PlaneParams level_plane(float z) {
    return {RZ_3Coord(0.0F, 0.0F, 1.0F), RZ_3Coord(0.0F, 0.0F, z), RZ_3Coord(1.0F, 0.0F, 0.0F)};
}

std::unique_ptr<RZ_VolData> plane_of(const VoldataSource& source, Type type, float thickness) {
    RZ_PlaneParams plane = level_plane(2.5F);
    return std::unique_ptr<RZ_VolData>(
        RZ_OBLUtils::CalcObliqueVoldata(*source.volume, plane, type, thickness));
}

std::unique_ptr<RZ_VolData> range_of(const VoldataSource& source, unsigned first, unsigned last,
                                     float spacing) {
    return std::unique_ptr<RZ_VolData>(RZ_OBLUtils::CalcObliqueVoldata(*source.volume, first, last, spacing));
}

TEST(ObliqueVoldataCalls, plane_in_its_order) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    const struct {
        Type type;
        float thickness;
        const char* plane;
    } cases[] = {
        {Type::Average, 0.0F, "plane 0..7 half 0x0p+0 type 0"},
        {Type::Maximum, 3.0F, "plane 0..7 half 0x1.8p+0 type 1"},
        {Type::Minimum, 1.0F, "plane 0..7 half 0x1p-1 type 2"},
    };
    for (const auto& c : cases) {
        const Recording recording;
        const auto result = plane_of(source, c.type, c.thickness);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(recording->events,
                  (Events{"map 8", "handle", "allocate 240", "fill 60", c.plane, "unmap block", "unmap 8"}));
        ASSERT_EQ(recording->planes.size(), 1U);
        const PlaneCall& call = recording->planes[0];
        EXPECT_EQ(call.slices, source.volume->GetSlices());
        EXPECT_EQ(call.volumeBox, source.volume->GetBox());
        EXPECT_EQ(call.volumeParams, &source.volume->GetBox()->params);
        EXPECT_TRUE(call.clippedByOutput);
    }
}

TEST(ObliqueVoldataCalls, half_of_the_raster_is_cleared) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    const Recording recording;
    recording->fresh = 0x1234;
    const auto result = plane_of(source, Type::Average, 0.0F);
    const std::vector<short>& raster = recording->planes.at(0).raster;
    ASSERT_EQ(raster.size(), 120U);
    for (std::size_t i = 0; i < 120; ++i) EXPECT_EQ(raster[i], i < 60 ? 0 : 0x1234) << i;
}

TEST(ObliqueVoldataCalls, range_takes_a_block_for_each_computed_slice_and_none_for_a_shared_one) {
    const VoldataSource source(upright(12, 10, 8, 1.5), 1);
    const Recording recording;
    const auto result = range_of(source, 1, 2, 0.75F);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(
        recording->events,
        (Events{"map 8",  //
                "handle", "allocate 240", "fill 60", "plane 0..7 half 0x0p+0 type 0", "unmap block", "handle",
                "allocate 240", "fill 60", "plane 0..7 half 0x0p+0 type 0", "unmap block", "unmap 8"}));
    // The working plane passes through the centres of places 1 and 3 of 4 over 1.5 to 4.5 mm.
    ASSERT_EQ(recording->planes.size(), 2U);
    for (std::size_t k = 0; k < 2; ++k) {
        float origin[3];
        recording->planes[k].plane.GetOrigin(origin);
        EXPECT_EQ(origin[0], 0.0F);
        EXPECT_EQ(origin[1], 0.0F);
        EXPECT_FLOAT_EQ(origin[2], 1.5F + 0.75F * (1.5F + 2.0F * static_cast<float>(k)));
    }
}

TEST(ObliqueVoldataCalls, whole_multiples_of_the_spacing_cost_no_plane_and_no_memory) {
    const VoldataSource source(upright(12, 10, 8, 0.5), 1);
    for (const float spacing : {0.5F, 1.0F, 1.5F}) {
        const Recording recording;
        const auto result = range_of(source, 0, 7, spacing);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(recording->events, (Events{"map 8", "unmap 8"}));
        EXPECT_EQ(result->GetBox()->zDim, static_cast<int>(4.0F / spacing));
        for (int i = 0; i < result->GetBox()->zDim; ++i) {
            EXPECT_EQ(result->GetSlice(static_cast<unsigned>(i))->MappedRaster(),
                      source.raster(i * static_cast<int>(spacing / 0.5F)));
        }
    }
}

TEST(ObliqueVoldataCalls, spacing_that_rounds_is_computed_on_a_source_slice) {
    // 9 x 0.1 rounds to a float above 0.9, so place 9 is no multiple of 0.9 although it lies on a slice.
    const VoldataSource source(upright(6, 5, 8, 0.9), 1);
    ASSERT_EQ(source.volume->GetBox()->GetZMmPerPixel(), 0.9F);
    ASSERT_GT(9.0F * 0.1F, 0.9F);
    const auto result = range_of(source, 2, 4, 0.1F);
    ASSERT_NE(result, nullptr);
    EXPECT_FALSE(result->GetSlice(0)->computed) << "0 is a multiple of everything";
    EXPECT_TRUE(result->GetSlice(9)->computed);
}

TEST(ObliqueVoldataCalls, depth_is_divided_anew_and_the_rest_of_the_box_stays) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    // (5 x 1) / 0.3 = 16.67: 16 slices over the same 5 mm.
    const auto result = range_of(source, 2, 6, 0.3F);
    ASSERT_NE(result, nullptr);
    const RZ_Box& box = *result->GetBox();
    EXPECT_EQ(box.zDim, 16);
    EXPECT_EQ(box.xDim, 12);
    EXPECT_EQ(box.yDim, 10);
    float size[3];
    box.params.GetSize(size);
    EXPECT_EQ(size[2], 5.0F);
    float start[3];
    box.params.GetStart(start);
    EXPECT_EQ(start[2], 2.0F);
    EXPECT_EQ(box.GetZMmPerPixel(), 0.3125F);
}

TEST(ObliqueVoldataCalls, no_slices_at_all) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    for (const float spacing : {100.0F, 0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()}) {
        const Recording recording;
        const auto result = range_of(source, 2, 3, spacing);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(recording->events, (Events{"map 8", "unmap 8"})) << spacing;
        EXPECT_EQ(result->GetSlice(0), nullptr);
    }
    // A range that ends one before it starts has no slices; n is unsigned and wraps to 0.
    const auto result = range_of(source, 3, 2, 1.0F);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->GetBox()->zDim, 0);
}

TEST(ObliqueVoldataFailure, slices_that_cannot_be_mapped_end_the_call_at_once) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    source.volume->SetSlice(nullptr, 3);
    const Recording recording;
    EXPECT_EQ(plane_of(source, Type::Average, 0.0F), nullptr);
    EXPECT_EQ(range_of(source, 4, 7, 0.5F), nullptr) << "slices outside the range are mapped, too";
    EXPECT_EQ(recording->events, (Events{"map 8", "map 8"}));
}

TEST(ObliqueVoldataFailure, plane_without_a_block_unmaps_and_destroys_the_handle) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    const Recording recording;
    recording->granted = 0;
    const Abandoned abandoned;
    EXPECT_EQ(plane_of(source, Type::Average, 0.0F), nullptr);
    EXPECT_EQ(recording->events, (Events{"map 8", "handle", "allocate 240", "unmap 8", "handle destroyed",
                                         "with the deleting flag"}));
    EXPECT_TRUE(source.untouched());
}

TEST(ObliqueVoldataFailure, range_without_a_block_abandons_what_it_made) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    for (int granted = 0; granted < 3; ++granted) {
        const Recording recording;
        recording->granted = granted;
        const Abandoned abandoned;
        EXPECT_EQ(range_of(source, 0, 7, 0.5F), nullptr);
        const Events& events = recording->events;
        ASSERT_EQ(events.size(), static_cast<std::size_t>(5 * granted + 6));
        EXPECT_EQ(Events(events.end() - 5, events.end()),
                  (Events{"handle", "allocate 240", "unmap 8", "handle destroyed", "with the deleting flag"}))
            << "no handle but the last is destroyed, and only after the source is unmapped";
    }
}

TEST(ObliqueVoldataFailure, sizes_that_wrap_to_nothing_cannot_be_had) {
    // 65536 x 65536 samples of 2 bytes are 0 bytes in 32 bits. Slice 0 is shared, slice 1 fails.
    RZ_Box box = upright(65536, 65536, 2, 1.0);
    const VoldataSource small(upright(2, 2, 2, 1.0), 1);
    RZ_VolData volume(&box, 0);
    std::vector<short> raster(4);
    for (int z = 0; z < 2; ++z)
        volume.SetSlice(new RZ_ShortSlice(raster.data(), PixelDataAttributes{65536, 65536, 16, 1}), z);
    const Recording recording;
    const Abandoned abandoned;
    EXPECT_EQ(RZ_OBLUtils::CalcObliqueVoldata(volume, 0U, 1U, 0.5F), nullptr);
    EXPECT_EQ(recording->events, (Events{"map 2", "handle", "allocate 0", "unmap 2", "handle destroyed",
                                         "with the deleting flag"}));
}

TEST(ObliqueVoldataFailure, exception_of_a_plane_passes_and_leaves_the_source_mapped) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    {
        const Recording recording;
        recording->planeThrows = true;
        const Abandoned abandoned;
        EXPECT_THROW(plane_of(source, Type::Average, 0.0F), std::bad_alloc);
        EXPECT_EQ(recording->events,
                  (Events{"map 8", "handle", "allocate 240", "fill 60", "plane 0..7 half 0x0p+0 type 0"}));
    }
    const Recording recording;
    recording->planeThrows = true;
    const Abandoned abandoned;
    EXPECT_THROW(range_of(source, 0, 7, 0.5F), std::bad_alloc);
    EXPECT_EQ(recording->events,
              (Events{"map 8", "handle", "allocate 240", "fill 60", "plane 0..7 half 0x0p+0 type 0"}));
}

void count_line(const Jrn_LogRecord& record, void* user) {
    if (record.category == 208 && std::string(record.text).find("MPR") == std::string::npos)
        ++*static_cast<int*>(user);
}

TEST(ObliqueVoldataFailure, nothing_is_logged) {
    const VoldataSource source(upright(12, 10, 8, 1.0), 1);
    const int threshold = JrnGLog.GetThreshold();
    int lines = 0;
    JrnGLog.SetSink(&count_line, &lines);
    JrnGLog.SetThreshold(7);
    {
        const Recording recording;
        recording->granted = 0;
        const Abandoned abandoned;
        EXPECT_EQ(plane_of(source, Type::Average, 0.0F), nullptr);
        EXPECT_EQ(range_of(source, 0, 7, 0.5F), nullptr);
    }
    EXPECT_NE(plane_of(source, Type::Average, 0.0F), nullptr);
    JrnGLog.SetThreshold(threshold);
    JrnGLog.SetSink(nullptr, nullptr);
    EXPECT_EQ(lines, 0);
}

}  // namespace
