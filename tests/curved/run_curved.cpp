#include "tests/curved/run_curved.h"

#include <sstream>

namespace rz_test {

using rz_reference::CurvedCall;

int call_calc_curved(const CurvedCall& c) {
    return RZ_CalcCurved(c.slices, *c.ignoredBox, *c.frameParams, *c.volumeBox, *c.cropParams, *c.spline,
                         c.raster, *c.imageBox, c.curveData, c.firstRow, c.lastRow, c.firstSlice, c.lastSlice,
                         c.quality, c.localFrames, c.maxWidth, c.thickness, c.requireInside, c.columnOffset,
                         c.columnBounds, c.cornerPoint, c.startFraction, c.endFraction, c.type,
                         c.transposedIn, c.signIn, c.transposedOut, c.signOut, c.alongRemainder,
                         c.crossRemainder, c.crossFirst, c.rangeStart, c.rangeEnd);
}

int draw_by_entry(const CurvedCall& call, Branches&) {
    return call_calc_curved(call);
}

int draw_by_reference(const CurvedCall& call, Branches& branches) {
    return rz_reference::calc_curved(call, branches);
}

bool CurvedOutputs::boundsUntouched() const {
    const CurvedOutputs fresh;
    return firstRow == fresh.firstRow && lastRow == fresh.lastRow &&
           columnBounds[0] == fresh.columnBounds[0] && columnBounds[1] == fresh.columnBounds[1] &&
           transposedOut == fresh.transposedOut && signOut == fresh.signOut;
}

bool CurvedOutputs::untouchedButRemainders() const {
    CurvedOutputs expected;
    expected.alongRemainder = alongRemainder;
    expected.crossRemainder = crossRemainder;
    expected.result = result;
    return *this == expected;
}

std::string CurvedOutputs::describe() const {
    std::ostringstream out;
    out << "result " << result << ", rows " << firstRow << ".." << lastRow << ", columns " << columnBounds[0]
        << ".." << columnBounds[1] << ", corner " << corner[0] << ' ' << corner[1] << ' ' << corner[2] << ' '
        << corner[3] << ", fractions " << startFraction << ' ' << endFraction << ", transposed "
        << transposedOut << ", sign " << signOut << ", remainders " << alongRemainder << ' ' << crossRemainder
        << ", crossFirst " << crossFirst;
    return out.str();
}

CurvedOutputs draw(CurvedRequest& request, RZ_CurveProjectData& data, void* raster, float rangeStart,
                   float rangeEnd, Drawer drawer, Branches& branches, const WantedOutputs& wanted) {
    CurvedOutputs out;
    RZ_3Coord corner(out.corner);
    corner.w = out.corner[3];
    bool transposedOut = out.transposedOut != 0;
    bool transposedIn = request.transposedIn.value_or(false);
    int signIn = request.signIn.value_or(0);
    auto slices = request.volume.anySlices();
    // No result depends on it.
    const RZ_Box ignored(3, 5, 7, RZ_BoxParams(1.0F, 2.0F, 3.0F));

    CurvedCall call;
    call.slices = slices.data();
    call.ignoredBox = &ignored;
    call.frameParams = &request.frame;
    call.volumeBox = &request.volume.box;
    call.cropParams = &request.crop;
    call.spline = &request.spline;
    call.raster = raster;
    call.imageBox = &request.imageBox;
    call.curveData = &data;
    call.firstRow = &out.firstRow;
    call.lastRow = &out.lastRow;
    call.firstSlice = request.firstSlice;
    call.lastSlice = request.lastSlice;
    call.quality = static_cast<RZ_OBL_RenditionQuality>(request.quality);
    call.localFrames = request.localFrames;
    call.maxWidth = request.maxWidth;
    call.thickness = request.thickness;
    call.requireInside = request.requireInside;
    call.columnOffset = request.columnOffset;
    call.columnBounds = wanted.columnBounds ? out.columnBounds : nullptr;
    call.cornerPoint = wanted.corner ? &corner : nullptr;
    call.startFraction = wanted.startFraction ? &out.startFraction : nullptr;
    call.endFraction = wanted.endFraction ? &out.endFraction : nullptr;
    call.type = static_cast<RZ_OBL_RenditionType>(request.type);
    call.transposedIn = request.transposedIn ? &transposedIn : nullptr;
    call.signIn = request.signIn ? &signIn : nullptr;
    call.transposedOut = wanted.transposedOut ? &transposedOut : nullptr;
    call.signOut = wanted.signOut ? &out.signOut : nullptr;
    call.alongRemainder = &out.alongRemainder;
    call.crossRemainder = &out.crossRemainder;
    call.crossFirst = &out.crossFirst;
    call.rangeStart = rangeStart;
    call.rangeEnd = rangeEnd;
    out.result = drawer(call, branches);
    std::memcpy(out.corner, static_cast<const float*>(corner), sizeof(out.corner));
    out.transposedOut = transposedOut ? 1 : 0;
    return out;
}

int prepare(CurvedRequest& request, RZ_CurveProjectData& data) {
    bool transposedIn = request.transposedIn.value_or(false);
    int signIn = request.signIn.value_or(0);
    return RZ_PrepareCurveData(request.spline, request.imageBox, request.localFrames,
                               request.transposedIn ? &transposedIn : nullptr,
                               request.signIn ? &signIn : nullptr, request.margin, &data,
                               request.secondBox ? &*request.secondBox : nullptr);
}

bool same_box(const RZ_Box& a, const RZ_Box& b) {
    double ma[4][4];
    double mb[4][4];
    a.params.GetPhysicalFromNorm(ma);
    b.params.GetPhysicalFromNorm(mb);
    return a.xDim == b.xDim && a.yDim == b.yDim && a.zDim == b.zDim && a.rowStride == b.rowStride &&
           std::memcmp(ma, mb, sizeof(ma)) == 0;
}

std::string difference(const rz_reference::CurveData& want, const RZ_CurveProjectData& got) {
    if (want.curveColumns != got.curveColumns) return "curveColumns";
    if (want.viewStart != got.viewStart) return "viewStart";
    if (want.viewEnd != got.viewEnd) return "viewEnd";
    if (want.firstSample != got.firstSample) return "firstSample";
    if (want.lastSample != got.lastSample) return "lastSample";
    if (want.sampleCount != got.sampleCount) return "sampleCount";
    const auto same = [](const std::vector<RZ_3Coord>& a, const RZ_3Coord* b) {
        return a.empty() || std::memcmp(a.data(), b, a.size() * sizeof(RZ_3Coord)) == 0;
    };
    if (!same(want.points, got.points)) return "points";
    if (!same(want.directions, got.directions)) return "directions";
    if (!same(want.normals, got.normals)) return "normals";
    return "";
}

}  // namespace rz_test
