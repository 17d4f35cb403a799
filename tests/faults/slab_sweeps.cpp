#include <gtest/gtest.h>

#include <cstdint>

#include "tests/faults/sweep.h"
#include "tests/slabs/multi_slice_case.h"
#include "tests/slabs/subtraction_case.h"

// Combination and subtraction of slices: lists and buffers are released, the output is as before.

namespace rz_test {
namespace {

// Where a list grows is the standard library's matter.
constexpr int kMostRequests = 40;

/// A call of a random case. Case: has run(), run_reference() and first_difference().
template <class Case>
class Combination : public Scene {
  public:
    template <class... Arguments>
    explicit Combination(Arguments... arguments)
        : before_(arguments...), want_(arguments...), got_(arguments...) {
        Branches unused;
        expected_ = want_.run_reference(unused);
    }
    int expected() const { return expected_; }
    void call() override { result_ = got_.run(); }
    void expect_untouched() override { EXPECT_EQ(Case::first_difference(before_, got_), ""); }
    void expect_done() override {
        EXPECT_EQ(result_, expected_);
        EXPECT_EQ(Case::first_difference(want_, got_), "");
    }

  private:
    Case before_;
    Case want_;
    Case got_;
    int expected_ = 0;
    int result_ = 0;
};

template <class Case, class... Arguments>
void sweep_case(int least, Arguments... arguments) {
    const bool isDone = Combination<Case>(arguments...).expected() == 1;
    sweep_of<Combination<Case>>(Requests(isDone ? least : 0, kMostRequests), arguments...);
}

void sweep_multi_slice() {
    for (Seed seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE(replay(seed));
        sweep_case<MultiSliceCase>(0, seed);
    }
}

/// A slab of any type that is summed afresh, or moved by `step` slices.
class MovedSlab : public Scene {
  public:
    MovedSlab(RZ_OBL_SlabbingType type, int step) : type_(type), step_(step), output_(kSamples, 1) {
        for (int i = 0; i < kSlices; ++i) {
            rasters_.push_back(std::make_unique<SourceRaster<short>>(kSamples + 8));
            slices_.push_back(rasters_.back()->data());
        }
    }
    void call() override {
        result_ = RZ_GetMultiSlicePlane(
            slices_, 2, 8, true, type_, output_.data(), 20, 60, step_ != 0 ? rasters_[0]->data() : nullptr,
            static_cast<unsigned short>(20 - step_), static_cast<unsigned short>(60 - step_));
    }
    void expect_untouched() override { EXPECT_TRUE(output_.untouched()); }
    void expect_done() override {
        EXPECT_EQ(result_, 1);
        EXPECT_FALSE(output_.untouched());
    }

  private:
    static constexpr std::size_t kSamples = 16;
    static constexpr int kSlices = 90;
    RZ_OBL_SlabbingType type_;
    int step_;
    Fenced<short> output_;
    std::vector<std::unique_ptr<SourceRaster<short>>> rasters_;
    std::vector<short*> slices_;
    int result_ = 0;
};

void sweep_moved_slabs() {
    using Type = RZ_OBL_SlabbingType;
    for (const Type type : {Type::SlabMinimum, Type::SlabAverage, Type::SlabMaximum})
        sweep_of<MovedSlab>(Requests(1, kMostRequests), type, 0);
    // One list of slices that came and one of those that went.
    for (const int step : {3, -3}) sweep_of<MovedSlab>(Requests(2, kMostRequests), Type::SlabAverage, step);
}

void sweep_subtraction() {
    const SubtractionOptions options;
    for (Seed seed = 1; seed <= 12; ++seed) {
        SCOPED_TRACE(replay(seed));
        // Two lists, two rows of means in one block and a blended row.
        for (const int depth : {7, 8})
            sweep_case<SubtractionCase<std::uint8_t>>(depth == 8 ? 4 : 0, seed, depth, options);
        for (const int depth : {9, 12, 16})
            sweep_case<SubtractionCase<std::uint16_t>>(4, seed, depth, options);
    }
}

}  // namespace

std::vector<ExportedSweep> slab_sweeps() {
    return {
        {"RZ_GetMultiSlicePlane", {"RZ_GetMultiSlicePlane("}, sweep_multi_slice},
        {"RZ_GetMultiSlicePlane_moved", {"RZ_GetMultiSlicePlane("}, sweep_moved_slabs},
        {"RZ_GetMultiSliceSubtractionPlane", {"RZ_GetMultiSliceSubtractionPlane("}, sweep_subtraction},
    };
}

}  // namespace rz_test
