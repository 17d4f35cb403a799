#include <gtest/gtest.h>

#include <vector>

#include "lower/lower.h"
#include "lower/pager/mem_pager.h"
#include "lower/settings/whiteboard.h"
#include "lower/tasks/runnable.h"
#include "lower/utilities/memory.h"
#include "lower/volume/slice.h"
#include "lower/volume/slice_vector.h"
#include "lower/volume/types_utils.h"
#include "lower/volume/vol_data.h"
#include "tests/faults/sweep.h"

// Functions of the lower library that ask for no memory at all, and are to stay so.

namespace rz_test {
namespace {

RZ_BoxParams tilted() {
    const double start[3] = {-3.0, 4.0, 5.0};
    const double sides[3][3] = {{8.0, 1.0, 0.0}, {-1.0, 9.0, 2.0}, {0.5, -2.0, 7.0}};
    return RZ_BoxParams(start, sides[0], sides[1], sides[2]);
}

void matrices() {
    expect_quiet([] {
        float a[4][4];
        float b[4][4];
        float c[4][4];
        RZ_Midnt(a);
        a[3][0] = 2.0F;
        a[0][1] = 0.5F;
        RZ_Minv(a, b);
        RZ_Mmul(a, b, c);
        float v[4] = {1.0F, 2.0F, 3.0F, 1.0F};
        float w[4] = {0.0F, 1.0F, 0.0F, 1.0F};
        RZ_eqtrans(v, a);
        RZ_vectrans(v, a);
        RZ_vectrans_no_translation(v, a);
        RZ_vec3mlt(v, a, w);
        RZ_cross(v, a[0], w);
        RZ_normalize(w);
        (void)RZ_dot(v, w);
    });
}

void boxes() {
    expect_quiet([] {
        float m[4][4];
        double d[4][4];
        float v[3];
        RZ_BoxParams params = tilted();
        RZ_BoxParams side(1.0F, 2.0F, 3.0F);
        side = params;
        const RZ_BoxParams cube;
        RZ_Midnt(m);
        params.ApplyTransform(m);
        params.SetStart(1.0F, 2.0F, 3.0F);
        params.GetStart(v);
        params.GetMiddle(v);
        params.GetSize(v);
        params.GetSideVec(v, RZ_AxisY);
        params.GetVertex(5, v);
        params.GetNormTrans(m);
        params.GetPhysicalFromNorm(d);
        params.TScale(1.0F, 2.0F, 1.0F, v);
        (void)(params.GetWidth() + params.GetHeight() + params.GetDepth());
        RZ_Box box(4, 5, 6, params);
        RZ_Box other = box;
        other = RZ_Box(1, 2, 3, cube);
        box.GetBoxToBoxTrans(&other, m);
        box.GetIndexToPhysicalFromCorner(m);
        box.GetIndexToPhysicalTrans(m);
        box.GetPhysicalToIndexFromCorner(m);
        box.GetPhysicalToIndexTrans(m);
        (void)(box.GetSliceZf() + box.GetXMmPerPixel() + box.GetYMmPerPixel() + box.GetZMmPerPixel());
    });
}

void planes() {
    expect_quiet([] {
        const RZ_PlaneParams level;
        RZ_PlaneParams plane(RZ_3Coord(1.0F, 2.0F, 3.0F), RZ_3Coord(4.0F, 5.0F, 6.0F),
                             RZ_3Coord(1.0F, 0.0F, 0.0F));
        float m[4][4];
        double d[4][4];
        float v[4];
        float u[3];
        plane.GetOrigin(v);
        plane.GetPlaneEq(v);
        plane.GetUnits(v, u);
        plane.GetPhysicalFromPlane(d);
        plane.Get2Projection(m);
        plane.ParallelTranslate(plane.Distance(v));
        RZ_CalcPlane(RZ_3Coord(0.0F, 1.0F, 1.0F), RZ_3Coord(1.0F, 1.0F, 1.0F), plane, true);
        short spans[40];
        for (int row = 0; row < 20; ++row) {
            spans[2 * row] = 0;
            spans[2 * row + 1] = 99;
        }
        RZ_update_clip_bounds(1.0F, 0.5F, 40.0F, 100, 20, spans);
    });
}

/// Boxes for images, and the moves of slices in and out of a volume.
void volumes() {
    RZ_Box box(6, 5, 3, tilted());
    RZ_VolData volume(&box, 0);
    std::vector<short> samples(30);
    const PixelDataAttributes attributes{6, 5, 16, 1};
    for (int z = 0; z < 2; ++z) volume.SetSlice(new RZ_ShortSlice(samples.data(), attributes), z);
    RZ_Slice* const late = new RZ_ShortSlice(samples.data(), attributes);
    RZ_Slice* const outside = new RZ_ShortSlice(samples.data(), attributes);
    expect_quiet([&] {
        RZ_PlaneParams plane(RZ_3Coord(1.0F, 2.0F, 3.0F), RZ_3Coord(0.0F, 6.0F, 8.0F),
                             RZ_3Coord(1.0F, 0.0F, 0.0F));
        RZ_Box out;
        RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, out);
        RZ_TypesUtils::CalcPlanarCutBox(box, plane, out);
        RZ_TypesUtils::CalcCutBox(box, 1, 2, out);
        volume.SetSlice(late, 2);
        volume.SetSlice(outside, 3);  // deletes it
        double slope = 0.0;
        double intercept = 0.0;
        volume.GetRescaleTrans(&slope, &intercept);
        volume.SetRescaleTrans(slope, intercept);
        (void)volume.GetBox();
        (void)volume.GetSlice(1);
        RZ_SliceVector::MapRZSliceVec(volume.GetSlices(), 3, nullptr, false, false);
        RZ_SliceVector::UnMapRZSliceVec(volume.GetSlices(), 3, nullptr, false);
    });
}

void slices() {
    MEM_MemPager* const pager = MEM_MemPager::GetHandleForMP();
    MEM_PagerInfo* blocks[2] = {new MEM_PagerInfo, new MEM_PagerInfo};
    for (MEM_PagerInfo* block : blocks) ASSERT_EQ(pager->Allocate(120, block, 16), 0);
    expect_quiet([&] {
        PixelDataAttributes attributes{6, 5, 16, 1};
        short words[30] = {};
        unsigned char bytes[30] = {};
        std::int32_t pixels[30] = {};
        unsigned long bins[16] = {};
        RZ_ShortSlice shorts(words, attributes);
        RZ_ShortSlice chars(bytes, attributes);
        RZ_LongSlice longs(pixels, attributes);
        RZ_ShortSlice ownShorts(blocks[0], attributes, 0);
        RZ_LongSlice ownLongs(blocks[1], attributes, 0);
        blocks[0]->Unmap();
        shorts.AddToHistogram(bins, 0, 16);
        RZ_Slice bare(shorts);
        bare.AddToHistogram(bins, 0, 16);
        bare = shorts;
        shorts = chars;
        ownShorts = chars;  // releases its block
        longs = ownLongs;
        RZ_Memcpy(words, pixels, 60);
        RZ_FillMemWord(reinterpret_cast<unsigned short*>(words), 30, 7);
    });
}

void curves() {
    std::vector<RZ_3Coord> points;
    for (int i = 0; i < 30; ++i) {
        const auto t = static_cast<float>(i);
        points.emplace_back(t, t * t * 0.1F, 1.0F);
    }
    RZ_Spline spline(points.data(), 30, RZ_3Coord(0.0F, 0.0F, 1.0F));
    std::vector<RZ_3Coord> out(600);
    expect_quiet([&] {
        RZ_3Coord* const at = out.data();
        (void)spline.GetLength(0);
        (void)spline.GetLineDirection();
        (void)spline.NumOfPoints(1);
        spline.InterpolateEDCurve(at, 200, 10, nullptr, 0, 0);
        spline.InterpolateEDCurveWithTangents(at, at + 200, 200, 10, 5, nullptr, 0, 0);
        spline.InterpolateEDCurveWithTangents(at, at + 200, 200, 10, 5, at + 400, 20, 100);
    });
}

void pager_handles() {
    expect_quiet([] {
        MEM_MemPager* const handle = MEM_MemPager::GetHandleForMP();
        delete handle;
        delete MEM_MemPager::GetHandleForMP();
    });
}

void tasks() {
    expect_quiet([] {
        WKR_Task task;
        const WKR_TaskScope scope(task);
        const WKR_RunnableSelf self;
        self.Service();
        task.Cancel();
        // The run-time keeps memory for exceptions of its own.
        try {
            self.Service();
        } catch (const WKR_CANCEL_EXCEPTION&) {
        }
    });
}

void drop_line(const Jrn_LogRecord&, void*) {}

void settings_and_log() {
    const std::string key = "a key too long for a string's own room";
    RZ_Whiteboard& board = RZ_Whiteboard::Instance();
    board.SetIntVal(key, 3);
    expect_quiet([&] {
        (void)board.GetIntVal(key, 0);
        board.Remove(key);
        (void)board.GetIntVal(key, 0);
        JrnGLog.SetSink(&drop_line, nullptr);
        if (JrnGLog.StoreParams("file", "function", 1, 3, 208, 1)) JrnGLog.Log("%d short line", 1);
        JrnGLog.SetSink(nullptr, nullptr);
    });
}

}  // namespace

std::vector<ExportedSweep> quiet_lower_sweeps() {
    return {
        {"none_matrices",
         {"RZ_Midnt", "RZ_Minv", "RZ_Mmul", "RZ_cross", "RZ_dot", "RZ_eqtrans", "RZ_normalize", "RZ_vec3mlt",
          "RZ_vectrans_no_translation", "RZ_vectrans"},
         matrices},
        {"none_boxes",
         {"RZ_Box::GetBoxToBoxTrans(",
          "RZ_Box::GetIndexToPhysicalFromCorner(",
          "RZ_Box::GetIndexToPhysicalTrans(",
          "RZ_Box::GetPhysicalToIndexFromCorner(",
          "RZ_Box::GetPhysicalToIndexTrans(",
          "RZ_Box::GetSliceZf(",
          "RZ_Box::GetXMmPerPixel(",
          "RZ_Box::GetYMmPerPixel(",
          "RZ_Box::GetZMmPerPixel(",
          "RZ_Box::RZ_Box(",
          "RZ_Box::~RZ_Box(",
          "RZ_BoxParams::ApplyTransform(",
          "RZ_BoxParams::GetDepth(",
          "RZ_BoxParams::GetHeight(",
          "RZ_BoxParams::GetMiddle(",
          "RZ_BoxParams::GetNormTrans(",
          "RZ_BoxParams::GetPhysicalFromNorm(",
          "RZ_BoxParams::GetSideVec(",
          "RZ_BoxParams::GetSize(",
          "RZ_BoxParams::GetStart(",
          "RZ_BoxParams::GetVertex(",
          "RZ_BoxParams::GetWidth(",
          "RZ_BoxParams::RZ_BoxParams()",
          "RZ_BoxParams::RZ_BoxParams(double",
          "RZ_BoxParams::RZ_BoxParams(float",
          "RZ_BoxParams::SetStart(",
          "RZ_BoxParams::TScale(",
          "RZ_BoxParams::~RZ_BoxParams("},
         boxes},
        {"none_planes",
         {"RZ_CalcPlane(", "RZ_PlaneParams::Distance(", "RZ_PlaneParams::Get2Projection(",
          "RZ_PlaneParams::GetOrigin(", "RZ_PlaneParams::GetPhysicalFromPlane(",
          "RZ_PlaneParams::GetPlaneEq(", "RZ_PlaneParams::GetUnits(", "RZ_PlaneParams::ParallelTranslate(",
          "RZ_PlaneParams::RZ_PlaneParams()", "RZ_PlaneParams::RZ_PlaneParams(float",
          "RZ_update_clip_bounds("},
         planes},
        {"none_volumes",
         {"RZ_SliceVector::MapRZSliceVec(", "RZ_SliceVector::UnMapRZSliceVec(", "RZ_TypesUtils::CalcCutBox(",
          "RZ_TypesUtils::CalcPlanarCutBox(", "RZ_TypesUtils::CalcSwiveledBoundingBox(",
          "RZ_VolData::GetBox(", "RZ_VolData::GetRescaleTrans(", "RZ_VolData::GetSlice(",
          "RZ_VolData::GetSlices(", "RZ_VolData::SetRescaleTrans(", "RZ_VolData::SetSlice("},
         volumes},
        {"none_slices",
         {"MEM_PagerInfo::Unmap(", "RZ_FillMemWord(", "RZ_LongSlice::RZ_LongSlice(MEM_PagerInfo",
          "RZ_LongSlice::RZ_LongSlice(int", "RZ_LongSlice::operator=(", "RZ_LongSlice::~RZ_LongSlice(",
          "RZ_Memcpy(", "RZ_ShortSlice::AddToHistogram(", "RZ_ShortSlice::RZ_ShortSlice(MEM_PagerInfo",
          "RZ_ShortSlice::RZ_ShortSlice(short", "RZ_ShortSlice::RZ_ShortSlice(unsigned char",
          "RZ_ShortSlice::operator=(", "RZ_ShortSlice::~RZ_ShortSlice(", "RZ_Slice::AddToHistogram(",
          "RZ_Slice::RZ_Slice(RZ_Slice const&", "RZ_Slice::RZ_Slice(void*", "RZ_Slice::operator=(",
          "RZ_Slice::~RZ_Slice("},
         slices},
        {"none_curves",
         {"RZ_Spline::GetLength(", "RZ_Spline::GetLineDirection(", "RZ_Spline::InterpolateEDCurve(",
          "RZ_Spline::InterpolateEDCurveWithTangents(", "RZ_Spline::NumOfPoints("},
         curves},
        {"none_pager_handles",
         {"MEM_MemPager::operator delete(", "MEM_MemPager::~MEM_MemPager("},
         pager_handles},
        {"none_tasks",
         {"WKR_CANCEL_EXCEPTION::~WKR_CANCEL_EXCEPTION(", "WKR_RunnableSelf::WKR_RunnableSelf(",
          "WKR_RunnableSelf::throwCancelled(", "WKR_RunnableSelf::~WKR_RunnableSelf(",
          "WKR_TaskScope::WKR_TaskScope(", "WKR_TaskScope::~WKR_TaskScope("},
         tasks},
        {"none_settings_and_log",
         {"Jrn_LogFile::Store(", "Jrn_LogFile::Write(", "RZ_Whiteboard::GetIntVal(",
          "RZ_Whiteboard::Remove("},
         settings_and_log},
    };
}

}  // namespace rz_test
