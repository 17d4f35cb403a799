#include "lower/volume/slice.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <vector>

#include "lower/pager/mem_pager.h"
#include "lower/volume/slice_vector.h"
#include "tests/support/seeded.h"

namespace {

using rz_test::Random;
using rz_test::Seed;

MEM_PagerInfo* makeBlock(unsigned bytes) {
    auto* info = new MEM_PagerInfo;
    MEM_MemPager* pager = MEM_MemPager::GetHandleForMP();
    EXPECT_EQ(pager->Allocate(bytes, info, 16), 0);
    delete pager;
    return info;
}

PixelDataAttributes sizeOf(int width, int height) {
    return {width, height, 16, 1};
}

// --- fields ---

TEST(SliceFields, stand_in_their_order_behind_the_table_of_operations) {
    const RZ_Slice slice;
    const auto at = [&slice](const void* field) {
        return reinterpret_cast<const char*>(field) - reinterpret_cast<const char*>(&slice);
    };
    EXPECT_EQ(at(&slice.bitDepth), 8);
    EXPECT_EQ(at(&slice.isSigned), 12);
    EXPECT_EQ(at(&slice.pixelKind), 16);
    EXPECT_EQ(at(&slice.computed), 20);
}

TEST(SliceFields, pixel_attributes_are_four_ints) {
    static_assert(sizeof(PixelDataAttributes) == 4 * sizeof(int));
    const PixelDataAttributes attributes{7, 5, 16, 1};
    int fields[4];
    std::memcpy(fields, &attributes, sizeof fields);
    EXPECT_EQ(fields[0], 7);
    EXPECT_EQ(fields[1], 5);
    EXPECT_EQ(fields[2], 16);
    EXPECT_EQ(fields[3], 1);
    const PixelDataAttributes none;
    EXPECT_EQ(none.bitsAllocated, 16);
    EXPECT_EQ(none.samplesPerPixel, 1);
}

TEST(SliceFields, layouts_are_0_for_16_bit_1_for_8_bit_2_for_32_bit) {
    std::int16_t words[6] = {};
    std::uint8_t bytes[6] = {};
    std::int32_t longs[6] = {};
    const RZ_ShortSlice ofWords(words, sizeOf(3, 2));
    const RZ_ShortSlice ofBytes(bytes, sizeOf(3, 2));
    const RZ_LongSlice ofLongs(longs, sizeOf(3, 2));
    EXPECT_EQ(ofWords.pixelKind, 0);
    EXPECT_EQ(ofWords.bitDepth, 16);
    EXPECT_TRUE(ofWords.isSigned);
    EXPECT_EQ(ofBytes.pixelKind, 1);
    EXPECT_EQ(ofBytes.bitDepth, 8);
    EXPECT_FALSE(ofBytes.isSigned);
    EXPECT_EQ(ofLongs.pixelKind, 2);
    EXPECT_EQ(ofLongs.bitDepth, 32);
    EXPECT_FALSE(ofLongs.isSigned);
    for (const RZ_Slice* slice :
         {static_cast<const RZ_Slice*>(&ofWords), static_cast<const RZ_Slice*>(&ofBytes),
          static_cast<const RZ_Slice*>(&ofLongs)}) {
        EXPECT_FALSE(slice->computed);
        EXPECT_EQ(slice->GetAttributes().width, 3);
        EXPECT_EQ(slice->GetAttributes().height, 2);
    }
    EXPECT_EQ(ofWords.GetMappedSlice(), words);
    EXPECT_EQ(static_cast<void*>(ofBytes.GetMappedSlice()), bytes);
    EXPECT_EQ(ofLongs.GetMappedSlice(), longs);
    static_assert(sizeof(*ofLongs.GetMappedSlice()) == 4, "32-bit samples, whatever `long` is");
}

TEST(SliceFields, bare_slice_has_no_raster) {
    const RZ_Slice slice;
    EXPECT_EQ(slice.MappedRaster(), nullptr);
    EXPECT_EQ(slice.pixelKind, 0);
}

// --- order of the virtual operations, by the Itanium layout: two slots for the destructor, then the rest ---

using Slot = void*;
using Destructor = void (*)(void*);

const Slot* slotsOf(const RZ_Slice& slice) {
    return *reinterpret_cast<Slot* const*>(&slice);
}

struct ProbeSlice : RZ_Slice {
    static inline int called = 0;
    ~ProbeSlice() override { called = 1; }
    using RZ_Slice::operator=;
    RZ_Slice& operator=(const RZ_Slice&) override {
        called = 2;
        return *this;
    }
    void AddToHistogram(unsigned long*, int, int) override { called = 3; }
};

struct ProbeShortSlice : RZ_ShortSlice {
    static inline int called = 0;
    using RZ_ShortSlice::RZ_ShortSlice;
    ~ProbeShortSlice() override { called = 1; }
    using RZ_ShortSlice::operator=;
    RZ_ShortSlice& operator=(const RZ_ShortSlice&) override {
        called = 4;
        return *this;
    }
};

TEST(SliceSlots, base_has_destructor_assignment_histogram) {
    auto* probe = new ProbeSlice;
    const RZ_Slice other;
    const Slot* slots = slotsOf(*probe);
    reinterpret_cast<RZ_Slice& (*)(void*, const RZ_Slice&)>(slots[2])(probe, other);
    EXPECT_EQ(ProbeSlice::called, 2);
    reinterpret_cast<void (*)(void*, unsigned long*, int, int)>(slots[3])(probe, nullptr, 0, 0);
    EXPECT_EQ(ProbeSlice::called, 3);
    reinterpret_cast<Destructor>(slots[1])(probe);
    EXPECT_EQ(ProbeSlice::called, 1);
}

TEST(SliceSlots, short_slice_keeps_the_base_assignment_and_adds_its_own_at_the_end) {
    std::int16_t samples[4] = {5, 5, 6, 7};
    std::int16_t others[4] = {};
    auto* probe = new ProbeShortSlice(samples, sizeOf(2, 2));
    const RZ_ShortSlice other(others, sizeOf(2, 2));
    const RZ_Slice base;
    const Slot* slots = slotsOf(*probe);
    EXPECT_EQ(slots[2], slotsOf(base)[2]);
    EXPECT_NE(slots[3], slotsOf(base)[3]);
    unsigned long bins[3] = {};
    reinterpret_cast<void (*)(void*, unsigned long*, int, int)>(slots[3])(probe, bins, 5, 3);
    EXPECT_EQ(bins[0], 2U);
    EXPECT_EQ(bins[1], 1U);
    EXPECT_EQ(bins[2], 1U);
    reinterpret_cast<RZ_ShortSlice& (*)(void*, const RZ_ShortSlice&)>(slots[4])(probe, other);
    EXPECT_EQ(ProbeShortSlice::called, 4);
    reinterpret_cast<Destructor>(slots[1])(probe);
    EXPECT_EQ(ProbeShortSlice::called, 1);
}

// --- ownership ---

TEST(SliceOwnership, slice_takes_over_block_and_info) {
    MEM_PagerInfo* info = makeBlock(3 * 2 * 2);
    const void* block = info->Ptr();
    PixelDataAttributes attributes = sizeOf(3, 2);
    const RZ_ShortSlice slice(info, attributes, 0);
    EXPECT_EQ(slice.GetMappedSlice(), block);
    EXPECT_EQ(slice.MappedRaster(), block);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(slice.GetMappedSlice()[i], 0);
    slice.GetMappedSlice()[5] = -3;
    EXPECT_EQ(slice.GetMappedSlice()[5], -3);

    PixelDataAttributes one = sizeOf(1, 1);
    MEM_PagerInfo* longInfo = makeBlock(4);
    void* const longBlock = longInfo->Ptr();
    const RZ_LongSlice longSlice(longInfo, one, 0);
    EXPECT_EQ(longSlice.GetMappedSlice(), longBlock);
    EXPECT_EQ(longSlice.pixelKind, 2);
}

/// Size of the process's address space: a big block shows in it from its making to its release.
long mappedKiB() {
    long pages = 0;
    std::FILE* file = std::fopen("/proc/self/statm", "r");
    if (!file || std::fscanf(file, "%ld", &pages) != 1) ADD_FAILURE() << "no /proc/self/statm";
    if (file) std::fclose(file);
    return pages * 4;
}

constexpr unsigned kBigBlock = 256U << 20;
constexpr long kMostNoiseKiB = 64L << 10;

TEST(SliceOwnership, block_is_released_with_its_slice_and_only_then) {
    PixelDataAttributes attributes = sizeOf(16384, 8192);
    const long before = mappedKiB();
    {
        std::unique_ptr<RZ_ShortSlice> slice(new RZ_ShortSlice(makeBlock(kBigBlock), attributes, 0));
        const long held = mappedKiB();
        EXPECT_GT(held, before + kMostNoiseKiB);
        {
            const RZ_Slice copy(*slice);
            const RZ_ShortSlice shortCopy(*slice);
            EXPECT_EQ(copy.MappedRaster(), slice->MappedRaster());
        }
        EXPECT_GT(mappedKiB(), before + kMostNoiseKiB) << "a copy released what it shares";
        slice->GetMappedSlice()[0] = 1;
    }
    EXPECT_LT(mappedKiB(), before + kMostNoiseKiB);
}

TEST(SliceOwnership, assignment_shares_the_source_and_releases_the_own_block) {
    PixelDataAttributes attributes = sizeOf(16384, 8192);
    std::int16_t samples[4] = {1, 2, 3, 4};
    RZ_ShortSlice source(samples, sizeOf(2, 2));
    source.bitDepth = 12;
    source.isSigned = false;
    source.pixelKind = RZ_Slice::kByte;
    source.computed = true;
    const long before = mappedKiB();
    RZ_ShortSlice byShort(makeBlock(kBigBlock), attributes, 0);
    RZ_ShortSlice byBase(makeBlock(kBigBlock), attributes, 0);
    EXPECT_GT(mappedKiB(), before + kMostNoiseKiB);
    byShort = source;
    byBase = static_cast<const RZ_Slice&>(source);
    EXPECT_LT(mappedKiB(), before + kMostNoiseKiB);
    for (const RZ_ShortSlice* slice : {&byShort, &byBase}) {
        EXPECT_EQ(slice->GetMappedSlice(), samples);
        EXPECT_EQ(slice->GetAttributes().width, 2);
        EXPECT_EQ(slice->bitDepth, 12);
        EXPECT_FALSE(slice->isSigned);
        EXPECT_EQ(slice->pixelKind, 1);
        EXPECT_TRUE(slice->computed);
    }
}

TEST(SliceOwnership, assignment_of_itself_or_of_its_own_copy_keeps_the_block) {
    PixelDataAttributes attributes = sizeOf(8, 4);
    RZ_ShortSlice slice(makeBlock(8 * 4 * 2), attributes, 0);
    slice.GetMappedSlice()[31] = 99;
    const RZ_ShortSlice copy(slice);
    const RZ_ShortSlice& itself = slice;
    slice = itself;
    EXPECT_EQ(slice.GetMappedSlice()[31], 99);
    slice = copy;
    EXPECT_EQ(slice.GetMappedSlice()[31], 99);
    slice = static_cast<const RZ_Slice&>(copy);
    EXPECT_EQ(copy.GetMappedSlice()[31], 99);
}

TEST(SliceOwnership, copy_takes_all_fields_and_shares_the_raster) {
    std::int32_t samples[4] = {};
    RZ_LongSlice source(samples, sizeOf(2, 2));
    source.bitDepth = 24;
    source.isSigned = true;
    source.computed = true;
    const RZ_Slice bare(source);
    const RZ_LongSlice typed(source);
    RZ_LongSlice assigned(nullptr, sizeOf(0, 0));
    assigned = source;
    for (const RZ_Slice* slice :
         {&bare, static_cast<const RZ_Slice*>(&typed), static_cast<const RZ_Slice*>(&assigned)}) {
        EXPECT_EQ(slice->MappedRaster(), samples);
        EXPECT_EQ(slice->bitDepth, 24);
        EXPECT_TRUE(slice->isSigned);
        EXPECT_EQ(slice->pixelKind, 2);
        EXPECT_TRUE(slice->computed);
        EXPECT_EQ(slice->GetAttributes().height, 2);
    }
}

// --- histogram ---

/// Counts bin by bin over a map, the way the words of the declaration go.
template <class T>
std::vector<unsigned long> countPlainly(const std::vector<T>& samples, int least, int binCount) {
    std::map<long long, unsigned long> counts;
    for (const T sample : samples) ++counts[static_cast<long long>(sample)];
    std::vector<unsigned long> bins;
    for (int i = 0; i < binCount; ++i) bins.push_back(counts[static_cast<long long>(least) + i]);
    return bins;
}

template <class T>
void compareHistograms(const char* branch, int pixelKind, bool isSigned) {
    constexpr int kWidth = 37;
    constexpr int kHeight = 29;
    for (const Seed seed : rz_test::seeds(60)) {
        Random random(seed);
        const int spread = random.pick({1, 10, 300, 65536});
        std::vector<T> samples(kWidth * kHeight);
        for (T& sample : samples) sample = static_cast<T>(random.between(-spread, spread));
        if (random.once_in(2)) samples[0] = std::numeric_limits<T>::min();
        if (random.once_in(2)) samples.back() = std::numeric_limits<T>::max();
        std::vector<T> raster = samples;
        RZ_ShortSlice slice(reinterpret_cast<short*>(raster.data()), sizeOf(kWidth, kHeight));
        slice.pixelKind = pixelKind;
        slice.isSigned = isSigned;
        slice.bitDepth = 3;  // takes no part

        const int least = random.pick({-32768, -128, -100, -1, 0, 1, 127, 255, 256, 30000, 65535});
        const int binCount = random.pick({0, 1, 2, 255, 256, 65536, 70000});
        const auto size = static_cast<std::size_t>(binCount);
        std::vector<unsigned long> bins(size + 1, 7);
        slice.AddToHistogram(bins.data(), least, binCount);
        slice.AddToHistogram(bins.data(), least, binCount);
        ASSERT_EQ(bins[size], 7U) << branch << ", a bin too far, " << rz_test::replay(seed);
        const std::vector<unsigned long> want = countPlainly(samples, least, binCount);
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_EQ(bins[i], 7 + 2 * want[i])
                << branch << ", value " << least + static_cast<int>(i) << ", " << rz_test::replay(seed);
        }
    }
}

TEST(SliceHistogram, signed_16_bit) {
    compareHistograms<std::int16_t>("signed 16-bit", RZ_Slice::kShort, true);
}

TEST(SliceHistogram, unsigned_16_bit) {
    compareHistograms<std::uint16_t>("unsigned 16-bit", RZ_Slice::kShort, false);
}

TEST(SliceHistogram, signed_8_bit) {
    compareHistograms<std::int8_t>("signed 8-bit", RZ_Slice::kByte, true);
}

TEST(SliceHistogram, unsigned_8_bit) {
    compareHistograms<std::uint8_t>("unsigned 8-bit", RZ_Slice::kByte, false);
}

TEST(SliceHistogram, bounds_of_int_do_not_overflow) {
    std::int16_t samples[2] = {-32768, 32767};
    RZ_ShortSlice slice(samples, sizeOf(2, 1));
    unsigned long bins[2] = {};
    slice.AddToHistogram(bins, std::numeric_limits<int>::min(), 2);
    slice.AddToHistogram(bins, std::numeric_limits<int>::max(), 2);
    slice.AddToHistogram(bins, -32768, std::numeric_limits<int>::min());
    EXPECT_EQ(bins[0], 0U);
    EXPECT_EQ(bins[1], 0U);
    slice.AddToHistogram(bins, 32766, 2);
    EXPECT_EQ(bins[0], 0U);
    EXPECT_EQ(bins[1], 1U);
}

TEST(SliceHistogram, no_raster_no_samples_no_counts) {
    unsigned long bins[1] = {4};
    RZ_Slice bare;
    bare.AddToHistogram(bins, 0, 1);
    RZ_ShortSlice without(static_cast<short*>(nullptr), sizeOf(3, 3));
    without.AddToHistogram(bins, 0, 1);
    std::int16_t samples[9] = {};
    RZ_ShortSlice empty(samples, sizeOf(0, 3));
    empty.AddToHistogram(bins, 0, 1);
    RZ_ShortSlice negative(samples, sizeOf(-3, -3));
    negative.AddToHistogram(bins, 0, 1);
    std::int32_t longs[1] = {};
    RZ_LongSlice ofLongs(longs, sizeOf(1, 1));
    ofLongs.AddToHistogram(bins, 0, 1);
    EXPECT_EQ(bins[0], 4U);
}

// --- mapping ---

TEST(SliceVector, maps_and_unmaps_what_has_rasters) {
    std::int16_t samples[4] = {1, 2, 3, 4};
    PixelDataAttributes attributes = sizeOf(2, 2);
    RZ_ShortSlice borrowed(samples, attributes);
    RZ_ShortSlice owning(makeBlock(8), attributes, 0);
    owning.GetMappedSlice()[3] = 44;
    RZ_Slice shared(owning);
    RZ_Slice* slices[] = {&borrowed, &owning, &shared};
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(RZ_SliceVector::MapRZSliceVec(slices, 3, nullptr, false, false));
        EXPECT_EQ(borrowed.GetMappedSlice()[3], 4);
        EXPECT_EQ(owning.GetMappedSlice()[3], 44);
        EXPECT_EQ(static_cast<short*>(shared.MappedRaster())[3], 44);
        EXPECT_TRUE(RZ_SliceVector::UnMapRZSliceVec(slices, 3, nullptr, false));
    }
}

TEST(SliceVector, null_slice_or_missing_raster_fails) {
    std::int16_t samples[4] = {};
    RZ_ShortSlice good(samples, sizeOf(2, 2));
    RZ_Slice bare;
    RZ_Slice* withNull[] = {&good, nullptr};
    RZ_Slice* withBare[] = {&bare, &good};
    EXPECT_FALSE(RZ_SliceVector::MapRZSliceVec(withNull, 2, nullptr, false, false));
    EXPECT_FALSE(RZ_SliceVector::MapRZSliceVec(withBare, 2, nullptr, false, false));
    EXPECT_TRUE(RZ_SliceVector::MapRZSliceVec(withNull, 1, nullptr, false, false)) << "count slices, no more";
    EXPECT_TRUE(RZ_SliceVector::UnMapRZSliceVec(withNull, 2, nullptr, false));
    EXPECT_TRUE(RZ_SliceVector::UnMapRZSliceVec(withBare, 2, nullptr, false));
}

TEST(SliceVector, no_slices_at_all_is_no_failure) {
    EXPECT_TRUE(RZ_SliceVector::MapRZSliceVec(nullptr, 0, nullptr, false, false));
    EXPECT_TRUE(RZ_SliceVector::UnMapRZSliceVec(nullptr, 0, nullptr, false));
    EXPECT_FALSE(RZ_SliceVector::MapRZSliceVec(nullptr, 1, nullptr, false, false));
    EXPECT_FALSE(RZ_SliceVector::UnMapRZSliceVec(nullptr, 1, nullptr, false));
    RZ_Slice slice;
    RZ_Slice* slices[] = {&slice};
    EXPECT_FALSE(RZ_SliceVector::MapRZSliceVec(slices, -1, nullptr, false, false));
    EXPECT_FALSE(RZ_SliceVector::UnMapRZSliceVec(slices, -1, nullptr, false));
}

TEST(SliceVector, infos_are_mapped_where_they_are_given) {
    std::int16_t samples[1] = {};
    RZ_ShortSlice slice(samples, sizeOf(1, 1));
    RZ_Slice* slices[] = {&slice, &slice};
    const std::unique_ptr<MEM_PagerInfo> info(makeBlock(64));
    static_cast<char*>(info->Ptr())[0] = 6;
    MEM_PagerInfo* infos[] = {nullptr, info.get()};
    EXPECT_TRUE(RZ_SliceVector::MapRZSliceVec(slices, 2, infos, false, false));
    EXPECT_TRUE(RZ_SliceVector::UnMapRZSliceVec(slices, 2, infos, false));
    EXPECT_EQ(static_cast<char*>(info->Ptr())[0], 6);
}

}  // namespace
