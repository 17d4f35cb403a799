#include <cmath>

#include "lower/pager/mem_pager.h"
#include "lower/utilities/memory.h"
#include "lower/volume/slice.h"
#include "lower/volume/slice_vector.h"
#include "lower/volume/types_utils.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/volume_services/volume_services.h"

namespace {

bool mapSlices(const RZ_VolData& volume) {
    return RZ_SliceVector::MapRZSliceVec(volume.GetSlices(), volume.GetBox()->zDim, nullptr, false, false);
}

void unmapSlices(const RZ_VolData& volume) {
    RZ_SliceVector::UnMapRZSliceVec(volume.GetSlices(), volume.GetBox()->zDim, nullptr, false);
}

/// The slice of volume in the flat box cut, a physical box along plane, on a block of its own. cut may come
/// back with its last bits changed: it goes to the plane's frame and back. Null, with volume unmapped, if
/// there is no memory.
RZ_ShortSlice* computeSlice(const RZ_VolData& volume, const RZ_PlaneParams& plane, RZ_Box& cut,
                            float halfThickness, RZ_OBL_RenditionType type) {
    float toPlane[4][4];
    plane.Get2Projection(toPlane);
    cut.params.ApplyTransform(toPlane);

    const unsigned bytes = static_cast<unsigned>(cut.xDim) * static_cast<unsigned>(cut.yDim) * 2U;
    MEM_MemPager* pager = MEM_MemPager::GetHandleForMP();
    auto* block = new MEM_PagerInfo;
    if (pager->Allocate(bytes, block, 16) == -1) {
        unmapSlices(volume);
        delete pager;
        return nullptr;  // required: the info is abandoned
    }
    auto* raster = static_cast<short*>(block->Ptr());
    RZ_FillMemWord(reinterpret_cast<unsigned short*>(raster), bytes / 4, 0);

    const RZ_Box& box = *volume.GetBox();
    int firstRow = 0;
    int lastRow = 0;
    int firstColumn = 0;
    int lastColumn = 0;
    RZ_CalcOblique(reinterpret_cast<RZ_ShortSlice**>(volume.GetSlices()), box, box.params, plane, &cut.params,
                   raster, cut, &firstRow, &lastRow, &firstColumn, &lastColumn, 0, box.zDim - 1,
                   RZ_OBL_RenditionQuality::Linear, halfThickness, type, true, 12);

    block->Unmap();
    float toPhysical[4][4];
    RZ_Minv(toPlane, toPhysical);
    cut.params.ApplyTransform(toPhysical);

    PixelDataAttributes attributes{cut.xDim, cut.yDim, 16, 1};
    auto* slice = new RZ_ShortSlice(block, attributes, 0);
    slice->computed = true;
    return slice;
}

void copyRescale(const RZ_VolData& from, RZ_VolData& to) {
    double slope = 0.0;
    double intercept = 0.0;
    from.GetRescaleTrans(&slope, &intercept);
    to.SetRescaleTrans(slope, intercept);
}

/// A plane through the physical origin along the slices of a box.
RZ_PlaneParams slicePlane(const RZ_BoxParams& params) {
    RZ_3Coord unit0;
    RZ_3Coord unit1;
    params.GetSideVec(unit0, RZ_AxisX);
    params.GetSideVec(unit1, RZ_AxisY);
    unit0.Normalize();
    unit1.Normalize();
    RZ_3Coord normal;
    RZ_cross(unit0, unit1, normal);
    normal.w = 0.0F;
    return {normal, RZ_3Coord(0.0F, 0.0F, 0.0F), unit0};
}

}  // namespace

RZ_OBLUtils& RZ_OBLUtils::operator=(const RZ_OBLUtils&) {
    return *this;
}

RZ_OBLUtils& RZ_OBLUtils::operator=(RZ_OBLUtils&&) noexcept {
    return *this;
}

RZ_VolData* RZ_OBLUtils::CalcObliqueVoldata(const RZ_VolData& volume, RZ_PlaneParams& plane,
                                            RZ_OBL_RenditionType type, float thickness) {
    if (!mapSlices(volume)) return nullptr;

    RZ_Box bounding;
    RZ_Box cut;
    RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, bounding);
    RZ_TypesUtils::CalcPlanarCutBox(bounding, plane, cut);
    RZ_ShortSlice* slice = computeSlice(volume, plane, cut, thickness * 0.5F, type);
    if (!slice) return nullptr;

    auto* result = new RZ_VolData(&cut, 0);
    result->SetSlice(slice, 0);
    unmapSlices(volume);
    copyRescale(volume, *result);
    return result;
}

RZ_VolData* RZ_OBLUtils::CalcObliqueVoldata(const RZ_VolData& volume, unsigned int first_slice,
                                            unsigned int last_slice, float spacing) {
    const unsigned count = last_slice - first_slice + 1;
    if (!mapSlices(volume)) return nullptr;

    const RZ_Box& box = *volume.GetBox();
    RZ_Box stack;
    RZ_TypesUtils::CalcCutBox(box, static_cast<int>(first_slice), static_cast<int>(count), stack);
    const float sourceSpacing = box.GetZMmPerPixel();
    stack.zDim = rz_obl::trunc_to_int(static_cast<float>(count) * sourceSpacing / spacing);

    auto* result = new RZ_VolData(&stack, 0);
    float toPhysical[4][4];
    stack.GetIndexToPhysicalTrans(toPhysical);
    RZ_PlaneParams plane = slicePlane(box.params);

    for (int i = 0; i < stack.zDim; ++i) {
        const float position = static_cast<float>(i) * spacing;
        if (std::fmod(position, sourceSpacing) == 0.0F) {
            const int steps = rz_obl::trunc_to_int(position / sourceSpacing);
            auto* shared = new RZ_Slice(*volume.GetSlice(first_slice + static_cast<unsigned>(steps)));
            shared->computed = false;
            result->SetSlice(shared, i);
            continue;
        }
        RZ_3Coord centre(0.0F, 0.0F, static_cast<float>(i));
        RZ_vectrans(centre, toPhysical);
        plane.ParallelTranslate(plane.Distance(centre));
        RZ_Box cut;
        RZ_TypesUtils::CalcCutBox(stack, i, 1, cut);
        RZ_ShortSlice* slice = computeSlice(volume, plane, cut, 0.0F, RZ_OBL_RenditionType::Average);
        if (!slice) return nullptr;  // required: result and its slices are abandoned
        result->SetSlice(slice, i);
    }
    unmapSlices(volume);
    copyRescale(volume, *result);
    return result;
}
