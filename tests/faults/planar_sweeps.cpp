#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <type_traits>

#include "lower/settings/whiteboard.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/faults/sweep.h"
#include "tests/reference/planar.h"

// Planar reformats. Row spans come from malloc and nobody looks at the result: required. Such a call writes
// through null and ends its process before a pixel is drawn.

namespace rz_test {
namespace {

using heap::Account;
using heap::Block;
using heap::Ending;
using heap::Kind;

std::size_t pixels_of(const PlanarRequest& r) {
    return static_cast<std::size_t>(r.outputBox.xDim) * static_cast<std::size_t>(r.outputBox.yDim);
}

/// One request of any geometry with something to draw, its raster, and what the plain form makes of it.
template <class Sample>
class PlanarScene : public Scene {
  public:
    template <class Answer>
    PlanarScene(int pixelKind, int quality, int type, float halfThickness, Answer reference) {
        for (Seed seed = 1;; ++seed) {
            Branches unused;
            request_ = make_planar_request(seed, pixelKind, unused);
            request_.quality = quality;
            request_.type = type;
            request_.halfThickness = halfThickness;
            want_ = std::make_unique<Fenced<Sample>>(pixels_of(request_), 1);
            wantBounds_ = request_.bounds;
            // Slices far apart would not need the weights.
            if (request_.volume.box.GetSliceZf() > 4.0F) continue;
            reference(request_, want_->data(), wantBounds_);
            if (!want_->untouched()) break;
        }
        got_ = std::make_unique<Fenced<Sample>>(pixels_of(request_), 1);
        bounds_ = request_.bounds;
    }
    void expect_untouched() override {
        EXPECT_TRUE(got_->untouched());
        EXPECT_EQ(bounds_, request_.bounds);
    }
    void expect_done() override {
        EXPECT_EQ(result_, 1);
        EXPECT_TRUE(*got_ == *want_);
        EXPECT_EQ(bounds_, wantBounds_);
    }
    bool stops_at_null(Kind kind) override { return kind == Kind::kMalloc; }

  protected:
    RZ_OBL_RenditionQuality quality() const { return static_cast<RZ_OBL_RenditionQuality>(request_.quality); }
    RZ_OBL_RenditionType type() const { return static_cast<RZ_OBL_RenditionType>(request_.type); }
    int lastSlice() const { return request_.volume.box.zDim - 1; }

    PlanarRequest request_;
    std::unique_ptr<Fenced<Sample>> want_;
    std::unique_ptr<Fenced<Sample>> got_;
    std::array<int, 4> wantBounds_{};
    std::array<int, 4> bounds_{};
    int result_ = 0;
};

class CalcOblique : public PlanarScene<short> {
  public:
    CalcOblique(int quality, int type, float halfThickness)
        : PlanarScene(0, quality, type, halfThickness, rz_reference::calc_oblique),
          slices_(request_.volume.shortSlices()) {}
    void call() override {
        result_ =
            RZ_CalcOblique(slices_.data(), request_.volume.box, request_.volumeParams, request_.plane,
                           request_.clipParams(), got_->data(), request_.outputBox, &bounds_[0], &bounds_[1],
                           &bounds_[2], &bounds_[3], 0, lastSlice(), quality(), request_.halfThickness,
                           type(), request_.volume.isSigned, request_.volume.bitDepth);
    }

  private:
    std::vector<RZ_ShortSlice*> slices_;
};

class NewCalcOblique : public PlanarScene<short> {
  public:
    NewCalcOblique(int quality, int type, float halfThickness)
        : PlanarScene(0, quality, type, halfThickness, rz_reference::calc_oblique),
          table_(rz_reference::make_slice_table(request_.volume.shortRasters(), 0, lastSlice())) {}
    void call() override {
        result_ = RZ_NewCalcOblique(table_.data() + 2, nullptr, request_.volume.box, request_.volumeParams,
                                    request_.plane, request_.clipParams(), got_->data(), request_.outputBox,
                                    &bounds_[0], &bounds_[1], &bounds_[2], &bounds_[3], quality(),
                                    request_.halfThickness, type(), request_.volume.isSigned,
                                    request_.volume.bitDepth);
    }

  protected:
    std::vector<short*> table_;
};

/// An image without rows writes no span, so that it does without them.
class NoRows : public NewCalcOblique {
  public:
    NoRows() : NewCalcOblique(4, 0, 1.0F) { request_.outputBox.yDim = 0; }
    bool stops_at_null(Kind) override { return false; }
    void expect_refused(const Account& refusal) override {
        EXPECT_EQ(refusal.ending, Ending::kReturned);
        EXPECT_EQ(result_, 1);
    }
    void expect_untouched() override { EXPECT_TRUE(got_->untouched()); }
    void expect_done() override {
        EXPECT_EQ(result_, 1);
        EXPECT_TRUE(got_->untouched());
    }
};

/// Whether another thread may take the lock of the weight table.
bool lock_is_free() {
    bool isFree = false;
    std::thread([&isFree] {
        isFree = rz_obl::g_cubicWeightTable.lock.try_lock();
        if (isFree) rz_obl::g_cubicWeightTable.lock.unlock();
    }).join();
    return isFree;
}

/// With a slab there is a second array of spans, but not for quality 0.
int span_arrays(int quality, float halfThickness) {
    return halfThickness != 0.0F && quality != 0 ? 2 : 1;
}

template <class Sample>
class Projection : public PlanarScene<Sample> {
  public:
    Projection(int quality, int type, float halfThickness)
        : PlanarScene<Sample>(kKind, quality, type, halfThickness, rz_reference::planar_projection),
          slices_(this->request_.volume.anySlices()) {}

    static Requests requests(int quality, float halfThickness) {
        return span_arrays(quality, halfThickness) + 1 + (quality == 3 ? 1 : 0);
    }
    void call() override {
        auto& r = this->request_;
        auto& b = this->bounds_;
        this->result_ = RZ_PlanarObliqueProjection(
            slices_.data(), r.volume.box, r.volumeParams, r.plane, r.clipParams(),
            reinterpret_cast<char*>(this->got_->data()), r.outputBox, &b[0], &b[1], &b[2], &b[3], 0,
            this->lastSlice(), this->quality(), r.halfThickness, this->type());
    }
    void expect_refused(const Account& refusal) override {
        EXPECT_EQ(refusal.ending, Ending::kBadAlloc);
        // The lock of the weights stays with the thread, for which the next call works; any other would wait.
        EXPECT_EQ(lock_is_free(), refusal.refusedBlock.kind != Kind::kAligned);
    }
    /// Both requests stand outside of the handler that releases the spans: what was made by then is lost.
    std::vector<Block> lost(const Account& refusal) override {
        if (!refusal.refused) return {};
        const Block spans{Kind::kMalloc, static_cast<std::size_t>(this->request_.outputBox.yDim) * 4};
        const Block table{Kind::kNewArray, static_cast<std::size_t>(this->lastSlice() + 5) * sizeof(void*)};
        if (refusal.refusedBlock == table) return {spans};
        EXPECT_TRUE((refusal.refusedBlock == Block{Kind::kAligned, 0x2000000}));
        return {spans, table};
    }
    bool once_only(const Block& block) override { return block.kind == Kind::kAligned; }

  private:
    static constexpr int kKind = std::is_same_v<Sample, short>           ? 0
                                 : std::is_same_v<Sample, unsigned char> ? 1
                                                                         : 2;
    std::vector<RZ_Slice*> slices_;
};

constexpr float kThicknesses[] = {0.0F, 1.5F};

template <class Each>
void for_each_scan(Each each) {
    for (const float halfThickness : kThicknesses) {
        for (int quality = 0; quality <= 4; ++quality) {
            for (int type = 0; type <= 2; ++type) {
                SCOPED_TRACE("quality " + std::to_string(quality) + ", type " + std::to_string(type) +
                             (halfThickness != 0.0F ? ", slab" : ""));
                each(quality, type, halfThickness);
            }
        }
    }
}

void sweep_calc_oblique() {
    for_each_scan([](int quality, int type, float halfThickness) {
        sweep_of<CalcOblique>(1 + span_arrays(quality, halfThickness), quality, type, halfThickness);
    });
}

void sweep_new_calc_oblique() {
    for_each_scan([](int quality, int type, float halfThickness) {
        sweep_of<NewCalcOblique>(span_arrays(quality, halfThickness), quality, type, halfThickness);
    });
    sweep_of<NoRows>(2);
}

template <class Sample>
void sweep_projection(int types) {
    for_each_scan([=](int quality, int type, float halfThickness) {
        if (type < types) {
            sweep_of<Projection<Sample>>(Projection<Sample>::requests(quality, halfThickness), quality, type,
                                         halfThickness);
        }
    });
}

class InitOblique : public Scene {
  public:
    void call() override { RZ_InitOblique(); }
    void expect_done() override {
        EXPECT_EQ(heap::watch(heap::kNone, [] { RZ_GetInterTab(3, 12); }).requests, 0);
        const float* const table = RZ_GetInterTab(3, 12);
        ASSERT_NE(table, nullptr);
        EXPECT_EQ(table[3 * 2048 + 1], 1.0F) << "the middle sample alone, at fraction 0";
    }
    bool once_only(const Block& block) override {
        return block == Block{Kind::kNewArray, 4096 * 3 * sizeof(float)};
    }
};

/// The whiteboard's one object, and the key as a string.
class InitCubicOblique : public Scene {
  public:
    explicit InitCubicOblique(bool hasKey) : hasKey_(hasKey) {
        rz_obl::OvershootClamp = !hasKey;
        if (hasKey) RZ_Whiteboard::Instance().SetIntVal("truncate_interpolation_overshoot", 1);
    }
    void call() override { RZ_InitCubicOblique(); }
    void expect_untouched() override { EXPECT_EQ(rz_obl::OvershootClamp, !hasKey_); }
    void expect_done() override { EXPECT_TRUE(rz_obl::OvershootClamp); }
    bool once_only(const Block& block) override { return block.bytes == sizeof(RZ_Whiteboard); }

  private:
    bool hasKey_;
};

}  // namespace

std::vector<ExportedSweep> planar_sweeps() {
    return {
        {"RZ_CalcOblique", {"RZ_CalcOblique("}, sweep_calc_oblique},
        {"RZ_NewCalcOblique", {"RZ_NewCalcOblique("}, sweep_new_calc_oblique},
        {"RZ_PlanarObliqueProjection_16bits",
         {"RZ_PlanarObliqueProjection("},
         [] { sweep_projection<short>(3); }},
        {"RZ_PlanarObliqueProjection_8bits",
         {"RZ_PlanarObliqueProjection("},
         [] { sweep_projection<unsigned char>(3); }},
        // Only a mean draws.
        {"RZ_PlanarObliqueProjection_32bits",
         {"RZ_PlanarObliqueProjection("},
         [] { sweep_projection<std::uint32_t>(1); }},
        {"RZ_InitOblique", {"RZ_InitOblique("}, [] { sweep_of<InitOblique>(1); }},
        {"RZ_InitCubicOblique",
         {"RZ_InitCubicOblique("},
         [] {
             sweep_of<InitCubicOblique>(2, false);
             sweep_of<InitCubicOblique>(1, true);
         }},
    };
}

}  // namespace rz_test
