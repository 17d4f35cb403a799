#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/slabs/multi_slice.h"
#include "tests/slabs/wide_forms.h"
#include "tests/support/seeded.h"

// Which form combines slices, and that the memory of the output decides about it: a block of another width
// would read what an earlier one wrote.

namespace {

using Type = RZ_OBL_SlabbingType;

constexpr int kCount = 400;
constexpr std::size_t kRaster = 512;
constexpr int kSlices = 12;

/// Twelve slices, an earlier mean and the output side by side in one block, so that they may overlap.
class Block {
  public:
    Block() : samples_((kSlices + 2) * kRaster) {
        rz_test::Random random(31);
        for (short& sample : samples_) sample = static_cast<short>(random.bits());
        for (std::size_t k = 0; k < kSlices; ++k) slices.push_back(samples_.data() + k * kRaster);
    }
    short* previous() { return samples_.data() + kSlices * kRaster; }
    short* output() { return samples_.data() + (kSlices + 1) * kRaster; }
    friend bool operator==(const Block& a, const Block& b) { return a.samples_ == b.samples_; }

    std::vector<short*> slices;

  private:
    std::vector<short> samples_;
};

enum class Path { kExtreme, kMean, kUpdate };

/// Where the output lies from the start of a raster, in samples.
struct Place {
    int slice;
    std::ptrdiff_t samples;
};
constexpr int kPrevious = kSlices;
constexpr int kOutput = kSlices + 1;

short* at(Block& block, Place place) {
    short* const raster = place.slice == kPrevious ? block.previous()
                          : place.slice == kOutput ? block.output()
                                                   : block.slices[static_cast<std::size_t>(place.slice)];
    return raster + place.samples;
}

/// Calls of wide forms in a combination of slices 1 to 10; its result is compared with the plain form's.
int wide_calls(Path path, Place place) {
    const Type type = path == Path::kExtreme ? Type::SlabMaximum : Type::SlabAverage;
    Block want;
    Block got;
    rz_test::Branches unused;
    short* const earlierWant = path == Path::kUpdate ? want.previous() : nullptr;
    short* const earlierGot = path == Path::kUpdate ? got.previous() : nullptr;
    rz_reference::get_multi_slice_plane(want.slices, kCount, 1, true, type, at(want, place), 1, 10,
                                        earlierWant, 0, 9, unused);
    rz_test::wide_form_calls();
    RZ_GetMultiSlicePlane(got.slices, kCount, 1, true, type, at(got, place), 1, 10, earlierGot, 0, 9);
    EXPECT_TRUE(want == got) << "slice " << place.slice << " and " << place.samples;
    return rz_test::wide_form_calls();
}

int if_wide() {
    return rz_obl::g_cpuFeatures.hasAvx2() ? 1 : 0;
}

TEST(MultiSliceForm, is_the_processors_where_the_output_lies_apart) {
    for (const Path path : {Path::kExtreme, Path::kMean, Path::kUpdate}) {
        EXPECT_EQ(wide_calls(path, {kOutput, 0}), if_wide());
        EXPECT_EQ(wide_calls(path, {kOutput, 3}), if_wide());
    }
    EXPECT_EQ(wide_calls(Path::kExtreme, {kPrevious, 0}), if_wide());
}

TEST(MultiSliceForm, of_a_mean_may_work_in_place) {
    EXPECT_EQ(wide_calls(Path::kMean, {1, 0}), if_wide());
    EXPECT_EQ(wide_calls(Path::kMean, {10, 0}), if_wide());
    EXPECT_EQ(wide_calls(Path::kUpdate, {kPrevious, 0}), if_wide());
    EXPECT_EQ(wide_calls(Path::kUpdate, {0, 0}), if_wide()) << "the slice that leaves";
    EXPECT_EQ(wide_calls(Path::kUpdate, {10, 0}), if_wide()) << "the slice that enters";
}

TEST(MultiSliceForm, is_narrow_where_the_output_overlaps_what_is_still_to_be_read) {
    for (const std::ptrdiff_t samples : {-399, -5, 1, 4, 9, 399}) {
        EXPECT_EQ(wide_calls(Path::kMean, {5, samples}), 0) << samples;
        EXPECT_EQ(wide_calls(Path::kUpdate, {0, samples < 0 ? 1 : samples}), 0) << samples;
        EXPECT_EQ(wide_calls(Path::kUpdate, {10, samples}), 0) << samples;
        EXPECT_EQ(wide_calls(Path::kUpdate, {kPrevious, samples}), 0) << samples;
    }
    for (const std::ptrdiff_t samples : {-399, -5, 0, 9, 399})
        EXPECT_EQ(wide_calls(Path::kExtreme, {5, samples}), 0) << samples;
}

}  // namespace
