#include "tests/reference/curved/frame.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "tests/reference/curved/prepare.h"
#include "tests/reference/curved/workers.h"

namespace rz_reference {

using rz_test::Branches;

float least(float a, float b) {
    return b < a ? b : a;
}

float greatest(float a, float b) {
    return a < b ? b : a;
}

EntryExit box_entry_exit(const RZ_3Coord& d, const RZ_3Coord& p, Branches& branches) {
    float lo = -1e10F;
    float hi = 1e10F;
    const float ds[3] = {d.x, d.y, d.z};
    const float ps[3] = {p.x, p.y, p.z};
    for (int k = 0; k < 3; ++k) {
        const float absolute = std::fabs(ds[k]);
        if (static_cast<double>(absolute) > 1e-10) {
            const float a = (1.0F - ps[k]) / ds[k];
            const float b = -ps[k] / ds[k];
            if (0.0F > ds[k]) {
                hi = least(hi, b);
                lo = greatest(lo, a);
            } else {
                hi = least(hi, a);
                lo = greatest(lo, b);
            }
        } else if (0.0F >= ps[k] || ps[k] >= 1.0F) {
            branches.met("ray beside the box");
            lo = 0.1F;
            hi = -1.0F;
            break;
        } else {
            branches.met("ray along a face, inside");
        }
    }
    lo = lo + 0.01F;
    hi = hi - 0.01F;
    if (lo > 0.0F) {
        branches.met("ray enters ahead of the curve");
        lo = static_cast<float>(static_cast<double>(lo) + 1.0);
    }
    if (0.0F > hi) {
        branches.met("ray leaves behind the curve");
        hi = static_cast<float>(static_cast<double>(hi) - 1.0);
    }
    return {lo, hi};
}

bool lies_outside(const RZ_3Coord& p) {
    for (const float component : {p.x, p.y, p.z}) {
        const auto wide = static_cast<double>(component);
        if (wide < -0.000001) return true;
        if (wide > 1.000001) return true;
    }
    return false;
}

namespace {

int truncated_half(int value) {
    return value / 2;
}

RZ_3Coord moved(const RZ_3Coord& p, float factor, const RZ_3Coord& v) {
    return RZ_3Coord(p.x + factor * v.x, p.y + factor * v.y, p.z + factor * v.z);
}

/// The table of rasters from slice -1 to slice depth.
std::vector<const void*> raster_table(const CurvedCall& call) {
    const int depth = call.volumeBox->zDim;
    std::vector<const void*> table(static_cast<std::size_t>(depth) + 2, nullptr);
    const auto entry = [&](int slice) -> const void*& { return table[static_cast<std::size_t>(slice + 1)]; };
    for (int i = call.firstSlice; i <= call.lastSlice; ++i) {
        entry(i) = static_cast<RZ_ShortSlice*>(call.slices[i])->GetMappedSlice();
    }
    entry(-1) = entry(0);
    entry(depth) = entry(depth - 1);
    for (int i = 0; i < call.firstSlice; ++i) entry(i) = entry(call.firstSlice);
    for (int i = call.lastSlice + 1; i <= depth - 1; ++i) entry(i) = entry(call.lastSlice);
    return table;
}

class Frame {
  public:
    Frame(const CurvedCall& call, Branches& branches) : call_(call), branches_(branches) {}

    int run(std::vector<int>* services);

  private:
    bool orient_and_measure();
    void spans_of_surface();
    void spans_of_slab();
    void take_span(std::size_t i, const RZ_3Coord& pA, const RZ_3Coord& pB);
    void narrow_span(std::size_t i, const RZ_3Coord& pA);
    void place();
    void limit_spans();
    void thicken();
    void draw(int from, int to, int imagePosition, std::vector<int>* services);

    const CurvedCall& call_;
    Branches& branches_;
    float p_[4][4];
    float a_[4][4];
    float b_[4][4];
    RZ_3Coord d_;
    RZ_3Coord s_;
    RZ_3Coord dA_;
    RZ_3Coord dB_;
    int sign_ = 1;
    bool transposed_ = false;
    int n_ = 0;
    int m_ = 0;
    float w_ = 0.0F;
    int curveColumns_ = 0;
    float pixel_ = 0.0F;
    std::vector<SweepSpan> spans_;
    int minLo_ = INT_MAX;
    int maxHi_ = INT_MIN;
    int columnBase_ = 0;
    int rowShift_ = 0;
    int crossLo_ = 0;
    int crossHi_ = 0;
    float crossStep_[3];
    float thickStep_[3];
    int halfSamples_ = 0;
};

bool Frame::orient_and_measure() {
    call_.volumeBox->GetPhysicalToIndexTrans(p_);
    d_ = call_.spline->sweepDirection;
    const RZ_3Coord l = call_.spline->GetLineDirection();
    RZ_cross(d_, l, s_);
    s_.Normalize();

    sign_ = 1;
    if (call_.transposedIn != nullptr) {
        branches_.met("orientation given");
        transposed_ = *call_.transposedIn;
    } else {
        branches_.met("orientation computed");
        transposed_ = flip_curved(d_, l, &sign_, branches_) != 0;
    }
    if (call_.signIn != nullptr && *call_.signIn != sign_) {
        branches_.met("sweep turned round for the given sign");
        sign_ = *call_.signIn;
        d_.x = -d_.x;
        d_.y = -d_.y;
        d_.z = -d_.z;
    }

    n_ = transposed_ ? call_.imageBox->yDim : call_.imageBox->xDim;
    m_ = transposed_ ? call_.imageBox->xDim : call_.imageBox->yDim;
    if (n_ < 1) return false;
    const float len = call_.spline->GetLength(0);
    w_ = extent_of(call_.imageBox->params, transposed_ ? 1 : 0);
    const int whole = truncated(len / w_ * static_cast<float>(n_));
    curveColumns_ = without_lowest_bit(wrapped_sum(whole, 1));
    if (curveColumns_ < 2) return false;
    pixel_ = w_ / static_cast<float>(n_);
    return true;
}

void Frame::take_span(std::size_t i, const RZ_3Coord& pA, const RZ_3Coord& pB) {
    if (call_.requireInside != 0 && lies_outside(pA)) {
        branches_.met("column dropped whole");
        return;
    }
    RZ_3Coord dirA = dA_;
    RZ_3Coord dirB = dB_;
    if (call_.localFrames) {
        dirA = direction_through(call_.curveData->directions[i], a_);
        dirB = direction_through(call_.curveData->directions[i], b_);
    }
    const EntryExit a = box_entry_exit(dirA, pA, branches_);
    const EntryExit b = box_entry_exit(dirB, pB, branches_);
    if (b.hi > b.lo) {
        minLo_ = std::min(minLo_, truncated(b.lo));
        maxHi_ = std::max(maxHi_, truncated(b.hi));
    } else {
        branches_.met("no range in the frame box");
    }
    if (a.hi > a.lo) {
        spans_[i].first = truncated(a.lo);
        spans_[i].end = truncated(a.hi);
    } else {
        branches_.met("no range in the crop box");
    }
}

void Frame::narrow_span(std::size_t i, const RZ_3Coord& pA) {
    if (call_.requireInside != 0 && lies_outside(pA)) {
        branches_.met("column dropped by the second face");
        spans_[i] = SweepSpan{0, -1};
        return;
    }
    RZ_3Coord dirA = dA_;
    if (call_.localFrames) dirA = direction_through(call_.curveData->directions[i], a_);
    const EntryExit a = box_entry_exit(dirA, pA, branches_);
    if (a.hi > a.lo) {
        spans_[i].first = std::max(spans_[i].first, truncated(a.lo));
        spans_[i].end = std::min(spans_[i].end, truncated(a.hi));
    } else {
        branches_.met("second face without a range");
        spans_[i] = SweepSpan{0, -1};
    }
}

void Frame::spans_of_surface() {
    for (std::size_t i = 0; i < spans_.size(); ++i) {
        const RZ_3Coord pA = point_through(call_.curveData->points[i], a_);
        const RZ_3Coord pB = point_through(call_.curveData->points[i], b_);
        take_span(i, pA, pB);
    }
}

void Frame::spans_of_slab() {
    for (std::size_t i = 0; i < spans_.size(); ++i) {
        const RZ_3Coord pB = point_through(call_.curveData->points[i], b_);
        const RZ_3Coord q = moved(call_.curveData->points[i], call_.thickness, call_.curveData->normals[i]);
        take_span(i, point_through(q, a_), pB);
    }
    for (std::size_t i = 0; i < spans_.size(); ++i) {
        const RZ_3Coord& p = call_.curveData->points[i];
        const RZ_3Coord& normal = call_.curveData->normals[i];
        const float t = call_.thickness;
        const RZ_3Coord q(p.x - t * normal.x, p.y - t * normal.y, p.z - t * normal.z);
        narrow_span(i, point_through(q, a_));
    }
}

void Frame::place() {
    const int firstCurve = call_.curveData->firstSample;
    columnBase_ = wrapped_sum(wrapped_difference(firstCurve, call_.curveData->viewStart), call_.columnOffset);
    const int extent = without_lowest_bit(wrapped_sum(wrapped_difference(maxHi_, minLo_), 1));
    float start[3];
    call_.imageBox->params.GetStart(start);
    const float sc = transposed_ ? start[0] : start[1];
    const float inPixels = sc / w_ * static_cast<float>(n_);
    const int crossStart = truncated(static_cast<double>(inPixels) + 0.0001);
    if (call_.localFrames) {
        rowShift_ = wrapped_difference(0, crossStart);
        crossLo_ = std::max(crossStart, minLo_);
        crossHi_ = std::min(wrapped_sum(m_, crossStart), maxHi_);
    } else {
        const int half = truncated_half(extent);
        const int k = wrapped_sum(half, crossStart);
        rowShift_ = wrapped_difference(0, crossStart);
        rowShift_ = wrapped_difference(rowShift_, half);
        rowShift_ = wrapped_difference(rowShift_, minLo_);
        crossLo_ = wrapped_sum(std::max(k, 0), minLo_);
        crossHi_ = wrapped_sum(std::min(wrapped_sum(m_, k), extent), minLo_);
        branches_.met(k > 0 ? "image ends within the frame box" : "image begins before the frame box");
    }
    *call_.crossRemainder = *call_.crossRemainder + sc - static_cast<float>(crossStart) * pixel_;
    *call_.crossFirst = crossLo_;
}

void Frame::limit_spans() {
    int lo = crossLo_;
    int hi = crossHi_;
    if (call_.localFrames && call_.maxWidth > 0.1F) {
        branches_.met("band about the curve");
        lo = truncated(greatest(-call_.maxWidth * 0.5F / pixel_, static_cast<float>(crossLo_)));
        hi = truncated(least(call_.maxWidth * 0.5F / pixel_, static_cast<float>(crossHi_)));
        if (lo > crossLo_ && hi < crossHi_) branches_.met("band narrower than the image");
    }
    for (SweepSpan& span : spans_) {
        span.first = std::max(span.first, lo);
        span.end = std::min(span.end, hi);
    }
}

void Frame::thicken() {
    const RZ_3Coord step = direction_through(d_, p_);
    crossStep_[0] = limited(step.x);
    crossStep_[1] = limited(step.y);
    crossStep_[2] = limited(step.z);
    if (call_.thickness == 0.0F) {
        halfSamples_ = 0;
        std::fill_n(thickStep_, 3, 0.0F);
        return;
    }
    float c[4][4];
    call_.volumeBox->params.GetNormTrans(c);
    const RZ_3Coord v = direction_through(s_, c);
    const float a = static_cast<float>(call_.volumeBox->xDim) * v.x;
    const float b = static_cast<float>(call_.volumeBox->yDim) * v.y;
    const float e = static_cast<float>(call_.volumeBox->zDim) * v.z;
    const float m = std::max(std::max(std::fabs(a), std::fabs(b)), std::fabs(e));
    s_ *= 1.0F / m;
    const float length = std::sqrt(s_.x * s_.x + s_.y * s_.y + s_.z * s_.z);
    halfSamples_ = truncated(std::floor(call_.thickness / length));
    thickStep_[0] = limited(a / m);
    thickStep_[1] = limited(b / m);
    thickStep_[2] = limited(e / m);
    if (thickStep_[0] < 0.0F) {
        for (float& component : thickStep_) component = -component;
    }
}

void Frame::draw(int from, int to, int imagePosition, std::vector<int>* services) {
    const int pixelKind = call_.slices[0]->pixelKind;
    const std::vector<const void*> table = raster_table(call_);
    CurveWorkerArguments w{};
    w.rowStride = call_.imageBox->rowStride;
    w.halfSamples = low_short(halfSamples_);
    w.spans = spans_.data();
    std::copy_n(&p_[0][0], 16, &w.physicalToIndex[0][0]);
    std::copy_n(crossStep_, 3, w.crossStep);
    std::copy_n(thickStep_, 3, w.thickStep);
    w.rasters = table.data();
    w.raster = call_.raster;
    w.sourceWidth = call_.volumeBox->xDim;
    w.transposed = transposed_;
    w.firstSample = call_.curveData->firstSample;
    w.points = call_.curveData->points;
    w.d = d_;
    w.from = low_short(from);
    w.to = low_short(to);
    w.imagePosition = low_short(imagePosition);
    w.rowShift = low_short(rowShift_);
    w.directions = call_.curveData->directions;
    w.normals = call_.curveData->normals;
    w.thickness = call_.thickness;
    w.volumeBox = call_.volumeBox;
    w.services = services;

    Combination how = Combination::kMean;
    switch (call_.type) {
        case RZ_OBL_RenditionType::Average:
            break;
        case RZ_OBL_RenditionType::Maximum:
            how = Combination::kMaximum;
            break;
        case RZ_OBL_RenditionType::Minimum:
            how = Combination::kMinimum;
            break;
        default:
            branches_.met("type without a worker");
            return;
    }
    if (pixelKind == 0) curve_worker_16(w, how, branches_);
    if (pixelKind == 1) curve_worker_8(w, how, branches_);
}

int Frame::run(std::vector<int>* services) {
    *call_.alongRemainder = 0.0F;
    *call_.crossRemainder = 0.0F;
    if (call_.spline->splineKind == 1) return 0;
    if (!orient_and_measure()) return 0;
    branches_.met(transposed_ ? "curve along image y" : "curve along image x");

    const RZ_CurveProjectData& data = *call_.curveData;
    d_.Normalize();
    d_ *= pixel_;
    call_.cropParams->GetNormTrans(a_);
    call_.frameParams->GetNormTrans(b_);
    dA_ = direction_through(d_, a_);
    dB_ = direction_through(d_, b_);

    // Curve indices without a sample are never drawn.
    const int firstCurve = data.firstSample;
    const int lastCurve = wrapped_difference(data.lastSample, 1);
    spans_.assign(static_cast<std::size_t>(std::max(data.lastSample - data.firstSample, 0)), SweepSpan{});
    if (call_.thickness == 0.0F) {
        branches_.met("one pass over the spans");
        spans_of_surface();
    } else {
        branches_.met("two passes over the spans");
        if (std::isnan(call_.thickness)) branches_.met("thickness is not a number");
        spans_of_slab();
    }

    place();
    limit_spans();
    thicken();

    if (call_.cornerPoint != nullptr) {
        const auto along = static_cast<float>(std::max(minLo_, crossLo_));
        call_.cornerPoint->x = data.points[0].x + d_.x * along;
        call_.cornerPoint->y = data.points[0].y + d_.y * along;
        call_.cornerPoint->z = data.points[0].z + d_.z * along;
        call_.cornerPoint->w = 1.0F;
    }
    if (call_.startFraction != nullptr) {
        *call_.startFraction = static_cast<float>(firstCurve) / static_cast<float>(curveColumns_);
    }
    if (call_.endFraction != nullptr) {
        *call_.endFraction = static_cast<float>(lastCurve + 1) / static_cast<float>(curveColumns_);
    }

    const auto count = static_cast<float>(lastCurve - firstCurve + 1);
    const int from = truncated(count * call_.rangeStart + static_cast<float>(firstCurve));
    const int to = truncated(count * call_.rangeEnd + static_cast<float>(firstCurve) - 1.0F);
    const int imagePosition = wrapped_sum(wrapped_difference(from, firstCurve), columnBase_);
    if (from > to) {
        branches_.met("empty range");
        return 1;
    }
    if (minLo_ == INT_MAX) {
        branches_.met("surface misses the frame box");
        return 1;
    }

    if (call_.raster == nullptr) {
        branches_.met("geometry only");
    } else {
        draw(from, to, imagePosition, services);
    }

    const int crossFirst = wrapped_sum(crossLo_, rowShift_);
    const int crossLast = wrapped_sum(wrapped_difference(crossHi_, 1), rowShift_);
    const int alongFirst = columnBase_;
    const int alongLast = wrapped_sum(wrapped_difference(columnBase_, firstCurve), lastCurve);
    *call_.firstRow = transposed_ ? alongFirst : crossFirst;
    *call_.lastRow = transposed_ ? alongLast : crossLast;
    if (call_.columnBounds != nullptr) {
        call_.columnBounds[0] = transposed_ ? crossFirst : alongFirst;
        call_.columnBounds[1] = transposed_ ? crossLast : alongLast;
    }
    if (call_.transposedOut != nullptr) *call_.transposedOut = transposed_;
    if (call_.signOut != nullptr) *call_.signOut = sign_;
    return 1;
}

}  // namespace

int calc_curved(const CurvedCall& call, Branches& branches, std::vector<int>* services) {
    return Frame(call, branches).run(services);
}

}  // namespace rz_reference
