#include <gtest/gtest.h>

#include <dirent.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <optional>

#include "lower/lower.h"
#include "lower/pager/mem_pager.h"
#include "lower/settings/whiteboard.h"
#include "lower/volume/vol_data.h"
#include "tests/faults/sweep.h"

// What the lower library asks memory for: splines, volumes, the pager, the whiteboard, the log.

namespace rz_test {
namespace {

using heap::Account;
using heap::Block;
using heap::Ending;
using heap::Kind;

// Splines. Where a list grows is the standard library's matter.
constexpr int kMostRequests = 200;

std::vector<RZ_3Coord> bend(int count) {
    std::vector<RZ_3Coord> points;
    for (int i = 0; i < count; ++i) {
        const auto t = static_cast<float>(i);
        points.emplace_back(10.0F * t, t * t, -3.0F * t);
    }
    return points;
}

/// The bits that tell one spline from another.
struct SplineState {
    explicit SplineState(RZ_Spline& spline)
        : kind(spline.splineKind), points(spline.NumOfPoints(1)), length(spline.GetLength(0)) {
        std::memcpy(sweep, static_cast<const float*>(spline.sweepDirection), sizeof sweep);
        spline.InterpolateEDCurve(run, 9, 10, nullptr, 0, 0);
    }
    friend bool operator==(const SplineState& a, const SplineState& b) {
        return a.kind == b.kind && a.points == b.points && a.length == b.length &&
               std::memcmp(a.sweep, b.sweep, sizeof a.sweep) == 0 &&
               std::memcmp(static_cast<const void*>(a.run), b.run, sizeof a.run) == 0;
    }
    int kind;
    int points;
    float length;
    float sweep[3];
    RZ_3Coord run[9];
};

class NewSpline : public Scene {
  public:
    void expect_done() override {
        ASSERT_TRUE(spline_);
        EXPECT_EQ(spline_->NumOfPoints(1), count_);
        EXPECT_GE(spline_->GetLength(0), count_ > 0 ? 10.0F * static_cast<float>(count_ - 1) : 0.0F);
    }
    void expect_untouched() override { EXPECT_FALSE(spline_); }
    void let_go() override { spline_.reset(); }

  protected:
    int count_ = 0;
    std::optional<RZ_Spline> spline_;
};

class EmptySpline : public NewSpline {
  public:
    void call() override { spline_.emplace(SPLINE_CURVE, EDGE_OPEN); }
};

class PointSpline : public NewSpline {
  public:
    PointSpline(int count, EDGE_TYPE edge) : points_(bend(count)), edge_(edge) { count_ = count; }
    void call() override {
        spline_.emplace(points_.data(), count_, RZ_3Coord(0.0F, 0.0F, 2.0F), SPLINE_CURVE, edge_);
    }

  private:
    std::vector<RZ_3Coord> points_;
    EDGE_TYPE edge_;
};

class CopiedSpline : public NewSpline {
  public:
    CopiedSpline() : from_(bend(7).data(), 7, RZ_3Coord(1.0F, 0.0F, 0.0F)) { count_ = 7; }
    void call() override { spline_.emplace(from_); }

  private:
    RZ_Spline from_;
};

/// A spline that becomes another, or stays as it is.
class ChangedSpline : public Scene {
  public:
    ChangedSpline()
        : from_(bend(30).data(), 30, RZ_3Coord(1.0F, 0.0F, 0.0F), SPLINE_CURVE, EDGE_CLOSED),
          before_(make()) {
        to_.emplace(make());
    }
    void expect_untouched() override {
        RZ_Spline before = before_;
        EXPECT_TRUE(SplineState(*to_) == SplineState(before));
        // The edge shows in what comes of it.
        RZ_Spline a(SPLINE_CURVE, EDGE_OPEN);
        RZ_Spline b(SPLINE_CURVE, EDGE_OPEN);
        to_->ThinSpline(a, 1);
        before.ThinSpline(b, 1);
        EXPECT_TRUE(SplineState(a) == SplineState(b));
    }
    void let_go() override { to_.reset(); }

  protected:
    static RZ_Spline make() {
        return RZ_Spline(bend(4).data(), 4, RZ_3Coord(0.0F, 1.0F, 0.0F), SPLINE_HELPER);
    }
    RZ_Spline from_;
    RZ_Spline before_;
    std::optional<RZ_Spline> to_;
};

class AssignedSpline : public ChangedSpline {
  public:
    void call() override { *to_ = from_; }
    void expect_done() override { EXPECT_TRUE(SplineState(*to_) == SplineState(from_)); }
};

class ThinnedSpline : public ChangedSpline {
  public:
    void call() override { from_.ThinSpline(*to_, 3); }
    void expect_done() override {
        EXPECT_EQ(to_->NumOfPoints(1), 11);
        EXPECT_EQ(to_->sweepDirection.x, 1.0F);
        EXPECT_EQ(to_->splineKind, 1) << "its own";
    }
};

void sweep_splines() {
    sweep_of<EmptySpline>(1);
    for (const int count : {1, 2, 5, 40}) {
        sweep_of<PointSpline>(Requests(count == 1 ? 3 : 7, kMostRequests), count, EDGE_OPEN);
        sweep_of<PointSpline>(Requests(count == 1 ? 3 : 7, kMostRequests), count, EDGE_CLOSED);
    }
    sweep_of<CopiedSpline>(4);
    sweep_of<AssignedSpline>(4);
    sweep_of<ThinnedSpline>(Requests(8, kMostRequests));
}

class NewVolume : public Scene {
  public:
    void call() override { volume_.emplace(&box_, 0); }
    void expect_untouched() override { EXPECT_FALSE(volume_); }
    void expect_done() override {
        ASSERT_TRUE(volume_);
        EXPECT_EQ(volume_->GetSlice(4), nullptr);
        EXPECT_EQ(volume_->GetBox()->zDim, 5);
    }
    void let_go() override { volume_.reset(); }

  private:
    RZ_Box box_{2, 3, 5, RZ_BoxParams()};
    std::optional<RZ_VolData> volume_;
};

class InterTable : public Scene {
  public:
    void call() override { table_ = RZ_GetInterTab(3, 12); }
    void expect_untouched() override { EXPECT_EQ(table_, nullptr); }
    void expect_done() override { EXPECT_NE(table_, nullptr); }
    bool once_only(const Block& block) override {
        return block == Block{Kind::kNewArray, 4096 * 3 * sizeof(float)};
    }

  private:
    const float* table_ = nullptr;
};

// The pager.

int open_files() {
    int count = 0;
    DIR* const folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr) ++count;
    closedir(folder);
    return count;
}

/// A block, or -1 and no block.
class PagerBlock : public Scene {
  public:
    explicit PagerBlock(bool large) : large_(large) { info_.emplace(); }
    void call() override {
        MEM_MemPager* const pager = MEM_MemPager::GetHandleForMP();
        result_ = large_ ? pager->AllocateLarge(kBytes, &*info_) : pager->Allocate(kBytes, &*info_, 16);
    }
    void expect_refused(const Account& refusal) override {
        EXPECT_EQ(refusal.ending, Ending::kReturned);
        EXPECT_EQ(result_, -1);
    }
    void expect_untouched() override { EXPECT_EQ(info_->Ptr(), nullptr); }
    void expect_done() override {
        EXPECT_EQ(result_, 0);
        auto* const bytes = static_cast<unsigned char*>(info_->Ptr());
        ASSERT_NE(bytes, nullptr);
        for (std::size_t i = 0; i < kBytes; ++i) {
            EXPECT_EQ(bytes[i], 0);
            bytes[i] = 1;
        }
    }
    void let_go() override { info_.reset(); }
    /// The setting of the paging directory.
    bool once_only(const Block& block) override { return block.kind == Kind::kNew; }

  protected:
    static constexpr unsigned kBytes = 5000;
    bool large_;
    std::optional<MEM_PagerInfo> info_;
    int result_ = 77;
};

/// The same on files: neither a file nor a descriptor stays behind.
class FileBlock : public PagerBlock {
  public:
    explicit FileBlock(bool large) : PagerBlock(large) {
        std::string name = (std::filesystem::temp_directory_path() / "rz_faults_XXXXXX").string();
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        folder_ = name;
        owner_ = getpid();
        MEM_MemPager::SetPagingDirectory(name.c_str());
        files_ = open_files();
    }
    ~FileBlock() override {
        if (getpid() == owner_) std::filesystem::remove_all(folder_);
    }
    void let_go() override {
        PagerBlock::let_go();
        EXPECT_EQ(open_files(), files_);
        EXPECT_TRUE(std::filesystem::is_empty(folder_));
    }
    bool once_only(const Block&) override { return false; }

  private:
    std::filesystem::path folder_;
    pid_t owner_;
    int files_ = 0;
};

/// A directory that cannot be used shows whether it counts.
class PagingDirectory : public Scene {
  public:
    void call() override { MEM_MemPager::SetPagingDirectory("/nowhere/at/all/for/paging"); }
    void expect_untouched() override { EXPECT_EQ(allocate(), 0) << "blocks are anonymous, as before"; }
    void expect_done() override { EXPECT_EQ(allocate(), -1); }
    void let_go() override { MEM_MemPager::SetPagingDirectory(nullptr); }
    /// The setting and its text.
    bool once_only(const Block& block) override { return block.kind == Kind::kNew; }

  private:
    static int allocate() {
        MEM_PagerInfo info;
        return MEM_MemPager::GetHandleForMP()->Allocate(64, &info, 16);
    }
};

void sweep_pager() {
    for (const bool large : {false, true}) {
        // The setting, the mapping, its protection.
        sweep_of<PagerBlock>(3, large);
        // The name, which may grow, the mapping, the file's.
        sweep_of<FileBlock>(Requests(3, 4), large);
    }
}

// The whiteboard.

class Board : public Scene {
  public:
    void call() override { board_ = &RZ_Whiteboard::Instance(); }
    void expect_untouched() override { EXPECT_EQ(board_, nullptr); }
    void expect_done() override { ASSERT_NE(board_, nullptr); }
    bool once_only(const Block& block) override { return block.bytes == sizeof(RZ_Whiteboard); }

  private:
    RZ_Whiteboard* board_ = nullptr;
};

class Setting : public Scene {
  public:
    explicit Setting(std::string key) : key_(std::move(key)) {
        RZ_Whiteboard::Instance().SetIntVal("a setting that was there before", 11);
    }
    void call() override { RZ_Whiteboard::Instance().SetIntVal(key_, 5); }
    void expect_untouched() override { expect_value(-1); }
    void expect_done() override { expect_value(5); }
    void let_go() override { RZ_Whiteboard::Instance().Remove(key_); }

  private:
    void expect_value(int value) const {
        EXPECT_EQ(RZ_Whiteboard::Instance().GetIntVal(key_, -1), value);
        EXPECT_EQ(RZ_Whiteboard::Instance().GetIntVal("a setting that was there before", 0), 11);
    }
    std::string key_;
};

// The log.

/// A line longer than what Log keeps on its stack: without memory it is cut, not lost.
class LongLine : public Scene {
  public:
    LongLine() : argument_(3000, 'x') { JrnGLog.SetSink(&LongLine::write, this); }
    ~LongLine() override { JrnGLog.SetSink(nullptr, nullptr); }
    void call() override {
        length_ = 0;
        ++calls_;
        if (JrnGLog.StoreParams("file", "function", 1, 3, 208, 1)) JrnGLog.Log("%s", argument_.c_str());
    }
    void expect_refused(const Account& refusal) override { EXPECT_EQ(refusal.ending, Ending::kReturned); }
    void expect_untouched() override {
        EXPECT_EQ(length_, 511U);
        EXPECT_EQ(lines_, calls_);
    }
    void expect_done() override {
        EXPECT_EQ(length_, 3000U);
        EXPECT_EQ(lines_, calls_);
    }

  private:
    static void write(const Jrn_LogRecord& record, void* user) {
        auto* const self = static_cast<LongLine*>(user);
        self->length_ = std::strlen(record.text);
        ++self->lines_;
    }
    std::string argument_;
    std::size_t length_ = 0;
    int calls_ = 0;
    int lines_ = 0;
};

}  // namespace

std::vector<ExportedSweep> lower_sweeps() {
    return {
        {"RZ_Spline",
         {"RZ_Spline::RZ_Spline(RZ_3Coord const*", "RZ_Spline::RZ_Spline(RZ_Spline const&",
          "RZ_Spline::RZ_Spline(SPLINE_TYPE", "RZ_Spline::operator=(", "RZ_Spline::ThinSpline(",
          "RZ_Spline::~RZ_Spline("},
         sweep_splines},
        {"RZ_VolData",
         {"RZ_VolData::RZ_VolData(", "RZ_VolData::~RZ_VolData("},
         [] { sweep_of<NewVolume>(1); }},
        {"RZ_GetInterTab", {"RZ_GetInterTab"}, [] { sweep_of<InterTable>(1); }},
        {"MEM_MemPager_Allocate",
         {"MEM_MemPager::Allocate(", "MEM_MemPager::AllocateLarge(", "MEM_MemPager::GetHandleForMP(",
          "MEM_PagerInfo::Ptr(", "MEM_PagerInfo::~MEM_PagerInfo("},
         sweep_pager},
        // The setting and its text.
        {"MEM_MemPager_SetPagingDirectory",
         {"MEM_MemPager::SetPagingDirectory("},
         [] { sweep_of<PagingDirectory>(2); }},
        {"RZ_Whiteboard",
         {"RZ_Whiteboard::Instance(", "RZ_Whiteboard::SetIntVal("},
         [] {
             sweep_of<Board>(1);
             sweep_of<Setting>(1, "short");
             sweep_of<Setting>(2, "a key too long for a string's own room");
         }},
        {"Jrn_LogFile_Log", {"Jrn_LogFile::Log(", "Jrn_LogFile::SetSink("}, [] { sweep_of<LongLine>(1); }},
    };
}

}  // namespace rz_test
