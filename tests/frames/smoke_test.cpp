#include <gtest/gtest.h>

#include <vector>

#include "rz_obl/rz_obl.h"

// The road of a request from slice objects to pixels, on numbers that a hand can follow.

namespace {

/// 8 x 7 x 6 samples of 1 mm, the start corner at the physical origin: sample centres at i + 0.5 mm.
class SmokeVolume {
  public:
    static constexpr int kX = 8;
    static constexpr int kY = 7;
    static constexpr int kZ = 6;

    template <class SampleOf>
    explicit SmokeVolume(SampleOf sampleOf)
        : box(kX, kY, kZ, RZ_BoxParams(kX, kY, kZ)), samples_(kX * kY * kZ) {
        const PixelDataAttributes attributes{kX, kY, 16, 1};
        slices_.reserve(kZ);
        for (int z = 0; z < kZ; ++z) {
            short* const raster = samples_.data() + z * kX * kY;
            for (int i = 0; i < kX * kY; ++i) raster[i] = static_cast<short>(sampleOf(i % kX, i / kX, z));
            slices_.emplace_back(raster, attributes);
        }
        for (RZ_ShortSlice& slice : slices_) table_.push_back(&slice);
    }

    RZ_ShortSlice** slices() { return table_.data(); }

    RZ_Box box;

  private:
    std::vector<short> samples_;
    std::vector<RZ_ShortSlice> slices_;
    std::vector<RZ_ShortSlice*> table_;
};

struct Image {
    static constexpr int kWidth = SmokeVolume::kX;
    static constexpr int kHeight = SmokeVolume::kY;
    static constexpr short kBackground = -7777;

    std::vector<short> pixels = std::vector<short>(kWidth * kHeight, kBackground);
    int firstRow = 1000;
    int lastRow = -1;
    int firstColumn = 1000;
    int lastColumn = -1;
    int result = 0;

    short at(int column, int row) const { return pixels[static_cast<std::size_t>(row * kWidth + column)]; }
};

/// An axial plane at height z (mm), one pixel per sample column and row.
Image axial(SmokeVolume& volume, float z, float halfThickness,
            RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average,
            RZ_OBL_RenditionQuality quality = RZ_OBL_RenditionQuality::Linear) {
    const float normal[3] = {0.0F, 0.0F, 1.0F};
    const float origin[3] = {0.0F, 0.0F, z};
    const float unit[3] = {1.0F, 0.0F, 0.0F};
    const RZ_PlaneParams plane(normal, origin, unit);
    const RZ_Box outputBox(Image::kWidth, Image::kHeight, 1,
                           RZ_BoxParams(Image::kWidth, Image::kHeight, 1.0F));
    Image image;
    image.result =
        RZ_CalcOblique(volume.slices(), volume.box, volume.box.params, plane, nullptr, image.pixels.data(),
                       outputBox, &image.firstRow, &image.lastRow, &image.firstColumn, &image.lastColumn, 0,
                       SmokeVolume::kZ - 1, quality, halfThickness, type, true, 16);
    return image;
}

TEST(planar_smoke, a_constant_volume_comes_out_three_lower) {
    SmokeVolume volume([](int, int, int) { return 1000; });
    const Image image = axial(volume, 2.8F, 0.0F);
    EXPECT_EQ(image.result, 1);
    // 0.01 samples of margin take the first column and row, one sample more the last
    for (int row = 0; row < Image::kHeight; ++row) {
        for (int column = 0; column < Image::kWidth; ++column) {
            const bool inside = row >= 1 && row <= 5 && column >= 1 && column <= 6;
            EXPECT_EQ(image.at(column, row), inside ? 997 : Image::kBackground) << column << ", " << row;
        }
    }
    EXPECT_EQ(image.firstRow, 1);
    EXPECT_EQ(image.lastRow, 5);
    EXPECT_EQ(image.firstColumn, 1);
    EXPECT_EQ(image.lastColumn, 6);
}

TEST(planar_smoke, a_plane_through_sample_centres_finds_each_sample) {
    const auto sample = [](int x, int y, int z) { return -(100 * z + 10 * y + x); };
    SmokeVolume volume(sample);
    const Image image = axial(volume, 3.5F, 0.0F);
    for (int row = 1; row <= 5; ++row)
        for (int column = 1; column <= 6; ++column)
            // weights (32767, 0) round a negative sample back to itself
            EXPECT_EQ(image.at(column, row), sample(column, row, 3)) << column << ", " << row;
}

TEST(planar_smoke, nearest_maximum_is_the_sample_itself) {
    const auto sample = [](int x, int y, int z) { return 100 * z + 10 * y + x; };
    SmokeVolume volume(sample);
    const Image image =
        axial(volume, 3.5F, 0.0F, RZ_OBL_RenditionType::Maximum, RZ_OBL_RenditionQuality::Nearest);
    EXPECT_EQ(image.at(2, 2), sample(2, 2, 3));
    EXPECT_EQ(image.at(5, 4), sample(5, 4, 3));
}

TEST(planar_smoke, a_slab_is_the_mean_of_its_planes) {
    SmokeVolume volume([](int, int, int z) { return -(z * z * 30); });
    // 1.2 mm hold one step of 1 mm on each side: slices 2, 3, 4 of -120, -270, -480
    const Image image = axial(volume, 3.5F, 1.2F);
    EXPECT_EQ(image.at(3, 3), -290);
    // its lower face lies at index -1.65, beyond the guard slice: nothing is scanned
    const Image tooThick = axial(volume, 3.5F, 4.6F);
    EXPECT_EQ(tooThick.at(3, 3), Image::kBackground);
    EXPECT_EQ(tooThick.firstRow, 0);
    EXPECT_EQ(tooThick.firstColumn, Image::kWidth);
    EXPECT_EQ(tooThick.lastRow, 0);
    EXPECT_EQ(tooThick.lastColumn, 0);
}

TEST(planar_smoke, an_unknown_type_draws_nothing) {
    SmokeVolume volume([](int, int, int) { return 1000; });
    const Image image = axial(volume, 2.8F, 0.0F, static_cast<RZ_OBL_RenditionType>(3));
    EXPECT_EQ(image.result, 1);
    EXPECT_EQ(image.pixels, Image().pixels);
    EXPECT_EQ(image.firstRow, 1000);
    EXPECT_EQ(image.lastColumn, -1);
}

}  // namespace
