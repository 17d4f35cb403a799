#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <numeric>
#include <optional>
#include <thread>

#include "lower/tasks/runnable.h"
#include "tests/curved/simple_curve.h"
#include "tests/curved/tripwire_image.h"

// Cancellation of a curved image: where the worker looks, what is drawn by then, and what stays allocated.
// The linker sends malloc and free of the library through the recorder below.

extern "C" {
void* __real_malloc(std::size_t bytes);
void __real_free(void* block);
void* __wrap_malloc(std::size_t bytes);
void __wrap_free(void* block);
}

namespace {

// Blocks from malloc and arrays from new[], while recording.
struct Recorder {
    bool on = false;
    std::size_t bytes = 0;
    int blocksMade = 0;
    int blocksReleased = 0;
    void* lastBlock = nullptr;
    int arraysMade = 0;
    int arraysReleased = 0;
};
Recorder recorder;

}  // namespace

void* __wrap_malloc(std::size_t bytes) {
    void* const block = __real_malloc(bytes);
    if (recorder.on) {
        ++recorder.blocksMade;
        recorder.bytes = bytes;
        recorder.lastBlock = block;
    }
    return block;
}
void __wrap_free(void* block) {
    if (recorder.on && block != nullptr) ++recorder.blocksReleased;
    __real_free(block);
}
void* operator new[](std::size_t bytes) {
    if (recorder.on) ++recorder.arraysMade;
    if (void* block = __real_malloc(bytes)) return block;
    throw std::bad_alloc();
}
void operator delete[](void* block) noexcept {
    if (recorder.on && block != nullptr) ++recorder.arraysReleased;
    __real_free(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    operator delete[](block);
}

namespace {

using namespace rz_test;

// The transposed scene with this many curve columns, each an image row.
CurvedRequest request_of(int columns) {
    CurvedRequest r = transposed_request();
    r.imageBox = image_box(16, columns, -8.0, -6.0, 16.0, 12.0);
    r.imageBox.rowStride = TripwireImage::kRowStride;
    return r;
}

struct Outcome {
    bool cancelled = false;
    CurvedOutputs out;
    std::vector<int> drawn;
};

// Draws under a task that is cancelled when row `trip` is first written; -1: before the call; none: never.
Outcome run(int columns, std::optional<int> trip, float from = 0.0F, float to = 1.0F) {
    CurvedRequest r = request_of(columns);
    RZ_CurveProjectData data;
    EXPECT_EQ(prepare(r, data), 1);
    TripwireImage image(columns);
    WKR_Task task;
    const WKR_TaskScope scope(task);
    if (trip == -1) task.Cancel();
    if (trip) image.at_row(*trip, [&] { task.Cancel(); });
    Branches unused;
    Outcome result;
    recorder = {};
    recorder.on = true;
    try {
        result.out = draw(r, data, image.data(), from, to, draw_by_entry, unused);
    } catch (const WKR_CANCEL_EXCEPTION&) {
        result.cancelled = true;
    }
    recorder.on = false;
    result.drawn = image.touched();
    return result;
}

std::vector<int> rows(int first, int end) {
    std::vector<int> all(static_cast<std::size_t>(end - first));
    std::iota(all.begin(), all.end(), first);
    return all;
}

// A cancellation while a column is drawn ends the drawing at the next place where the worker looks. Each
// column in turn shows all of them.
void expect_looks(int columns, const std::vector<int>& looks, float from = 0.0F, float to = 1.0F,
                  int first = 0, int end = -1) {
    SCOPED_TRACE(columns);
    if (end < 0) end = columns;
    for (int trip = first; trip < end; ++trip) {
        int next = end;
        for (const int look : looks) {
            if (look > trip) {
                next = look;
                break;
            }
        }
        const Outcome r = run(columns, trip, from, to);
        EXPECT_EQ(r.drawn, rows(first, next)) << "cancelled at column " << trip;
        EXPECT_EQ(r.cancelled, next != end) << "cancelled at column " << trip;
        // At every place: the spans stay, the table of slices goes.
        EXPECT_EQ(recorder.blocksMade, 1);
        EXPECT_EQ(recorder.blocksReleased, r.cancelled ? 0 : 1);
        EXPECT_EQ(recorder.arraysMade, 1);
        EXPECT_EQ(recorder.arraysReleased, 1);
        if (r.cancelled) __real_free(recorder.lastBlock);
        ASSERT_FALSE(testing::Test::HasFailure());
    }
}

TEST(Cancellation, NeverWithoutACancelledTask) {
    const Outcome r = run(40, std::nullopt);
    EXPECT_FALSE(r.cancelled);
    EXPECT_EQ(r.drawn, rows(0, 40));
    EXPECT_EQ(r.out.result, 1);
}

TEST(Cancellation, BeforeTheCallDrawsNothing) {
    for (const int columns : {2, 8, 40}) {
        const Outcome r = run(columns, -1);
        EXPECT_TRUE(r.cancelled);
        EXPECT_TRUE(r.drawn.empty());
        __real_free(recorder.lastBlock);
    }
}

TEST(Cancellation, EightPlacesOverTheRange) {
    expect_looks(8, {0, 1, 2, 3, 4, 5, 6, 7});
    // 9 columns, of a curve in 10 samples.
    expect_looks(9, {0, 1, 2, 3, 4, 5, 6, 7});
    expect_looks(10, {0, 1, 2, 3, 5, 6, 7, 8});
    expect_looks(12, {0, 1, 3, 4, 6, 7, 9, 10});
    expect_looks(40, {0, 5, 10, 15, 20, 25, 30, 35});
    expect_looks(62, {0, 7, 15, 23, 31, 38, 46, 54});
}

TEST(Cancellation, FewerThanEightColumnsHaveOnePlace) {
    expect_looks(2, {0});
    expect_looks(4, {0});
    expect_looks(6, {0});
    expect_looks(7, {0});
    // A part of three columns.
    expect_looks(24, {12}, 0.5F, 0.625F, 12, 15);
}

TEST(Cancellation, PartsCountTheirOwnColumns) {
    // 20 to 39 of 40: 20 x k / 8 from 20 on
    expect_looks(40, {20, 22, 25, 27, 30, 32, 35, 37}, 0.5F, 1.0F, 20, 40);
}

TEST(Cancellation, NullRasterHasNoPlace) {
    CurvedRequest r = request_of(40);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    WKR_Task task;
    const WKR_TaskScope scope(task);
    task.Cancel();
    Branches unused;
    EXPECT_EQ(draw(r, data, nullptr, 0.0F, 1.0F, draw_by_entry, unused).result, 1);
    // Nor has a type without a worker, or an empty range.
    ImageRaster<short> raster(r);
    EXPECT_EQ(draw(r, data, raster.data(), 0.5F, 0.5F, draw_by_entry, unused).result, 1);
    r.type = 5;
    EXPECT_EQ(draw(r, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused).result, 1);
    EXPECT_TRUE(raster.block().untouched());
}

TEST(Cancellation, FromAnotherThread) {
    CurvedRequest r = request_of(40);
    RZ_CurveProjectData data;
    ASSERT_EQ(prepare(r, data), 1);
    TripwireImage image(40);
    WKR_Task task;
    std::atomic<bool> reached{false};
    image.at_row(17, [&] {
        reached = true;
        while (!task.IsCancelled()) std::this_thread::yield();
    });
    bool cancelled = false;
    recorder = {};
    std::thread drawer([&] {
        const WKR_TaskScope scope(task);
        Branches unused;
        recorder.on = true;
        try {
            draw(r, data, image.data(), 0.0F, 1.0F, draw_by_entry, unused);
        } catch (const WKR_CANCEL_EXCEPTION&) {
            cancelled = true;
        }
        recorder.on = false;
    });
    while (!reached) std::this_thread::yield();
    task.Cancel();
    drawer.join();
    EXPECT_TRUE(cancelled);
    EXPECT_EQ(image.touched(), rows(0, 20));
    __real_free(recorder.lastBlock);

    // The task of one thread does not concern another.
    Branches unused;
    ImageRaster<short> raster(r);
    EXPECT_EQ(draw(r, data, raster.data(), 0.0F, 1.0F, draw_by_entry, unused).result, 1);
}

// The spans: 40 pairs of int from malloc. The raster table: an array.
TEST(Cancellation, WhatIsReleased) {
    const Outcome whole = run(40, std::nullopt);
    EXPECT_FALSE(whole.cancelled);
    EXPECT_EQ(recorder.blocksMade, 1);
    EXPECT_EQ(recorder.bytes, 40U * 2U * 4U);
    EXPECT_EQ(recorder.blocksReleased, 1);
    EXPECT_EQ(recorder.arraysMade, 1);
    EXPECT_EQ(recorder.arraysReleased, 1);

    const Outcome early = run(40, std::nullopt, 0.5F, 0.5F);
    EXPECT_EQ(early.out.result, 1);
    EXPECT_EQ(recorder.blocksMade, 1);
    EXPECT_EQ(recorder.blocksReleased, 1);
    EXPECT_EQ(recorder.arraysMade, recorder.arraysReleased);
}

// required: the spans stay allocated when the drawing is cancelled. The test releases them, for the leak
// checkers.
TEST(Cancellation, SpansStayAllocated) {
    for (const int trip : {-1, 0, 20}) {
        const Outcome r = run(40, trip);
        ASSERT_TRUE(r.cancelled);
        EXPECT_EQ(recorder.blocksMade, 1);
        EXPECT_EQ(recorder.bytes, 40U * 2U * 4U);
        EXPECT_EQ(recorder.blocksReleased, 0);
        EXPECT_EQ(recorder.arraysMade, 1);
        EXPECT_EQ(recorder.arraysReleased, 1);
        __real_free(recorder.lastBlock);
    }
}

// Columns without a span are places, too: the crop box leaves only the columns from 10 to 29.
TEST(Cancellation, EmptyColumnsAreCounted) {
    for (int trip = 10; trip < 30; ++trip) {
        CurvedRequest r = request_of(40);
        const double start[3] = {0.0, 5.0, 0.0};
        const double x[3] = {16.0, 0.0, 0.0};
        const double y[3] = {0.0, 6.0, 0.0};
        const double z[3] = {0.0, 0.0, 16.0};
        r.crop = RZ_BoxParams(start, x, y, z);
        RZ_CurveProjectData data;
        ASSERT_EQ(prepare(r, data), 1);
        TripwireImage image(40);
        WKR_Task task;
        const WKR_TaskScope scope(task);
        image.at_row(trip, [&] { task.Cancel(); });
        Branches unused;
        recorder = {};
        recorder.on = true;
        bool cancelled = false;
        try {
            draw(r, data, image.data(), 0.0F, 1.0F, draw_by_entry, unused);
        } catch (const WKR_CANCEL_EXCEPTION&) {
            cancelled = true;
        }
        recorder.on = false;
        // The place at column 30, behind the last pixel, still throws.
        EXPECT_TRUE(cancelled);
        const int next = trip / 5 * 5 + 5;
        EXPECT_EQ(image.touched(), rows(10, next));
        __real_free(recorder.lastBlock);
    }
}

}  // namespace
