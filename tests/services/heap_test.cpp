#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "rz_obl/volume_services/volume_services.h"

// What the row index and the slab functions take from the heap and give back, seen through replaced
// allocation functions. An address that was never handed out is noted and goes no further.

namespace {

struct Event {
    bool isRelease;
    std::uintptr_t address;
    std::size_t bytes;
};

// No container: the hooks must not allocate.
std::array<Event, 4096> g_events;
std::size_t g_count = 0;
bool g_watching = false;
/// Requests still granted; negative for all of them.
int g_granted = -1;
constexpr std::size_t kMostBytes = std::size_t{1} << 28;

bool is_held(std::uintptr_t address) {
    int balance = 0;
    for (std::size_t i = 0; i < g_count; ++i) {
        if (g_events[i].address == address) balance += g_events[i].isRelease ? -1 : 1;
    }
    return balance > 0;
}

void* take(std::size_t bytes) {
    if (g_watching && (g_granted == 0 || bytes > kMostBytes)) {
        g_events[g_count++] = {false, 0, bytes};
        throw std::bad_alloc();
    }
    if (g_watching && g_granted > 0) --g_granted;
    void* block = std::malloc(bytes);
    if (block == nullptr) throw std::bad_alloc();
    if (g_watching) g_events[g_count++] = {false, reinterpret_cast<std::uintptr_t>(block), bytes};
    return block;
}

void give(void* block) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(block);
    const bool known = !g_watching || is_held(address);
    if (g_watching && address != 0) g_events[g_count++] = {true, address, 0};
    if (known) std::free(block);
}

}  // namespace

void* operator new(std::size_t bytes) {
    return take(bytes);
}
void* operator new[](std::size_t bytes) {
    return take(bytes);
}
void operator delete(void* block) noexcept {
    give(block);
}
void operator delete[](void* block) noexcept {
    give(block);
}
void operator delete(void* block, std::size_t) noexcept {
    give(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    give(block);
}

namespace {

constexpr int kX = 3;
constexpr int kY = 4;
constexpr int kZ = 2;
constexpr std::size_t kPointer = sizeof(void*);

/// The fields, read from the object itself: their order is part of the interface.
struct Fields {
    std::uintptr_t sliceIndex;
    std::uintptr_t rowBlock;
    int x, y, z;
};

Fields fields_of(const FFastInd& index) {
    static_assert(sizeof(FFastInd) == 40);
    Fields f{};
    const auto* bytes = reinterpret_cast<const unsigned char*>(&index);
    std::memcpy(&f.sliceIndex, bytes + 8, 8);
    std::memcpy(&f.rowBlock, bytes + 16, 8);
    std::memcpy(&f.x, bytes + 24, 4);
    std::memcpy(&f.y, bytes + 28, 4);
    std::memcpy(&f.z, bytes + 32, 4);
    return f;
}

void expect_equal(const Fields& a, const Fields& b) {
    EXPECT_EQ(a.sliceIndex, b.sliceIndex);
    EXPECT_EQ(a.rowBlock, b.rowBlock);
    EXPECT_EQ(a.x, b.x);
    EXPECT_EQ(a.y, b.y);
    EXPECT_EQ(a.z, b.z);
}

/// Objects without a destructor of their own, and rasters for slices -1 to 9.
class Heap : public testing::Test {
  protected:
    void SetUp() override {
        g_count = 0;
        g_granted = -1;
        for (auto& entry : table_) entry = raster_ + 64;
    }
    void TearDown() override { g_watching = false; }

    template <class Call>
    static void watch(Call&& call) {
        g_watching = true;
        try {
            call();
        } catch (...) {
            g_watching = false;
            throw;
        }
        g_watching = false;
    }
    FFastInd& empty() { return *::new (storage_[used_++].bytes) FFastInd; }
    FFastInd& copy_of(const FFastInd& other) { return *::new (storage_[used_++].bytes) FFastInd(other); }
    void build(FFastInd& index, int x, int y, int z) {
        const RZ_Box box(x, y, z, RZ_BoxParams());
        watch([&] { index.BuiltIndeces(table_.data() + 1, box); });
    }
    static void destroy(FFastInd& index) {
        watch([&index] { index.~FFastInd(); });
    }
    static void expect_taken(std::size_t i, std::uintptr_t address, std::size_t bytes) {
        ASSERT_LT(i, g_count);
        EXPECT_FALSE(g_events[i].isRelease) << i;
        EXPECT_EQ(g_events[i].address, address) << i;
        EXPECT_EQ(g_events[i].bytes, bytes) << i;
    }
    static void expect_released(std::size_t i, std::uintptr_t address) {
        ASSERT_LT(i, g_count);
        EXPECT_TRUE(g_events[i].isRelease) << i;
        EXPECT_EQ(g_events[i].address, address) << i;
    }
    static void free_at(std::uintptr_t address) { std::free(reinterpret_cast<void*>(address)); }

  private:
    struct alignas(16) Storage {
        unsigned char bytes[sizeof(FFastInd)];
    };
    std::array<Storage, 4> storage_{};
    std::size_t used_ = 0;
    short raster_[4096] = {};
    std::array<const short*, 12> table_{};
};

TEST_F(Heap, empty_index_owns_nothing) {
    FFastInd& index = empty();
    EXPECT_EQ(index.GetArray(), nullptr);
    expect_equal(fields_of(index), Fields{0, 0, 0, 0, 0});
    destroy(index);
    EXPECT_EQ(g_count, 0U);
}

TEST_F(Heap, build_takes_row_block_then_first_level_and_destruction_returns_both) {
    FFastInd& index = empty();
    build(index, kX, kY, kZ);
    const Fields f = fields_of(index);
    EXPECT_EQ(f.x, kX);
    EXPECT_EQ(f.y, kY);
    EXPECT_EQ(f.z, kZ);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(index.GetArray()), f.sliceIndex);
    ASSERT_EQ(g_count, 2U);
    expect_taken(0, f.rowBlock, (kY + 2) * (kZ + 2) * kPointer);
    expect_taken(1, f.sliceIndex - kPointer, (kZ + 2) * kPointer);
    destroy(index);
    ASSERT_EQ(g_count, 4U);
    expect_released(2, f.rowBlock);
    expect_released(3, f.sliceIndex - kPointer);
}

TEST_F(Heap, destruction_steps_back_one_entry_and_a_second_build_does_not) {
    FFastInd& index = empty();
    build(index, kX, kY, kZ);
    const Fields first = fields_of(index);
    build(index, kX, kY + 1, kZ + 1);
    const Fields second = fields_of(index);
    ASSERT_EQ(g_count, 6U);
    expect_released(2, first.rowBlock);
    expect_released(3, first.sliceIndex);  // one entry behind the start of its block
    expect_taken(4, second.rowBlock, (kY + 3) * (kZ + 3) * kPointer);
    expect_taken(5, second.sliceIndex - kPointer, (kZ + 3) * kPointer);
    EXPECT_EQ(second.y, kY + 1);
    destroy(index);
    expect_released(6, second.rowBlock);
    expect_released(7, second.sliceIndex - kPointer);
    free_at(first.sliceIndex - kPointer);
}

TEST_F(Heap, copies_are_handles_on_the_same_arrays) {
    FFastInd& index = empty();
    build(index, kX, kY, kZ);
    const std::size_t before = g_count;
    g_watching = true;
    FFastInd& copy = copy_of(index);
    FFastInd& assigned = empty();
    FFastInd& self = (assigned = index);
    g_watching = false;
    EXPECT_EQ(&self, &assigned);
    EXPECT_EQ(g_count, before) << "nothing taken, nothing released";
    expect_equal(fields_of(copy), fields_of(index));
    expect_equal(fields_of(assigned), fields_of(index));
    EXPECT_EQ(copy.GetArray(), index.GetArray());

    // Each one believes that it owns them.
    const Fields f = fields_of(index);
    destroy(copy);
    expect_released(before, f.rowBlock);
    expect_released(before + 1, f.sliceIndex - kPointer);
    destroy(assigned);
    expect_released(before + 2, f.rowBlock);
    expect_released(before + 3, f.sliceIndex - kPointer);
}

TEST_F(Heap, assignment_to_a_built_index_frees_nothing) {
    FFastInd& index = empty();
    build(index, kX, kY, kZ);
    const Fields lost = fields_of(index);
    FFastInd& other = empty();
    const std::size_t before = g_count;
    watch([&] { index = other; });
    EXPECT_EQ(g_count, before);
    expect_equal(fields_of(index), Fields{0, 0, 0, 0, 0});
    destroy(index);
    EXPECT_EQ(g_count, before);
    free_at(lost.rowBlock);
    free_at(lost.sliceIndex - kPointer);
}

TEST_F(Heap, box_without_slices_fills_two_and_counts_as_empty) {
    FFastInd& index = empty();
    build(index, kX, kY, 0);
    const Fields f = fields_of(index);
    EXPECT_EQ(f.z, 0);
    expect_taken(0, f.rowBlock, (kY + 2) * 2 * kPointer);
    expect_taken(1, f.sliceIndex - kPointer, 2 * kPointer);
    for (int k = -1; k <= 0; ++k) {
        EXPECT_EQ(index.GetArray()[k][1], index.GetArray()[k][0] + kX);
        EXPECT_EQ(index.GetArray()[k][kY], index.GetArray()[k][kY - 1]);
    }
    // Rebuilt while it is empty: nothing is released, so nothing wrong either.
    build(index, kX, kY, kZ);
    EXPECT_EQ(g_count, 4U);
    const Fields rebuilt = fields_of(index);
    destroy(index);
    EXPECT_EQ(g_count, 6U);
    expect_released(4, rebuilt.rowBlock);
    free_at(f.rowBlock);
    free_at(f.sliceIndex - kPointer);
}

TEST_F(Heap, box_without_slices_leaks_at_destruction) {
    FFastInd& index = empty();
    build(index, kX, kY, 0);
    const Fields f = fields_of(index);
    destroy(index);
    EXPECT_EQ(g_count, 2U);
    free_at(f.rowBlock);
    free_at(f.sliceIndex - kPointer);
}

TEST_F(Heap, negative_slices) {
    // -1 has one slice, the guard; -2 has none, and the build stops; both count as built.
    FFastInd& one = empty();
    build(one, kX, kY, -1);
    EXPECT_EQ(g_events[0].bytes, (kY + 2) * kPointer);
    EXPECT_EQ(g_events[1].bytes, kPointer);
    EXPECT_EQ(one.GetArray()[-1][1], one.GetArray()[-1][0] + kX);
    destroy(one);
    EXPECT_EQ(g_count, 4U);
    FFastInd& none = empty();
    build(none, kX, kY, -2);
    EXPECT_EQ(g_events[4].bytes, 0U);
    EXPECT_EQ(g_events[5].bytes, 0U);
    EXPECT_NE(none.GetArray(), nullptr);
    destroy(none);
    EXPECT_EQ(g_count, 8U);
    expect_released(7, g_events[5].address);
}

TEST_F(Heap, sizes_that_cannot_be_had_are_refused_by_the_allocator) {
    const int boxes[][3] = {{kX, kY, -3}, {kX, 46340, 46340}, {kX, 1 << 20, 200}};
    for (const auto& b : boxes) {
        FFastInd& index = empty();
        EXPECT_THROW(build(index, b[0], b[1], b[2]), std::bad_alloc);
        EXPECT_EQ(fields_of(index).z, b[2]);
        EXPECT_EQ(index.GetArray(), nullptr);
    }
}

TEST_F(Heap, failed_first_level_leaves_the_row_block_and_the_sizes) {
    FFastInd& index = empty();
    g_granted = 1;
    EXPECT_THROW(build(index, kX, kY, kZ), std::bad_alloc);
    const Fields f = fields_of(index);
    EXPECT_EQ(f.rowBlock, g_events[0].address);
    EXPECT_EQ(f.sliceIndex, 0U);
    EXPECT_EQ(f.x, kX);
    EXPECT_EQ(f.y, kY);
    EXPECT_EQ(f.z, kZ) << "counts as built";
    free_at(f.rowBlock);
}

TEST_F(Heap, failed_first_level_of_a_rebuild_leaves_the_stale_one) {
    FFastInd& index = empty();
    build(index, kX, kY, 0);
    const Fields before = fields_of(index);
    g_granted = 1;
    EXPECT_THROW(build(index, kX, kY, kZ), std::bad_alloc);
    const Fields after = fields_of(index);
    EXPECT_EQ(after.sliceIndex, before.sliceIndex);
    EXPECT_NE(after.rowBlock, before.rowBlock);
    EXPECT_EQ(after.z, kZ);
    free_at(before.rowBlock);
    free_at(before.sliceIndex - kPointer);
    free_at(after.rowBlock);
}

TEST_F(Heap, failed_row_block_passes_the_exception) {
    FFastInd& index = empty();
    g_granted = 0;
    EXPECT_THROW(build(index, kX, kY, kZ), std::bad_alloc);
    EXPECT_EQ(index.GetArray(), nullptr);
}

/// Blocks taken and not released.
std::size_t held_blocks() {
    std::size_t held = 0;
    for (std::size_t i = 0; i < g_count; ++i) {
        if (!g_events[i].isRelease && g_events[i].address != 0 && is_held(g_events[i].address)) ++held;
    }
    return held;
}

/// Lets the call fail at its first, second ... request, until it gets all of them. How often it failed.
template <class Call>
int fail_at_every_request(Call&& call) {
    int failures = 0;
    for (int granted = 0; granted < 1000; ++granted) {
        g_count = 0;
        g_granted = granted;
        bool failed = false;
        g_watching = true;
        try {
            call();
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        g_watching = false;
        EXPECT_EQ(held_blocks(), 0U) << "after " << granted << " requests";
        if (!failed) break;
        ++failures;
    }
    return failures;
}

TEST_F(Heap, multi_slice_plane_releases_its_list_when_it_cannot_grow) {
    std::vector<short> raster(16, 5);
    const std::vector<short*> slices(100, raster.data());
    std::vector<short> output(16, 9);
    const int failures = fail_at_every_request([&] {
        RZ_GetMultiSlicePlane(slices, 2, 4, true, RZ_OBL_SlabbingType::SlabAverage, output.data(), 0, 99,
                              nullptr, 0, 0);
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(output[0], 5);
}

TEST_F(Heap, update_of_a_mean_holds_nothing_when_it_gets_no_more) {
    std::vector<short> raster(16, 5);
    const std::vector<short*> slices(100, raster.data());
    std::vector<short> output(16, 5);
    fail_at_every_request([&] {
        RZ_GetMultiSlicePlane(slices, 2, 4, true, RZ_OBL_SlabbingType::SlabAverage, output.data(), 1, 50,
                              output.data(), 0, 49);
    });
    EXPECT_EQ(output[0], 5);
}

TEST_F(Heap, subtraction_releases_what_it_holds_when_it_gets_no_more) {
    std::vector<std::uint16_t> raster(64, 5);
    const std::vector<void*> slices(100, raster.data());
    for (const int bitDepth : {8, 12}) {
        std::vector<std::uint16_t> output(64, 9);
        const std::vector<std::uint16_t> before = output;
        RZ_SubOpParams p;
        p.minuend_last = 60;
        p.subtrahend_first = 61;
        p.subtrahend_last = 99;
        p.pixel_shift[1] = 0.5F;
        const int failures = fail_at_every_request([&] {
            RZ_GetMultiSliceSubtractionPlane(slices, 2, 20, bitDepth, false, output.data(), p, nullptr, p);
        });
        EXPECT_GT(failures, 2) << "two lists and the row buffers";
        EXPECT_NE(output, before);
    }
}

template <class T>
void expect_resample_to_need_its_table() {
    T samples[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    T* sourceRasters[] = {samples, samples + 4};
    RZ_TVolumeRecord<T> sourceRecord;
    sourceRecord.rasters = sourceRasters;
    RZ_TVolume<T> source(RZ_Box(2, 2, 2, RZ_BoxParams()), &sourceRecord);
    float voxels[4] = {-1.0F, -1.0F, -1.0F, -1.0F};
    float* rasters[] = {voxels};
    RZ_TVolumeRecord<float> record;
    record.rasters = rasters;
    RZ_TVolume<float> destination(RZ_Box(2, 2, 1, RZ_BoxParams()), &record);
    const int failures = fail_at_every_request([&] { RZ_OBLUtils::Resample(source, destination, 0.0F, 0); });
    EXPECT_EQ(failures, 1) << "one table of slices";
    EXPECT_NE(voxels[0], -1.0F);
}

TEST_F(Heap, resample_needs_its_table_and_returns_it) {
    expect_resample_to_need_its_table<short>();
    expect_resample_to_need_its_table<float>();
}

}  // namespace
