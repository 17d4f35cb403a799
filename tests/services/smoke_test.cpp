#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <type_traits>
#include <vector>

#include "lower/pager/mem_pager.h"
#include "rz_obl/volume_services/volume_services.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

// What the volume services return, own, share and abandon; the values of their samples are another test's.

namespace {

constexpr int kWidth = 12;
constexpr int kHeight = 10;
constexpr int kDepth = 8;

/// A volume over rasters of its own, one sample a millimetre in x and y.
class Source {
  public:
    explicit Source(double zSpacing) : rasters_(kDepth) {
        const double start[3] = {0.0, 0.0, 0.0};
        const double sides[3][3] = {{kWidth, 0.0, 0.0}, {0.0, kHeight, 0.0}, {0.0, 0.0, kDepth * zSpacing}};
        RZ_Box box(kWidth, kHeight, kDepth, RZ_BoxParams(start, sides[0], sides[1], sides[2]));
        volume = std::make_unique<RZ_VolData>(&box, 0);
        volume->SetRescaleTrans(0.5, -1024.0);
        for (int z = 0; z < kDepth; ++z) {
            std::vector<short>& raster = rasters_[static_cast<std::size_t>(z)];
            for (int i = 0; i < kWidth * kHeight; ++i)
                raster.push_back(static_cast<short>(100 * z + i % 97 + 1));
            auto* slice = new RZ_ShortSlice(raster.data(), PixelDataAttributes{kWidth, kHeight, 16, 1});
            slice->bitDepth = 12;
            slice->computed = true;  // must not show in a copy
            volume->SetSlice(slice, z);
        }
        before_ = rasters_;
    }

    bool untouched() const { return rasters_ == before_; }
    const short* raster(int z) const { return rasters_[static_cast<std::size_t>(z)].data(); }

    std::unique_ptr<RZ_VolData> volume;

  private:
    std::vector<std::vector<short>> rasters_;
    std::vector<std::vector<short>> before_;
};

RZ_PlaneParams planeAt(float z) {
    return {RZ_3Coord(0.0F, 0.2F, 1.0F), RZ_3Coord(6.0F, 5.0F, z), RZ_3Coord(1.0F, 0.0F, 0.0F)};
}

std::unique_ptr<RZ_VolData> planeOf(const Source& source, float thickness) {
    RZ_PlaneParams plane = planeAt(4.0F);
    return std::unique_ptr<RZ_VolData>(
        RZ_OBLUtils::CalcObliqueVoldata(*source.volume, plane, RZ_OBL_RenditionType::Maximum, thickness));
}

std::unique_ptr<RZ_VolData> rangeOf(const Source& source, unsigned first, unsigned last, float spacing) {
    return std::unique_ptr<RZ_VolData>(RZ_OBLUtils::CalcObliqueVoldata(*source.volume, first, last, spacing));
}

void expectRescale(const RZ_VolData& volume) {
    double slope = 0.0;
    double intercept = 0.0;
    volume.GetRescaleTrans(&slope, &intercept);
    EXPECT_EQ(slope, 0.5);
    EXPECT_EQ(intercept, -1024.0);
}

/// No memory for rasters while it lives.
class NoRasters {
  public:
    NoRasters() { MEM_MemPager::SetPagingDirectory("/nonexistent/directory"); }
    ~NoRasters() { MEM_MemPager::SetPagingDirectory(nullptr); }
    NoRasters(const NoRasters&) = delete;
    NoRasters& operator=(const NoRasters&) = delete;

#if defined(__SANITIZE_ADDRESS__)
  private:
    __lsan::ScopedDisabler abandoned_;  // what the failure path leaves behind is told so
#endif
};

TEST(ObliqueVoldata, plane_is_a_volume_of_one_computed_slice) {
    const Source source(1.0);
    for (const float thickness : {0.0F, 3.0F}) {
        const auto result = planeOf(source, thickness);
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(result->GetBox()->zDim, 1);
        const auto* slice = static_cast<const RZ_ShortSlice*>(result->GetSlice(0));
        ASSERT_NE(slice, nullptr);
        EXPECT_TRUE(slice->computed);
        EXPECT_EQ(slice->pixelKind, 0);
        EXPECT_EQ(slice->GetAttributes().width, result->GetBox()->xDim);
        EXPECT_EQ(slice->GetAttributes().height, result->GetBox()->yDim);
        expectRescale(*result);
        const int count = result->GetBox()->xDim * result->GetBox()->yDim;
        const std::set<short> values(slice->GetMappedSlice(), slice->GetMappedSlice() + count);
        EXPECT_GT(values.size(), 50U) << "hardly a picture";
        EXPECT_TRUE(source.untouched());
    }
}

TEST(ObliqueVoldata, plane_comes_back_to_physical_space) {
    const Source source(1.0);
    const auto result = planeOf(source, 0.0F);
    ASSERT_NE(result, nullptr);
    float middle[3];
    result->GetBox()->params.GetMiddle(middle);
    const RZ_PlaneParams plane = planeAt(4.0F);
    EXPECT_NEAR(plane.Distance(middle), 0.0F, 1e-3F);
    EXPECT_NEAR(middle[0], 6.0F, 1.0F);
    EXPECT_NEAR(middle[1], 5.0F, 1.0F);
}

TEST(ObliqueVoldata, result_outlives_its_source_where_it_is_computed) {
    auto source = std::make_unique<Source>(1.0);
    const auto result = planeOf(*source, 0.0F);
    ASSERT_NE(result, nullptr);
    source.reset();
    const auto* slice = static_cast<const RZ_ShortSlice*>(result->GetSlice(0));
    slice->GetMappedSlice()[0] = 7;
    EXPECT_EQ(slice->GetMappedSlice()[0], 7);
}

TEST(ObliqueVoldata, spacing_that_meets_source_slices_shares_them) {
    const Source source(0.5);
    const auto result = rangeOf(source, 2, 7, 1.0F);
    ASSERT_NE(result, nullptr);
    ASSERT_EQ(result->GetBox()->zDim, 3);
    for (int i = 0; i < 3; ++i) {
        const RZ_Slice* slice = result->GetSlice(static_cast<unsigned>(i));
        ASSERT_NE(slice, nullptr);
        EXPECT_EQ(slice->MappedRaster(), source.raster(2 + 2 * i));
        EXPECT_FALSE(slice->computed);
        EXPECT_EQ(slice->bitDepth, 12);
    }
    expectRescale(*result);
}

TEST(ObliqueVoldata, even_slices_are_shared_and_odd_ones_computed_at_half_the_spacing) {
    const Source source(1.5);
    const auto result = rangeOf(source, 1, 4, 0.75F);
    ASSERT_NE(result, nullptr);
    ASSERT_EQ(result->GetBox()->zDim, 8);
    for (int i = 0; i < 8; ++i) {
        const RZ_Slice* slice = result->GetSlice(static_cast<unsigned>(i));
        ASSERT_NE(slice, nullptr);
        if (i % 2 == 0) {
            EXPECT_EQ(slice->MappedRaster(), source.raster(1 + i / 2));
            EXPECT_FALSE(slice->computed);
            continue;
        }
        EXPECT_TRUE(slice->computed);
        ASSERT_NE(dynamic_cast<const RZ_ShortSlice*>(slice), nullptr);
        const auto* raster = static_cast<const short*>(slice->MappedRaster());
        EXPECT_EQ(slice->GetAttributes().width, kWidth);
        EXPECT_EQ(slice->GetAttributes().height, kHeight);
        // The centre of place i of 8 over slices 1 to 4: between two slices 100 apart.
        const double index = 1.0 + (i + 0.5) / 2.0 - 0.5;
        const int k = 5 * kWidth + 6;
        EXPECT_NEAR(raster[k], 100.0 * index + k % 97 + 1, 3.0) << i;
    }
    EXPECT_TRUE(source.untouched());
    expectRescale(*result);
}

TEST(ObliqueVoldata, spacing_wider_than_the_range_gives_no_slices) {
    const Source source(1.0);
    const auto result = rangeOf(source, 2, 3, 100.0F);
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->GetBox()->zDim, 0);
    EXPECT_EQ(result->GetSlice(0), nullptr);
    expectRescale(*result);
}

TEST(ObliqueVoldata, slices_that_cannot_be_mapped_give_null) {
    const Source source(1.0);
    source.volume->SetSlice(nullptr, 3);
    EXPECT_EQ(planeOf(source, 0.0F), nullptr);
    EXPECT_EQ(rangeOf(source, 0, 7, 0.5F), nullptr);
}

TEST(ObliqueVoldata, rasters_that_cannot_be_had_give_null_and_leave_the_source) {
    const Source source(1.0);
    {
        const NoRasters none;
        EXPECT_EQ(planeOf(source, 0.0F), nullptr);
        EXPECT_EQ(rangeOf(source, 0, 7, 0.5F), nullptr);
        // Nothing to compute, nothing to fail.
        EXPECT_NE(rangeOf(source, 0, 7, 1.0F), nullptr);
    }
    EXPECT_TRUE(source.untouched());
    EXPECT_NE(planeOf(source, 0.0F), nullptr);
    EXPECT_NE(rangeOf(source, 0, 7, 0.5F), nullptr);
}

TEST(ObliqueVoldata, result_with_shared_slices_serves_as_source) {
    const Source source(1.0);
    const auto stacked = rangeOf(source, 0, 7, 0.5F);
    ASSERT_NE(stacked, nullptr);
    RZ_PlaneParams plane = planeAt(4.0F);
    const std::unique_ptr<RZ_VolData> again(
        RZ_OBLUtils::CalcObliqueVoldata(*stacked, plane, RZ_OBL_RenditionType::Average, 0.0F));
    EXPECT_NE(again, nullptr);
}

TEST(ObliqueVoldata, utilities_hold_nothing_and_assign_nothing) {
    RZ_OBLUtils a;
    RZ_OBLUtils b(a);
    EXPECT_EQ(&(a = b), &a);
    EXPECT_EQ(&(a = RZ_OBLUtils()), &a);
    static_assert(std::is_empty_v<RZ_OBLUtils>);
}

TEST(FastIndex, empty_object_has_no_array) {
    const FFastInd index;
    EXPECT_EQ(index.GetArray(), nullptr);
}

TEST(FastIndex, rows_and_their_guards) {
    constexpr int kX = 3;
    constexpr int kY = 4;
    constexpr int kZ = 2;
    short rasters[kZ + 2][kX * kY];
    const short* table[kZ + 2];
    for (int i = 0; i < kZ + 2; ++i) table[i] = rasters[i];
    FFastInd index;
    index.BuiltIndeces(table + 1, RZ_Box(kX, kY, kZ, RZ_BoxParams()));
    const short*** array = index.GetArray();
    for (int k = -1; k <= kZ; ++k) {
        EXPECT_EQ(array[k][-1], table[k + 1]);
        for (int j = 0; j < kY; ++j) EXPECT_EQ(array[k][j], table[k + 1] + j * kX);
        EXPECT_EQ(array[k][kY], table[k + 1] + (kY - 1) * kX);
    }
}

TEST(Resample, same_box_gives_back_the_interior) {
    short slice[2][9] = {{0, 1, 2, 3, 4, 5, 6, 7, 8}, {10, 11, 12, 13, 14, 15, 16, 17, 18}};
    short* rasters[] = {slice[0], slice[1]};
    RZ_TVolumeRecord<short> record;
    record.rasters = rasters;
    float out[2][9] = {};
    float* outRasters[] = {out[0], out[1]};
    RZ_TVolumeRecord<float> outRecord;
    outRecord.rasters = outRasters;
    const RZ_Box box(3, 3, 2, RZ_BoxParams(3.0F, 3.0F, 2.0F));
    RZ_TVolume<short> source(box, &record);
    RZ_TVolume<float> destination(box, &outRecord);
    EXPECT_EQ(RZ_OBLUtils::Resample(source, destination, -5.0F, 0), 1);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) EXPECT_EQ(out[0][3 * y + x], static_cast<float>(slice[0][3 * y + x]));
    }
    EXPECT_EQ(out[0][8], 4.0F) << "the last row and column repeat the last but one";
}

TEST(Resample, empty_destination_writes_nothing) {
    RZ_TVolume<float> source(RZ_Box(0, 0, 0, RZ_BoxParams()), nullptr);
    for (int axis = 0; axis < 3; ++axis) {
        RZ_TVolume<float> destination(
            RZ_Box(axis == 0 ? 0 : 2, axis == 1 ? 0 : 2, axis == 2 ? 0 : 2, RZ_BoxParams()), nullptr);
        EXPECT_EQ(RZ_OBLUtils::Resample(source, destination, 0.0F, 0), 1);
    }
}

}  // namespace
