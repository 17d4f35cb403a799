#include <gtest/gtest.h>

#include <optional>

#include "lower/pager/mem_pager.h"
#include "rz_obl/volume_services/volume_services.h"
#include "tests/faults/sweep.h"
#include "tests/reference/services/fast_index.h"
#include "tests/reference/services/oblique_voldata.h"
#include "tests/reference/services/resample.h"
#include "tests/services/resample_case.h"
#include "tests/services/voldata_source.h"

// Services on whole volumes.

namespace rz_test {
namespace {

using heap::Account;
using heap::Block;
using heap::Ending;
using heap::Kind;

template <class Sample>
class Resampling : public Scene {
  public:
    explicit Resampling(Seed seed) : Resampling(Random(seed), seed) {}
    void call() override { result_ = RZ_OBLUtils::Resample(source_.volume, got_.volume, -5.5F, 0); }
    void expect_untouched() override { EXPECT_TRUE(got_.untouched()); }
    void expect_done() override {
        EXPECT_EQ(result_, 1);
        EXPECT_EQ(FloatVolume::first_difference(want_, got_), "");
    }

  private:
    Resampling(Random random, Seed seed) : Resampling(ResampleBoxes(random), random, seed) {}
    Resampling(const ResampleBoxes& boxes, Random& random, Seed seed)
        : source_(boxes.source),
          want_(boxes.destination, seed),
          got_(boxes.destination, seed) {
        source_.fill(random, false);
        Branches unused;
        rz_reference::resample<Sample>(source_.volume, want_.volume, -5.5F, unused);
    }
    SourceVolume<Sample> source_;
    FloatVolume want_;
    FloatVolume got_;
    int result_ = 0;
};

template <class Sample>
void sweep_resample() {
    for (Seed seed = 1; seed <= 20; ++seed) sweep_of<Resampling<Sample>>(1, seed);
}

/// The index: a block of rows, then the slices' first level. Without the second the object keeps the first
/// and counts as built; it may then neither be destroyed nor built again.
class FastIndex : public Scene {
  public:
    FastIndex() {
        for (int k = -1; k <= kZ; ++k) {
            rasters_.emplace_back(static_cast<std::size_t>(kX * kY));
            table_.push_back(rasters_.back().data());
        }
        index_.emplace();
    }
    void call() override { index_->BuiltIndeces(table_.data() + 1, RZ_Box(kX, kY, kZ, RZ_BoxParams())); }
    void expect_untouched() override { EXPECT_EQ(index_->GetArray(), nullptr); }
    bool works_again(const Account&) override { return false; }
    std::vector<Block> lost(const Account& refusal) override {
        if (refusal.refused && refusal.refusedBlock == slices()) return {rows()};
        return {};
    }
    void expect_done() override {
        const auto want = rz_reference::build_fast_index(table_.data() + 1, kX, kY, kZ);
        for (int k = -1; k <= kZ; ++k) {
            for (int j = -1; j <= kY; ++j) {
                const std::size_t place = want.rowZero[static_cast<std::size_t>(k + 1)];
                EXPECT_EQ(index_->GetArray()[k][j],
                          want.rowBlock[place + static_cast<std::size_t>(j + 1) - 1]);
            }
        }
    }
    void let_go() override {
        const bool mayBeDestroyed = index_->GetArray() != nullptr;
        if (!mayBeDestroyed) ::new (static_cast<void*>(&*index_)) FFastInd;
        index_.reset();
    }

  private:
    static constexpr int kX = 5;
    static constexpr int kY = 4;
    static constexpr int kZ = 3;
    static Block rows() { return {Kind::kNewArray, (kY + 2) * (kZ + 2) * sizeof(void*)}; }
    static Block slices() { return {Kind::kNewArray, (kZ + 2) * sizeof(void*)}; }
    std::vector<std::vector<short>> rasters_;
    std::vector<const short*> table_;
    std::optional<FFastInd> index_;
};

RZ_Box upright(int width, int height, int depth, double zSpacing) {
    const double start[3] = {0, 0, 0};
    const double sides[3][3] = {
        {static_cast<double>(width), 0, 0}, {0, static_cast<double>(height), 0}, {0, 0, depth * zSpacing}};
    return RZ_Box(width, height, depth, RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

/// New volumes. A pager that cannot give a block gives null; whatever the allocator refuses raises. Either
/// way the volume, its slices and their blocks that were made by then are abandoned: required.
class NewVolume : public Scene {
  public:
    NewVolume() : source_(upright(12, 10, 8, 1.5), 1) {
        MEM_PagerInfo warm;
        EXPECT_EQ(MEM_MemPager::GetHandleForMP()->Allocate(64, &warm, 16), 0);
    }
    void expect_refused(const Account& refusal) override {
        const Kind kind = refusal.refusedBlock.kind;
        const bool isPager = kind == Kind::kMapping || kind == Kind::kProtection;
        EXPECT_EQ(refusal.ending, isPager ? Ending::kReturned : Ending::kBadAlloc);
        EXPECT_EQ(got_, nullptr);
    }
    void expect_untouched() override { EXPECT_TRUE(source_.untouched()); }
    bool stops_at_null(Kind kind) override { return kind == Kind::kMalloc; }
    std::vector<Block> lost(const Account& refusal) override {
        if (!refusal.refused) return {};
        std::vector<Block> stays;
        for (const Block& block : refusal.granted) {
            if (block.kind == Kind::kNew || block.kind == Kind::kMapping) stays.push_back(block);
        }
        // A mapping that cannot be made writable goes by itself, and a volume without a list of slices.
        if (refusal.refusedBlock.kind == Kind::kProtection) stays.pop_back();
        const bool isList =
            refusal.refusedBlock.bytes == listBytes() && refusal.refusedBlock.kind == Kind::kNew;
        if (isList) stays.pop_back();
        return stays;
    }
    void expect_done() override {
        ASSERT_NE(got_, nullptr);
        EXPECT_TRUE(source_.untouched());
        ASSERT_EQ(got_->GetBox()->zDim, static_cast<int>(want_.slices.size()));
        for (std::size_t i = 0; i < want_.slices.size(); ++i) {
            const auto& want = want_.slices[i];
            const RZ_Slice& slice = *got_->GetSlice(static_cast<unsigned>(i));
            if (want.sharedFrom >= 0) {
                EXPECT_EQ(slice.MappedRaster(), source_.raster(want.sharedFrom));
            } else {
                EXPECT_TRUE(std::equal(want.raster.begin(), want.raster.end(),
                                       static_cast<const short*>(slice.MappedRaster())));
            }
        }
    }
    void let_go() override { got_.reset(); }

  protected:
    std::size_t listBytes() const { return want_.slices.size() * sizeof(void*); }
    VoldataSource source_;
    rz_reference::MadeVolume want_;
    std::unique_ptr<RZ_VolData> got_;
};

class PlaneVolume : public NewVolume {
  public:
    PlaneVolume(RZ_OBL_RenditionType type, float thickness)
        : plane_(RZ_3Coord(0.1F, 0.2F, 1.0F), RZ_3Coord(6.0F, 5.0F, 6.0F), RZ_3Coord(1.0F, 0.0F, 0.0F)),
          type_(type),
          thickness_(thickness) {
        want_ = rz_reference::calc_oblique_voldata(*source_.volume, plane_, type, thickness, 0);
    }
    void call() override {
        got_.reset(RZ_OBLUtils::CalcObliqueVoldata(*source_.volume, plane_, type_, thickness_));
    }

  private:
    RZ_PlaneParams plane_;
    RZ_OBL_RenditionType type_;
    float thickness_;
};

/// Places 0 and 2 are shared, 1 and 3 computed.
class RangeVolume : public NewVolume {
  public:
    RangeVolume() { want_ = rz_reference::calc_oblique_voldata(*source_.volume, 1U, 2U, 0.75F, 0); }
    void call() override { got_.reset(RZ_OBLUtils::CalcObliqueVoldata(*source_.volume, 1U, 2U, 0.75F)); }
};

void sweep_planes() {
    using Type = RZ_OBL_RenditionType;
    // Info, mapping and its protection, table of slices, spans, slice, volume, its list.
    for (const Type type : {Type::Average, Type::Maximum, Type::Minimum})
        sweep_of<PlaneVolume>(8, type, 0.0F);
    for (const Type type : {Type::Average, Type::Maximum, Type::Minimum})
        sweep_of<PlaneVolume>(9, type, 4.0F);
}

}  // namespace

std::vector<ExportedSweep> service_sweeps() {
    return {
        {"Resample_short", {"RZ_OBLUtils::Resample(RZ_TVolume<short>&"}, sweep_resample<short>},
        {"Resample_float", {"RZ_OBLUtils::Resample(RZ_TVolume<float>&"}, sweep_resample<float>},
        {"FFastInd",
         {"FFastInd::BuiltIndeces(", "FFastInd::~FFastInd(", "FFastInd::GetArray("},
         [] { sweep_of<FastIndex>(2); }},
        {"CalcObliqueVoldata_plane",
         {"RZ_OBLUtils::CalcObliqueVoldata(RZ_VolData const&, RZ_PlaneParams&"},
         sweep_planes},
        // Volume and list; two shares; two computed slices.
        {"CalcObliqueVoldata_range",
         {"RZ_OBLUtils::CalcObliqueVoldata(RZ_VolData const&, unsigned int"},
         [] { sweep_of<RangeVolume>(2 + 2 + 2 * 6); }},
    };
}

}  // namespace rz_test
