#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>

#include "lower/volume/slice.h"
#include "lower/volume/tvolume.h"
#include "lower/volume/vol_data.h"

namespace {

/// Counts how many of its kind live.
struct CountedSlice : RZ_ShortSlice {
    static inline int alive = 0;
    CountedSlice() : RZ_ShortSlice(static_cast<short*>(nullptr), PixelDataAttributes()) { ++alive; }
    ~CountedSlice() override { --alive; }
};

RZ_Box boxOf(int x, int y, int z) {
    return {x, y, z, RZ_BoxParams(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z))};
}

TEST(VolData, copies_its_box) {
    auto box = std::make_unique<RZ_Box>(boxOf(4, 3, 2));
    const RZ_VolData volume(box.get(), 0);
    box->xDim = 99;
    box.reset();
    const RZ_Box* copy = volume.GetBox();
    EXPECT_EQ(copy->xDim, 4);
    EXPECT_EQ(copy->yDim, 3);
    EXPECT_EQ(copy->zDim, 2);
    EXPECT_EQ(copy->params.GetDepth(), 2.0F);
}

TEST(VolData, has_a_null_entry_for_each_slice_at_first) {
    RZ_Box box = boxOf(4, 3, 5);
    const RZ_VolData volume(&box, 0);
    for (unsigned i = 0; i < 5; ++i) {
        EXPECT_EQ(volume.GetSlice(i), nullptr);
        EXPECT_EQ(volume.GetSlices()[i], nullptr);
    }
}

TEST(VolData, owns_its_slices) {
    RZ_Box box = boxOf(1, 1, 3);
    {
        RZ_VolData volume(&box, 0);
        auto* first = new CountedSlice;
        auto* second = new CountedSlice;
        volume.SetSlice(first, 0);
        volume.SetSlice(second, 2);
        EXPECT_EQ(volume.GetSlice(0), first);
        EXPECT_EQ(volume.GetSlice(1), nullptr);
        EXPECT_EQ(volume.GetSlice(2), second);
        EXPECT_EQ(volume.GetSlices()[0], first);
        EXPECT_EQ(volume.GetSlices()[2], second);
        EXPECT_EQ(CountedSlice::alive, 2);

        volume.SetSlice(first, 0);
        EXPECT_EQ(CountedSlice::alive, 2) << "the slice that stands there already was deleted";
        volume.SetSlice(new CountedSlice, 0);
        EXPECT_EQ(CountedSlice::alive, 2) << "the slice that stood there lives on";
        volume.SetSlice(nullptr, 2);
        EXPECT_EQ(CountedSlice::alive, 1);
        EXPECT_EQ(volume.GetSlice(2), nullptr);
    }
    EXPECT_EQ(CountedSlice::alive, 0);
}

TEST(VolData, index_outside_the_volume_deletes_the_slice) {
    RZ_Box box = boxOf(1, 1, 2);
    RZ_VolData volume(&box, 0);
    volume.SetSlice(new CountedSlice, 2);
    volume.SetSlice(new CountedSlice, -1);
    EXPECT_EQ(CountedSlice::alive, 0);
    EXPECT_EQ(volume.GetSlice(2), nullptr);
    EXPECT_EQ(volume.GetSlice(0xffffffffU), nullptr);
}

TEST(VolData, may_have_no_slices) {
    for (const int depth : {0, -4}) {
        RZ_Box box = boxOf(1, 1, depth);
        RZ_VolData volume(&box, 0);
        EXPECT_EQ(volume.GetSlice(0), nullptr);
        volume.SetSlice(new CountedSlice, 0);
        EXPECT_EQ(CountedSlice::alive, 0);
    }
}

TEST(VolData, rescale_values_come_back_in_their_order) {
    RZ_Box box = boxOf(1, 1, 1);
    RZ_VolData volume(&box, 0);
    double slope = 0.0;
    double intercept = -1.0;
    volume.GetRescaleTrans(&slope, &intercept);
    EXPECT_EQ(slope, 1.0);
    EXPECT_EQ(intercept, 0.0);
    volume.SetRescaleTrans(0.1, -1024.5);
    volume.GetRescaleTrans(&slope, &intercept);
    EXPECT_EQ(slope, 0.1);
    EXPECT_EQ(intercept, -1024.5);
    slope = 5.0;
    volume.GetRescaleTrans(&slope, nullptr);
    EXPECT_EQ(slope, 0.1);
    volume.GetRescaleTrans(nullptr, nullptr);
}

TEST(VolData, destructor_is_its_only_virtual_operation) {
    static_assert(std::has_virtual_destructor_v<RZ_VolData>);
    static bool destroyed = false;
    struct Probe : RZ_VolData {
        using RZ_VolData::RZ_VolData;
        ~Probe() override { destroyed = true; }
    };
    RZ_Box box = boxOf(1, 1, 1);
    auto* probe = new Probe(&box, 0);
    using Destructor = void (*)(void*);
    const auto* slots = *reinterpret_cast<Destructor**>(probe);
    slots[1](probe);
    EXPECT_TRUE(destroyed);
}

template <class T>
class TVolume : public testing::Test {};
using SampleTypes = testing::Types<short, float>;
TYPED_TEST_SUITE(TVolume, SampleTypes, );

TYPED_TEST(TVolume, null_record_means_no_rasters) {
    EXPECT_EQ(RZ_TVolume<TypeParam>().GetRasters(), nullptr);
    EXPECT_EQ(RZ_TVolume<TypeParam>(boxOf(2, 2, 2), nullptr).GetRasters(), nullptr);
}

TYPED_TEST(TVolume, rasters_are_the_second_word_of_the_record) {
    TypeParam first[4] = {};
    TypeParam second[4] = {};
    TypeParam* rasters[] = {first, second};
    void* words[2] = {nullptr, rasters};
    static_assert(sizeof(RZ_TVolumeRecord<TypeParam>) == sizeof words);
    RZ_TVolumeRecord<TypeParam> record;
    std::memcpy(static_cast<void*>(&record), words, sizeof words);
    const RZ_TVolume<TypeParam> volume(boxOf(2, 2, 2), &record);
    ASSERT_EQ(volume.GetRasters(), rasters);
    EXPECT_EQ(volume.GetRasters()[1], second);
}

TYPED_TEST(TVolume, is_a_box_and_assigns_to_one) {
    const RZ_TVolume<TypeParam> volume(boxOf(6, 5, 4), nullptr);
    RZ_Box box;
    box = volume;
    EXPECT_EQ(box.xDim, 6);
    EXPECT_EQ(box.yDim, 5);
    EXPECT_EQ(box.zDim, 4);
    EXPECT_EQ(box.rowStride, 6);
    EXPECT_EQ(box.params.GetHeight(), 5.0F);
}

}  // namespace
