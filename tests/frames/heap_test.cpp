#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "lower/tasks/runnable.h"
#include "rz_obl/rz_obl.h"
#include "tests/cases/simple_request.h"
#include "tests/frames/recorder.h"

// What the planar functions take from the heap and give back, seen through replaced allocation functions. Two
// paths that no correct caller reaches release an address that was never allocated; they stand as they were
// designed, and here such an address is noted and goes no further.

namespace {

enum class Act { kNewArray, kDeleteArray, kMalloc, kFree };

struct Event {
    Act act;
    std::uintptr_t address;
    std::size_t bytes;
};

// No container: the hooks must not allocate.
std::array<Event, 64> g_events;
std::size_t g_count = 0;
bool g_watching = false;
bool g_newFails = false;

constexpr unsigned char kFresh = 0xa5;

void note(Act act, const void* address, std::size_t bytes) {
    if (g_watching && g_count < g_events.size()) {
        g_events[g_count++] = {act, reinterpret_cast<std::uintptr_t>(address), bytes};
    }
}

bool allocated_while_watching(const void* address) {
    for (std::size_t i = 0; i < g_count; ++i) {
        const Event& e = g_events[i];
        if (e.address == reinterpret_cast<std::uintptr_t>(address) &&
            (e.act == Act::kNewArray || e.act == Act::kMalloc)) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" {
void* wrap_malloc(std::size_t bytes) __asm__("__wrap_malloc");
void wrap_free(void* block) __asm__("__wrap_free");
void* real_malloc(std::size_t bytes) __asm__("__real_malloc");
void real_free(void* block) __asm__("__real_free");

void* wrap_malloc(std::size_t bytes) {
    void* block = real_malloc(bytes);
    note(Act::kMalloc, block, bytes);
    return block;
}

void wrap_free(void* block) {
    note(Act::kFree, block, 0);
    real_free(block);
}
}

void* operator new[](std::size_t bytes) {
    if (g_watching && g_newFails) throw std::bad_alloc();
    void* block = real_malloc(bytes);
    if (block == nullptr) throw std::bad_alloc();
    if (g_watching) std::memset(block, kFresh, bytes);
    note(Act::kNewArray, block, bytes);
    return block;
}

void operator delete[](void* block) noexcept {
    note(Act::kDeleteArray, block, 0);
    if (!g_watching || allocated_while_watching(block)) real_free(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    operator delete[](block);
}

namespace {

using namespace rz_test;

std::size_t g_eventsAtScan = 0;

void note_events_at_scan() {
    g_eventsAtScan = g_count;
}

constexpr int kDepth = 5;
constexpr std::size_t kTableBytes = (kDepth + 4) * 8;
constexpr std::size_t kSpanBytes = 9 * 4;

class Heap : public testing::Test {
  protected:
    PlanarRequest request = simple_request({10, 9, kDepth});
    std::vector<RZ_ShortSlice*> slices = request.volume.shortSlices();
    std::vector<RZ_Slice*> anySlices = request.volume.anySlices();
    Fenced<short> output{90, 1};
    bool cancelled = false;
    int result = 0;

    void SetUp() override {
        g_newFails = false;
        start();
    }
    static void start() {
        g_count = 0;
        recorder() = {};
        recorder().depth = kDepth;
        recorder().callThrough = false;
        recorder().atCall = note_events_at_scan;
    }
    /// The table's entries as the scan found them.
    static std::vector<std::uintptr_t> table() {
        std::vector<std::uintptr_t> words;
        for (const void* entry : recorder().calls.at(0).slices) {
            words.push_back(reinterpret_cast<std::uintptr_t>(entry));
        }
        return words;
    }
    void calc(int first = 0, int last = kDepth - 1) {
        auto& b = request.bounds;
        watch([&] {
            result = RZ_CalcOblique(slices.data(), request.volume.box, request.volumeParams, request.plane,
                                    nullptr, output.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3],
                                    first, last, RZ_OBL_RenditionQuality::Linear, request.halfThickness,
                                    RZ_OBL_RenditionType::Average, true, 16);
        });
    }
    void project() {
        auto& b = request.bounds;
        watch([&] {
            result = RZ_PlanarObliqueProjection(
                anySlices.data(), request.volume.box, request.volumeParams, request.plane, nullptr,
                reinterpret_cast<char*>(output.data()), request.outputBox, &b[0], &b[1], &b[2], &b[3], 0,
                kDepth - 1, RZ_OBL_RenditionQuality::Linear, request.halfThickness,
                RZ_OBL_RenditionType::Average);
        });
    }
    template <class Call>
    void watch(Call&& call) {
        g_watching = true;
        try {
            call();
        } catch (const WKR_CANCEL_EXCEPTION&) {
            g_watching = false;
            cancelled = true;
        }
        g_watching = false;
    }
    static std::vector<Event> events() {
        std::vector<Event> kept;
        for (std::size_t i = 0; i < g_count; ++i) kept.push_back(g_events[i]);
        return kept;
    }
    static std::uintptr_t address_of(Act act, std::size_t bytes) {
        for (const Event& e : events()) {
            if (e.act == act && e.bytes == bytes) return e.address;
        }
        ADD_FAILURE() << "no block of " << bytes << " bytes";
        return 0;
    }
    static std::vector<std::uintptr_t> released(Act act) {
        std::vector<std::uintptr_t> addresses;
        for (const Event& e : events()) {
            if (e.act == act) addresses.push_back(e.address);
        }
        return addresses;
    }
    static void expect_event(std::size_t i, Act act, std::uintptr_t address) {
        ASSERT_LT(i, g_count);
        EXPECT_EQ(g_events[i].act, act) << i;
        EXPECT_EQ(g_events[i].address, address) << i;
    }
};

TEST_F(Heap, RZ_CalcOblique_takes_table_and_spans_and_returns_both) {
    calc();
    EXPECT_EQ(result, 1);
    ASSERT_EQ(g_count, 4U);
    const std::uintptr_t table = address_of(Act::kNewArray, kTableBytes);
    const std::uintptr_t spans = address_of(Act::kMalloc, kSpanBytes);
    expect_event(0, Act::kNewArray, table);
    expect_event(1, Act::kMalloc, spans);
    expect_event(2, Act::kFree, spans);
    expect_event(3, Act::kDeleteArray, table);
    EXPECT_EQ(g_eventsAtScan, 2U);
}

TEST_F(Heap, a_slab_takes_a_second_span_array_and_returns_it_before_the_scan) {
    request.halfThickness = 1.0F;
    calc();
    ASSERT_EQ(g_count, 6U);
    EXPECT_EQ(g_eventsAtScan, 4U);
    EXPECT_EQ(g_events[2].act, Act::kMalloc);
    EXPECT_EQ(g_events[2].bytes, kSpanBytes);
    expect_event(3, Act::kFree, g_events[2].address);
    expect_event(4, Act::kFree, g_events[1].address);
    expect_event(5, Act::kDeleteArray, g_events[0].address);
}

TEST_F(Heap, RZ_PlanarObliqueProjection_takes_the_spans_first_and_the_table_after) {
    project();
    EXPECT_EQ(result, 1);
    ASSERT_EQ(g_count, 4U);
    const std::uintptr_t table = address_of(Act::kNewArray, kTableBytes);
    const std::uintptr_t spans = address_of(Act::kMalloc, kSpanBytes);
    expect_event(0, Act::kMalloc, spans);
    expect_event(1, Act::kNewArray, table);
    expect_event(2, Act::kFree, spans);
    expect_event(3, Act::kDeleteArray, table);
}

TEST_F(Heap, entries_outside_the_range_hold_what_the_allocator_returned) {
    std::uintptr_t fresh = 0;
    std::memset(&fresh, kFresh, sizeof fresh);
    const auto raster = [&](std::size_t z) {
        return reinterpret_cast<std::uintptr_t>(slices[z]->GetMappedSlice());
    };

    calc(1, 2);
    EXPECT_EQ(table(), (std::vector<std::uintptr_t>{fresh, fresh, fresh, raster(1), raster(2), fresh, fresh,
                                                    fresh, fresh}));
    start();
    calc(0, 3);
    EXPECT_EQ(table(), (std::vector<std::uintptr_t>{raster(0), raster(0), raster(0), raster(1), raster(2),
                                                    raster(3), fresh, fresh, fresh}));
    start();
    calc(3, 2);
    EXPECT_EQ(table(), std::vector<std::uintptr_t>(kDepth + 4, fresh));
}

TEST_F(Heap, failure_of_the_allocator_passes_through) {
    g_newFails = true;
    g_watching = true;
    EXPECT_THROW(
        RZ_CalcOblique(slices.data(), request.volume.box, request.volumeParams, request.plane, nullptr,
                       output.data(), request.outputBox, &request.bounds[0], &request.bounds[1],
                       &request.bounds[2], &request.bounds[3], 0, kDepth - 1, RZ_OBL_RenditionQuality::Linear,
                       0.0F, RZ_OBL_RenditionType::Average, true, 16),
        std::bad_alloc);
    g_watching = false;
    EXPECT_TRUE(output.untouched());
}

TEST_F(Heap, cancelled_RZ_CalcOblique_releases_one_entry_above_the_table) {
    recorder().cancel = true;
    calc();
    EXPECT_TRUE(cancelled);
    const std::uintptr_t table = address_of(Act::kNewArray, kTableBytes);
    const std::uintptr_t spans = address_of(Act::kMalloc, kSpanBytes);
    EXPECT_EQ(released(Act::kDeleteArray), std::vector<std::uintptr_t>{table + 8});
    ASSERT_FALSE(released(Act::kFree).empty());
    EXPECT_EQ(released(Act::kFree)[0], spans);
    std::free(reinterpret_cast<void*>(table));
}

TEST_F(Heap, cancelled_RZ_PlanarObliqueProjection_frees_its_spans_and_loses_its_table) {
    recorder().cancel = true;
    project();
    EXPECT_TRUE(cancelled);
    EXPECT_TRUE(released(Act::kDeleteArray).empty());
    ASSERT_FALSE(released(Act::kFree).empty());
    EXPECT_EQ(released(Act::kFree)[0], address_of(Act::kMalloc, kSpanBytes));
    std::free(reinterpret_cast<void*>(address_of(Act::kNewArray, kTableBytes)));
}

TEST_F(Heap, unknown_sample_layout_releases_16_bytes_below_the_freed_spans) {
    for (const int kind : {3, -1}) {
        start();
        request.volume.slices[0]->pixelKind = kind;
        request.bounds = {4, 3, 2, 1};
        project();
        EXPECT_EQ(result, 1);
        EXPECT_TRUE(recorder().calls.empty());
        EXPECT_TRUE(output.untouched());
        EXPECT_EQ(request.bounds, (std::array<int, 4>{4, 3, 2, 1}));
        const std::uintptr_t spans = address_of(Act::kMalloc, kSpanBytes);
        ASSERT_EQ(g_count, 3U);
        expect_event(1, Act::kFree, spans);
        expect_event(2, Act::kDeleteArray, spans - 16);
    }
}

}  // namespace
