#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "tests/curved/simple_curve.h"

// RZ_CurveProjectData: what is copied and when its arrays are made anew. Every array allocation of this
// program is counted.

namespace {

std::size_t arrays_made = 0;
std::size_t arrays_released = 0;

}  // namespace

void* operator new[](std::size_t bytes) {
    ++arrays_made;
    if (void* block = std::malloc(bytes)) return block;
    throw std::bad_alloc();
}
void operator delete[](void* block) noexcept {
    if (block != nullptr) ++arrays_released;
    std::free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    if (block != nullptr) ++arrays_released;
    std::free(block);
}

namespace {

using namespace rz_test;

// Arrays for `samples` samples, marked with value.
void fill(RZ_CurveProjectData& data, int samples, float value, bool directions = true, bool normals = true) {
    const auto room = static_cast<std::size_t>(2 * samples + 1);
    data.sampleCount = samples;
    data.points = new RZ_3Coord[room];
    data.directions = directions ? new RZ_3Coord[room] : nullptr;
    data.normals = normals ? new RZ_3Coord[room] : nullptr;
    for (std::size_t i = 0; i < room; ++i) {
        const float k = value + static_cast<float>(i);
        data.points[i] = RZ_3Coord(k, 1.0F, 2.0F);
        if (directions) data.directions[i] = RZ_3Coord(k, 3.0F, 4.0F);
        if (normals) data.normals[i] = RZ_3Coord(k, 5.0F, 6.0F);
    }
    data.curveColumns = 40;
    data.viewStart = -3;
    data.viewEnd = 70;
    data.firstSample = 5;
    data.lastSample = 5 + samples - 1;
}

void expect_copied(const RZ_CurveProjectData& from, const RZ_CurveProjectData& to) {
    EXPECT_EQ(to.curveColumns, from.curveColumns);
    EXPECT_EQ(to.viewStart, from.viewStart);
    EXPECT_EQ(to.viewEnd, from.viewEnd);
    EXPECT_EQ(to.firstSample, from.firstSample);
    EXPECT_EQ(to.lastSample, from.lastSample);
    EXPECT_EQ(to.sampleCount, from.sampleCount);
    const auto bytes = static_cast<std::size_t>(2 * from.sampleCount + 1) * sizeof(RZ_3Coord);
    ASSERT_NE(to.points, from.points);
    EXPECT_EQ(std::memcmp(to.points, from.points, bytes), 0);
    if (from.directions != nullptr) {
        EXPECT_EQ(std::memcmp(to.directions, from.directions, bytes), 0);
    }
    if (from.normals != nullptr) {
        EXPECT_EQ(std::memcmp(to.normals, from.normals, bytes), 0);
    }
}

TEST(CurveProjectData, StartsEmptyAndFreesItsArrays) {
    const RZ_CurveProjectData empty;
    EXPECT_EQ(empty.curveColumns, 0);
    EXPECT_EQ(empty.viewStart, 0);
    EXPECT_EQ(empty.viewEnd, 0);
    EXPECT_EQ(empty.firstSample, 0);
    EXPECT_EQ(empty.lastSample, 0);
    EXPECT_EQ(empty.sampleCount, 0);
    EXPECT_EQ(empty.points, nullptr);
    EXPECT_EQ(empty.directions, nullptr);
    EXPECT_EQ(empty.normals, nullptr);
    const std::size_t before = arrays_released;
    {
        RZ_CurveProjectData data;
        fill(data, 4, 0.0F);
    }
    EXPECT_EQ(arrays_released - before, 3U);
}

TEST(CurveProjectData, AssignmentGrowsToTheSource) {
    RZ_CurveProjectData from;
    RZ_CurveProjectData to;
    fill(from, 9, 100.0F);
    fill(to, 4, 0.0F);
    const std::size_t made = arrays_made;
    const std::size_t released = arrays_released;
    EXPECT_EQ(&(to = from), &to);
    EXPECT_EQ(arrays_made - made, 3U);
    EXPECT_EQ(arrays_released - released, 3U);
    expect_copied(from, to);
}

TEST(CurveProjectData, AssignmentKeepsArraysThatAreLargeEnough) {
    for (const int own : {9, 12}) {
        RZ_CurveProjectData from;
        RZ_CurveProjectData to;
        fill(from, 9, 100.0F);
        fill(to, own, 0.0F);
        RZ_3Coord* const points = to.points;
        const std::size_t made = arrays_made;
        to = from;
        EXPECT_EQ(arrays_made, made);
        EXPECT_EQ(to.points, points);
        expect_copied(from, to);
        // What lies behind the source's arrays stays.
        EXPECT_TRUE(own == 9 || to.points[19].x == 19.0F);
    }
}

TEST(CurveProjectData, AssignmentToAnEmptyObjectCopiesWhatThereIs) {
    RZ_CurveProjectData from;
    fill(from, 3, 7.0F, true, false);
    const std::size_t made = arrays_made;
    {
        RZ_CurveProjectData to;
        to = from;
        EXPECT_EQ(arrays_made - made, 2U) << "no normals to make room for";
        expect_copied(from, to);
    }
    RZ_CurveProjectData none;
    RZ_CurveProjectData to;
    to = none;
    EXPECT_EQ(to.sampleCount, 0);
    EXPECT_EQ(to.points, nullptr);
}

TEST(CurveProjectData, AssignmentReleasesWhatTheSourceLacks) {
    RZ_CurveProjectData from;
    RZ_CurveProjectData to;
    fill(from, 9, 100.0F, false, false);
    fill(to, 4, 0.0F);
    const auto directions = reinterpret_cast<std::uintptr_t>(to.directions);
    const auto normals = reinterpret_cast<std::uintptr_t>(to.normals);
    const std::size_t made = arrays_made;
    to = from;
    EXPECT_EQ(arrays_made - made, 1U) << "points only";
    EXPECT_EQ(to.points[18].x, from.points[18].x);
    // The arrays that the source lacks are released and keep their addresses; nobody may release them again.
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(to.directions), directions);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(to.normals), normals);
    to.directions = nullptr;
    to.normals = nullptr;
    expect_copied(from, to);
    RZ_CurveProjectData whole;
    fill(whole, 12, 300.0F);
    to = whole;
    expect_copied(whole, to);
    // Where the object need not grow it keeps its own arrays.
    RZ_CurveProjectData wide;
    fill(wide, 20, 3.0F);
    wide = from;
    expect_copied(from, wide);
    EXPECT_NE(wide.directions, nullptr);
}

TEST(CurveProjectData, AssignmentToItself) {
    RZ_CurveProjectData data;
    fill(data, 6, 50.0F);
    RZ_CurveProjectData& same = data;
    data = same;
    EXPECT_EQ(data.sampleCount, 6);
    EXPECT_EQ(data.points[12].x, 62.0F);
    EXPECT_EQ(data.normals[12].x, 62.0F);
}

// Arrays of 2 x samples + 1 are made anew whenever the last count was smaller, large enough or not.
TEST(CurveProjectData, PreparationMakesArraysAnewByTheLastCount) {
    RZ_CurveProjectData data;
    const auto makes_arrays = [&](int pixels) {
        CurvedRequest r = simple_request();
        r.imageBox = image_box(pixels, 16, -6.0, -8.0, 12.0, 16.0);
        const std::size_t made = arrays_made;
        EXPECT_EQ(prepare(r, data), 1);
        return arrays_made - made >= 3;
    };
    EXPECT_TRUE(makes_arrays(20));
    EXPECT_EQ(data.sampleCount, 21);
    EXPECT_FALSE(makes_arrays(20));
    EXPECT_FALSE(makes_arrays(10)) << "the arrays never shrink";
    EXPECT_EQ(data.sampleCount, 11);
    EXPECT_TRUE(makes_arrays(14)) << "15 samples had room, but the last count was 11";
    EXPECT_EQ(data.sampleCount, 15);
}

}  // namespace
