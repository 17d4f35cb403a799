#include <gtest/gtest.h>

#include <cstring>
#include <optional>

#include "tests/curved/simple_curve.h"
#include "tests/faults/sweep.h"
#include "tests/reference/curved/coordinates.h"

// Curved images: preparation, drawing and the conversions of coordinates.

namespace rz_test {
namespace {

using heap::Account;
using heap::Block;
using heap::Ending;
using heap::Kind;

/// A curve of `count` points on a gentle arc through the scene's volume.
RZ_Spline arc(int count) {
    std::vector<RZ_3Coord> points;
    for (int i = 0; i < count; ++i) {
        const float t = static_cast<float>(i) / static_cast<float>(count - 1);
        points.emplace_back(2.0F + 12.0F * t, 7.0F + 4.0F * t * (1.0F - t), 8.5F);
    }
    return RZ_Spline(points.data(), count, RZ_3Coord(0.0F, 1.0F, 0.0F));
}

/// A preparation of `samples` pixels.
CurvedRequest request_of(int samples, bool localFrames, int points) {
    CurvedRequest request = simple_request();
    request.imageBox = image_box(samples, 16, -6.0, -8.0, 12.0, 16.0);
    request.localFrames = localFrames;
    if (points > 2) request.spline = arc(points);
    return request;
}

rz_reference::CurveData prepared_by_reference(CurvedRequest& request) {
    Branches unused;
    rz_reference::CurveData data;
    RZ_Box box = request.imageBox;
    EXPECT_EQ(rz_reference::prepare_curve_data(request.spline, box, request.localFrames, nullptr, nullptr, 0,
                                               data, nullptr, unused),
              1);
    return data;
}

/// Whatever was refused, the object may be destroyed, filled again and copied to.
void expect_sound(const RZ_CurveProjectData& data) {
    const bool complete = data.points != nullptr && data.directions != nullptr && data.normals != nullptr;
    EXPECT_TRUE(complete || data.sampleCount == 0);
}

class Preparation : public Scene {
  public:
    /// samplesBefore: those of arrays that are there and too small; 0 for none.
    Preparation(bool localFrames, int points, int samplesBefore)
        : request_(request_of(40, localFrames, points)), want_(prepared_by_reference(request_)) {
        data_.emplace();
        if (samplesBefore == 0) return;
        CurvedRequest small = request_of(samplesBefore, false, 2);
        EXPECT_EQ(prepare(small, *data_), 1);
    }
    void call() override { result_ = prepare(request_, *data_); }
    void expect_untouched() override { expect_sound(*data_); }
    void expect_done() override {
        EXPECT_EQ(result_, 1);
        EXPECT_EQ(difference(want_, *data_), "");
    }
    void let_go() override { data_.reset(); }

  private:
    CurvedRequest request_;
    rz_reference::CurveData want_;
    std::optional<RZ_CurveProjectData> data_;
    int result_ = 0;
};

class Assignment : public Scene {
  public:
    explicit Assignment(int samplesBefore) : request_(request_of(40, true, 5)) {
        EXPECT_EQ(prepare(request_, from_), 1);
        want_ = prepared_by_reference(request_);
        CurvedRequest small = request_of(20, true, 5);
        EXPECT_EQ(prepare(small, smaller_), 1);
        wantSmaller_ = prepared_by_reference(small);
        to_.emplace();
        if (samplesBefore == 0) return;
        CurvedRequest before = request_of(samplesBefore, false, 2);
        EXPECT_EQ(prepare(before, *to_), 1);
    }
    void call() override { *to_ = from_; }
    void expect_untouched() override {
        expect_sound(*to_);
        EXPECT_EQ(difference(want_, from_), "");
        // Also with fewer samples than it had.
        *to_ = smaller_;
        EXPECT_EQ(difference(wantSmaller_, *to_), "");
    }
    void expect_done() override { EXPECT_EQ(difference(want_, *to_), ""); }
    void let_go() override { to_.reset(); }

  private:
    CurvedRequest request_;
    rz_reference::CurveData want_;
    rz_reference::CurveData wantSmaller_;
    RZ_CurveProjectData from_;
    RZ_CurveProjectData smaller_;
    std::optional<RZ_CurveProjectData> to_;
};

/// The arguments of a drawing with places for every output.
struct CurvedArguments {
    explicit CurvedArguments(CurvedRequest& r, RZ_CurveProjectData& data, void* raster)
        : slices(r.volume.anySlices()) {
        call.slices = slices.data();
        call.ignoredBox = &r.imageBox;
        call.frameParams = &r.frame;
        call.volumeBox = &r.volume.box;
        call.cropParams = &r.crop;
        call.spline = &r.spline;
        call.raster = raster;
        call.imageBox = &r.imageBox;
        call.curveData = &data;
        call.firstRow = &out.firstRow;
        call.lastRow = &out.lastRow;
        call.firstSlice = r.firstSlice;
        call.lastSlice = r.lastSlice;
        call.localFrames = r.localFrames;
        call.maxWidth = r.maxWidth;
        call.thickness = r.thickness;
        call.columnBounds = out.columnBounds;
        call.startFraction = &out.startFraction;
        call.endFraction = &out.endFraction;
        call.type = static_cast<RZ_OBL_RenditionType>(r.type);
        call.signOut = &out.signOut;
        call.alongRemainder = &out.alongRemainder;
        call.crossRemainder = &out.crossRemainder;
        call.crossFirst = &out.crossFirst;
    }
    CurvedArguments(const CurvedArguments&) = delete;
    CurvedArguments& operator=(const CurvedArguments&) = delete;

    std::vector<RZ_Slice*> slices;
    CurvedOutputs out;
    rz_reference::CurvedCall call;
};

struct CurvedKind {
    bool transposed;
    bool localFrames;
    int type;
    float thickness;
    bool hasRaster = true;
};

template <class Sample>
class Curved : public Scene {
  public:
    explicit Curved(const CurvedKind& kind)
        : request_(kind.transposed ? transposed_request(kKind) : simple_request(kKind)) {
        request_.localFrames = kind.localFrames;
        request_.type = kind.type;
        request_.thickness = kind.thickness;
        EXPECT_EQ(prepare(request_, data_), 1);
        want_ = std::make_unique<ImageRaster<Sample>>(request_);
        got_ = std::make_unique<ImageRaster<Sample>>(request_);
        wantArguments_.emplace(request_, data_, kind.hasRaster ? want_->data() : nullptr);
        gotArguments_.emplace(request_, data_, kind.hasRaster ? got_->data() : nullptr);
        Branches unused;
        wantArguments_->out.result = rz_reference::calc_curved(wantArguments_->call, unused);
        EXPECT_NE(want_->block().untouched(), kind.hasRaster);
    }
    void call() override { gotArguments_->out.result = call_calc_curved(gotArguments_->call); }
    void expect_untouched() override {
        EXPECT_TRUE(got_->block().untouched());
        EXPECT_TRUE(gotArguments_->out.boundsUntouched());
    }
    void expect_done() override {
        EXPECT_EQ(gotArguments_->out.describe(), wantArguments_->out.describe());
        EXPECT_TRUE(*got_ == *want_);
    }

  protected:
    static constexpr int kKind = sizeof(Sample) == 2 ? 0 : 1;
    CurvedRequest request_;
    RZ_CurveProjectData data_;
    std::unique_ptr<ImageRaster<Sample>> want_;
    std::unique_ptr<ImageRaster<Sample>> got_;
    std::optional<CurvedArguments> wantArguments_;
    std::optional<CurvedArguments> gotArguments_;
};

/// A task that was cancelled: at its first look the worker throws. Whatever is refused comes before.
class CancelledCurved : public Curved<short> {
  public:
    using Curved::Curved;
    void call() override {
        const WKR_TaskScope scope(task_);
        task_.Cancel();
        try {
            Curved::call();
        } catch (const WKR_CANCEL_EXCEPTION&) {
            ++cancelled_;
        }
    }
    void expect_untouched() override { EXPECT_EQ(cancelled_, 0); }
    void expect_done() override {
        EXPECT_EQ(cancelled_, 1);
        Curved::expect_untouched();
    }
    /// required: the spans of a cancelled image stay behind, and nothing else.
    std::vector<Block> lost(const Account&) override {
        return {{Kind::kMalloc, static_cast<std::size_t>(data_.curveColumns) * 2 * sizeof(int)}};
    }

  private:
    WKR_Task task_;
    int cancelled_ = 0;
};

void sweep_curved() {
    for (const bool transposed : {false, true}) {
        for (const bool localFrames : {false, true}) {
            for (const int type : {0, 1, 2}) {
                for (const float thickness : {0.0F, 2.0F}) {
                    const CurvedKind kind{transposed, localFrames, type, thickness};
                    sweep_of<Curved<short>>(2, kind);
                    sweep_of<Curved<unsigned char>>(2, kind);
                }
            }
        }
    }
    sweep_of<Curved<short>>(1, CurvedKind{false, false, 0, 0.0F, false});
    sweep_of<CancelledCurved>(2, CurvedKind{true, false, 0, 0.0F});
}

/// The conversions, against the plain forms. Cold: the interpolation table is asked for as well.
class Conversion : public Scene {
  public:
    explicit Conversion(bool transposed) : request_(transposed ? transposed_request() : simple_request()) {}
    void expect_untouched() override {
        for (const float x : got_) EXPECT_EQ(x, kBefore);
        for (const int x : offsets_) EXPECT_EQ(x, kOffsetBefore);
    }
    bool once_only(const Block& block) override {
        return block == Block{Kind::kNewArray, 4096 * 3 * sizeof(float)};
    }

  protected:
    static constexpr float kBefore = -77.5F;
    static constexpr int kOffsetBefore = -1234567;

    void expect_equal(const float (&want)[3], int result, int expected) {
        EXPECT_EQ(result, expected);
        EXPECT_EQ(std::memcmp(want, got_, sizeof got_), 0);
    }

    CurvedRequest request_;
    Branches unused_;
    rz_reference::Notes notes_{unused_, {}};
    float raster_[2] = {7.25F, 6.5F};
    float physical_[3] = {7.0F, 8.0F, 9.0F};
    float got_[3] = {kBefore, kBefore, kBefore};
    int offsets_[3] = {kOffsetBefore, kOffsetBefore, kOffsetBefore};
    int result_ = 0;
};

class PrepareTrans : public Conversion {
  public:
    explicit PrepareTrans(bool transposed) : Conversion(transposed) {
        expected_ =
            rz_reference::prepare_spline_trans(request_.volume.box, request_.spline, request_.imageBox,
                                               &want_[0], &want_[1], &want_[2], wantPoints_, notes_);
    }
    void call() override {
        result_ = RZ_PrepareSplineTrans(request_.volume.box, request_.crop, request_.spline,
                                        request_.imageBox, &offsets_[0], &offsets_[1], &offsets_[2], points_);
    }
    void expect_done() override {
        EXPECT_EQ(result_, expected_);
        EXPECT_EQ(std::memcmp(want_, offsets_, sizeof want_), 0);
        EXPECT_EQ(std::memcmp(static_cast<void*>(wantPoints_), points_, sizeof points_), 0);
    }

  protected:
    int expected_ = 0;
    int want_[3] = {};
    RZ_3Coord wantPoints_[32];
    RZ_3Coord points_[32];
};

class ToPhysical : public Conversion {
  public:
    using Conversion::Conversion;
    void call() override {
        result_ = RZ_CurvedRasterToPhysical(got_, request_.volume.box, request_.crop, request_.spline,
                                            request_.imageBox, raster_);
    }
    void expect_done() override {
        float want[3] = {kBefore, kBefore, kBefore};
        const int expected = rz_reference::raster_to_physical_short(want, request_.crop, request_.spline,
                                                                    request_.imageBox, raster_, notes_);
        expect_equal(want, result_, expected);
    }
};

/// The long form, with what the plain form prepares.
class ToPhysicalLong : public PrepareTrans {
  public:
    using PrepareTrans::PrepareTrans;
    void call() override {
        result_ = RZ_CurvedRasterToPhysical(got_, request_.volume.box, request_.crop, request_.spline,
                                            request_.imageBox, expected_, want_[0], want_[1], want_[2],
                                            wantPoints_, raster_);
    }
    void expect_done() override {
        float want[3] = {kBefore, kBefore, kBefore};
        const int expected =
            rz_reference::raster_to_physical_long(want, request_.spline, request_.imageBox, expected_,
                                                  want_[0], want_[1], want_[2], wantPoints_, raster_, notes_);
        expect_equal(want, result_, expected);
    }
};

class ToRaster : public Conversion {
  public:
    using Conversion::Conversion;
    void call() override {
        result_ = RZ_CurvedPhysicalToRaster(physical_, request_.volume.box, request_.crop, request_.spline,
                                            request_.imageBox, got_);
    }
    void expect_done() override {
        float want[3] = {kBefore, kBefore, kBefore};
        const int expected = rz_reference::physical_to_raster_short(physical_, request_.crop, request_.spline,
                                                                    request_.imageBox, want, notes_);
        expect_equal(want, result_, expected);
    }
};

class ToRasterLong : public PrepareTrans {
  public:
    using PrepareTrans::PrepareTrans;
    void call() override {
        result_ = RZ_CurvedPhysicalToRaster(physical_, request_.volume.box, request_.crop, request_.spline,
                                            request_.imageBox, 0.25F, expected_, want_[0], want_[1], want_[2],
                                            &wantPoints_[3], got_);
    }
    void expect_done() override {
        float want[3] = {kBefore, kBefore, kBefore};
        const int expected = rz_reference::physical_to_raster_long(
            physical_, request_.spline, request_.imageBox, 0.25F, expected_, want_[0], want_[1], want_[2],
            wantPoints_[3], want, notes_);
        expect_equal(want, result_, expected);
    }
};

template <class AnyConversion>
void sweep_conversion(int requests) {
    for (const bool transposed : {false, true}) sweep_of<AnyConversion>(requests, transposed);
}

void sweep_preparation() {
    for (const int samplesBefore : {0, 10}) {
        sweep_of<Preparation>(4, false, 2, samplesBefore);
        sweep_of<Preparation>(4, true, 2, samplesBefore);
        // Above a hundred points tangents come from a thinned curve.
        sweep_of<Preparation>(Requests(8, 40), true, 130, samplesBefore);
    }
    // Arrays that are there and large enough: only the tangents.
    sweep_of<Preparation>(1, true, 2, 40);
}

}  // namespace

std::vector<ExportedSweep> curved_sweeps() {
    return {
        {"RZ_CurveProjectData_assignment",
         {"RZ_CurveProjectData::operator=(RZ_CurveProjectData const&)",
          "RZ_CurveProjectData::~RZ_CurveProjectData("},
         [] {
             sweep_of<Assignment>(3, 0);
             sweep_of<Assignment>(3, 30);
             sweep_of<Assignment>(0, 50);
         }},
        {"RZ_PrepareCurveData", {"RZ_PrepareCurveData("}, sweep_preparation},
        {"RZ_CalcCurved", {"RZ_CalcCurved("}, sweep_curved},
        {"RZ_PrepareSplineTrans", {"RZ_PrepareSplineTrans("}, [] { sweep_conversion<PrepareTrans>(1); }},
        {"RZ_CurvedRasterToPhysical",
         {"RZ_CurvedRasterToPhysical(float*, RZ_Box const&, RZ_BoxParams const&, RZ_Spline&, RZ_Box const&, "
          "float"},
         [] { sweep_conversion<ToPhysical>(2); }},
        {"RZ_CurvedRasterToPhysical_long",
         {"RZ_CurvedRasterToPhysical(float*, RZ_Box const&, RZ_BoxParams const&, RZ_Spline&, RZ_Box const&, "
          "int"},
         [] { sweep_conversion<ToPhysicalLong>(1); }},
        {"RZ_CurvedPhysicalToRaster",
         {"RZ_CurvedPhysicalToRaster(float const*, RZ_Box const&, RZ_BoxParams const&, RZ_Spline&, "
          "RZ_Box const&, float*"},
         [] { sweep_conversion<ToRaster>(2); }},
        {"RZ_CurvedPhysicalToRaster_long",
         {"RZ_CurvedPhysicalToRaster(float const*, RZ_Box const&, RZ_BoxParams const&, RZ_Spline&, "
          "RZ_Box const&, float,"},
         [] { sweep_conversion<ToRasterLong>(0); }},
    };
}

}  // namespace rz_test
