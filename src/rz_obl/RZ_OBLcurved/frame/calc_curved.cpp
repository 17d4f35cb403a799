#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <new>

#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/frame/placement.h"
#include "rz_obl/RZ_OBLcurved/frame/raster_table.h"
#include "rz_obl/RZ_OBLcurved/frame/sweep_spans.h"
#include "rz_obl/RZ_OBLcurved/prepare/curve_axis.h"
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLcurved/workers/curve_worker.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

namespace {

using rz_obl::SweepSpan;
using rz_obl::trunc_to_int;
using rz_obl::wrap_add;
using rz_obl::wrap_sub;

struct FreeSpans {
    void operator()(SweepSpan* spans) const { std::free(spans); }
};
using SweepSpans = std::unique_ptr<SweepSpan[], FreeSpans>;

/// Spans of the whole curve, all empty.
SweepSpans new_spans(int count) {
    auto* spans = static_cast<SweepSpan*>(std::malloc(static_cast<std::size_t>(count) * sizeof(SweepSpan)));
    if (spans == nullptr) throw std::bad_alloc();
    for (int c = 0; c < count; ++c) spans[c] = {0, -1};
    return SweepSpans(spans);
}

std::int16_t cut16(int x) {
    return static_cast<std::int16_t>(rz_obl::low16(x));
}

using curve_worker = void (*)(const rz_obl::curve_worker_args&);

/// The worker of this sample layout and type, null for a type that draws nothing. Wide and narrow make the
/// same bits.
curve_worker worker_for(int pixelKind, RZ_OBL_RenditionType type) {
    const bool bytes = pixelKind == RZ_Slice::kByte;
    const bool wide = rz_obl::g_cpuFeatures.hasAvx2();
    switch (type) {
        case RZ_OBL_RenditionType::Average:
            if (wide) return bytes ? rz_obl::curve_avg_8_avx2 : rz_obl::curve_avg_16_avx2;
            return bytes ? rz_obl::curve_avg_8 : rz_obl::curve_avg_16;
        case RZ_OBL_RenditionType::Maximum:
            if (wide) return bytes ? rz_obl::curve_max_8_avx2 : rz_obl::curve_max_16_avx2;
            return bytes ? rz_obl::curve_max_8 : rz_obl::curve_max_16;
        case RZ_OBL_RenditionType::Minimum:
            if (wide) return bytes ? rz_obl::curve_min_8_avx2 : rz_obl::curve_min_16_avx2;
            return bytes ? rz_obl::curve_min_8 : rz_obl::curve_min_16;
    }
    return nullptr;
}

}  // namespace

int RZ_CalcCurved(RZ_Slice** slices, const RZ_Box&, const RZ_BoxParams& frameParams, const RZ_Box& volumeBox,
                  const RZ_BoxParams& cropParams, RZ_Spline& spline, void* raster, const RZ_Box& imageBox,
                  RZ_CurveProjectData* curveData, int* firstRow, int* lastRow, int firstSlice, int lastSlice,
                  RZ_OBL_RenditionQuality, bool localFrames, float maxWidth, float thickness,
                  int requireInside, int columnOffset, int* columnBounds, RZ_3Coord* cornerPoint,
                  float* startFraction, float* endFraction, RZ_OBL_RenditionType type, bool* transposedIn,
                  int* signIn, bool* transposedOut, int* signOut, float* alongRemainder,
                  float* crossRemainder, int* crossFirst, float rangeStart, float rangeEnd) {
    *alongRemainder = 0.0F;
    *crossRemainder = 0.0F;
    if (spline.splineKind == 1) return 0;

    float toIndex[4][4];
    volumeBox.GetPhysicalToIndexTrans(toIndex);
    RZ_3Coord sweep = spline.sweepDirection;
    RZ_3Coord line = spline.GetLineDirection();
    RZ_3Coord surfaceNormal;
    RZ_cross(sweep, line, surfaceNormal);
    surfaceNormal.Normalize();

    int sign = 1;
    const bool transposed = transposedIn != nullptr ? *transposedIn : RZ_FlipCurved(sweep, line, &sign) != 0;
    if (signIn != nullptr && *signIn != sign) {
        sign = *signIn;
        rz_obl::negate(sweep);
    }

    const rz_obl::CurveAxis axis(imageBox, transposed);
    if (axis.curvePixels < 1) return 0;
    const int curveColumns = rz_obl::curve_columns(spline.GetLength(0), axis);
    if (curveColumns < 2) return 0;
    const float pixel = axis.curveExtent / static_cast<float>(axis.curvePixels);
    const int firstSample = curveData->firstSample;
    float start[3];
    imageBox.params.GetStart(start);
    sweep.Normalize();
    sweep *= pixel;

    SweepSpans spans = new_spans(curveColumns);
    const rz_obl::SweepRequest request{curveData,   &cropParams,        &frameParams, sweep,
                                       localFrames, requireInside != 0, thickness};
    const rz_obl::CrossRange range = rz_obl::fill_sweep_spans(request, spans.get());

    // required: the prepared range of curve indices, also where columns at its ends came out empty
    const int firstCurve = firstSample;
    const int lastCurve = curveData->lastSample - 1;
    const int columnBase = wrap_add(wrap_sub(firstCurve, curveData->viewStart), columnOffset);
    const float crossOrigin = transposed ? start[0] : start[1];
    const rz_obl::CrossPlacement placement = rz_obl::place_cross_axis(axis, crossOrigin, range, localFrames);
    *crossRemainder = *crossRemainder + crossOrigin - static_cast<float>(placement.crossStart) * pixel;
    *crossFirst = placement.crossLo;
    rz_obl::limit_spans(spans.get(), curveColumns, placement, localFrames, maxWidth, pixel);

    rz_obl::ThicknessStep thick{RZ_3Coord(0.0F, 0.0F, 0.0F), 0};
    if (thickness != 0.0F) thick = rz_obl::ThicknessSteps(volumeBox).along(surfaceNormal, thickness);

    if (cornerPoint != nullptr) {
        const int corner = range.least > placement.crossLo ? range.least : placement.crossLo;
        *cornerPoint = rz_obl::moved(curveData->points[0], static_cast<float>(corner), sweep);
    }
    if (startFraction != nullptr) {
        *startFraction = static_cast<float>(firstCurve) / static_cast<float>(curveColumns);
    }
    if (endFraction != nullptr) {
        *endFraction = static_cast<float>(lastCurve + 1) / static_cast<float>(curveColumns);
    }

    const auto count = static_cast<float>(lastCurve - firstCurve + 1);
    const int from = trunc_to_int(count * rangeStart + static_cast<float>(firstCurve));
    const int to = trunc_to_int(count * rangeEnd + static_cast<float>(firstCurve) - 1.0F);
    const int imagePosition = wrap_add(wrap_sub(from, firstCurve), columnBase);
    if (from > to || range.least == INT_MAX) return 1;

    const int pixelKind = raster != nullptr ? slices[0]->pixelKind : RZ_Slice::kLong;
    if (pixelKind == RZ_Slice::kShort || pixelKind == RZ_Slice::kByte) {
        const rz_obl::RasterTable table(slices, firstSlice, lastSlice, volumeBox.zDim);
        rz_obl::curve_worker_args args{};
        args.rowStride = imageBox.rowStride;
        args.halfSamples = cut16(thick.halfSamples);
        args.spans = spans.get();
        args.toIndex = toIndex;
        args.crossStep = rz_obl::limit_step(rz_obl::transform_direction(sweep, toIndex));
        args.thickStep = thick.step;
        args.rasters = table.bySlice();
        args.raster = raster;
        args.sourceWidth = volumeBox.xDim;
        args.transposed = transposed;
        args.points = curveData->points;
        args.sweepStep = sweep;
        args.from = cut16(from);
        args.to = cut16(to);
        args.imagePosition = cut16(imagePosition);
        args.rowShift = cut16(placement.rowShift);
        args.directions = curveData->directions;
        args.normals = curveData->normals;
        args.firstSample = firstSample;
        args.thickness = thickness;
        args.volumeBox = &volumeBox;
        // required: a cancelled worker throws through here; the table goes, the spans stay behind
        SweepSpan* const abandoned = spans.release();
        if (const auto worker = worker_for(pixelKind, type)) worker(args);
        spans.reset(abandoned);
    }

    const int curveFirst = columnBase;
    const int curveLast = wrap_add(wrap_sub(columnBase, firstCurve), lastCurve);
    const int crossFirstPixel = wrap_add(placement.crossLo, placement.rowShift);
    const int crossLastPixel = wrap_add(wrap_sub(placement.crossHi, 1), placement.rowShift);
    *firstRow = transposed ? curveFirst : crossFirstPixel;
    *lastRow = transposed ? curveLast : crossLastPixel;
    if (columnBounds != nullptr) {
        columnBounds[0] = transposed ? crossFirstPixel : curveFirst;
        columnBounds[1] = transposed ? crossLastPixel : curveLast;
    }
    if (transposedOut != nullptr) *transposedOut = transposed;
    if (signOut != nullptr) *signOut = sign;
    return 1;
}
