#include "tests/reference/services/oblique_voldata.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "lower/definitions/coord.h"
#include "lower/volume/types_utils.h"
#include "tests/reference/planar.h"

namespace rz_reference {
namespace {

std::int32_t truncated(float x) {
    if (x >= -2147483648.0F && x < 2147483648.0F) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

std::vector<short> fresh_raster(const RZ_Box& box, short fresh) {
    const std::uint32_t bytes =
        static_cast<std::uint32_t>(box.xDim) * static_cast<std::uint32_t>(box.yDim) * 2U;
    std::vector<short> raster(bytes / 2, fresh);
    // The count of words is a quarter of the bytes: half of the raster.
    std::fill_n(raster.begin(), bytes / 4, short{0});
    return raster;
}

// One computed slice in the frame of the plane; box comes and goes in physical space.
MadeSlice computed_slice(const RZ_VolData& volume, const RZ_PlaneParams& plane, RZ_Box& box,
                         float halfThickness, RZ_OBL_RenditionType type, short fresh) {
    float m[4][4];
    plane.Get2Projection(m);
    box.params.ApplyTransform(m);

    MadeSlice made;
    made.width = box.xDim;
    made.height = box.yDim;
    made.raster = fresh_raster(box, fresh);
    std::array<int, 4> bounds{};
    std::vector<short*> rasters;
    for (int z = 0; z < volume.GetBox()->zDim; ++z)
        rasters.push_back(static_cast<short*>(volume.GetSlice(static_cast<unsigned>(z))->MappedRaster()));
    const FrameRequest request{volume.GetBox(), &volume.GetBox()->params, plane, &box.params, &box, 4,
                               halfThickness};
    oblique_plane(request, rasters, static_cast<int>(type), {true, 12}, made.raster.data(), bounds);

    float inverse[4][4];
    RZ_Minv(m, inverse);
    box.params.ApplyTransform(inverse);
    return made;
}

}  // namespace

MadeVolume calc_oblique_voldata(const RZ_VolData& volume, RZ_PlaneParams plane, RZ_OBL_RenditionType type,
                                float thickness, short fresh) {
    RZ_Box a;
    RZ_TypesUtils::CalcSwiveledBoundingBox(volume, plane, a);
    RZ_Box b;
    RZ_TypesUtils::CalcPlanarCutBox(a, plane, b);
    MadeVolume made;
    made.slices.push_back(computed_slice(volume, plane, b, thickness * 0.5F, type, fresh));
    made.box = b;
    return made;
}

MadeVolume calc_oblique_voldata(const RZ_VolData& volume, unsigned int first_slice, unsigned int last_slice,
                                float spacing, short fresh) {
    const unsigned int n = last_slice - first_slice + 1;
    const RZ_Box& box = *volume.GetBox();
    RZ_Box c;
    RZ_TypesUtils::CalcCutBox(box, static_cast<int>(first_slice), static_cast<int>(n), c);
    const float d = box.GetZMmPerPixel();
    const std::int32_t m = truncated(static_cast<float>(n) * d / spacing);
    c.zDim = m;
    MadeVolume made;
    made.box = c;
    float t[4][4];
    c.GetIndexToPhysicalTrans(t);

    RZ_3Coord v0;
    RZ_3Coord v1;
    box.params.GetSideVec(v0, RZ_AxisX);
    box.params.GetSideVec(v1, RZ_AxisY);
    v0.Normalize();
    v1.Normalize();
    RZ_3Coord normal;
    RZ_cross(v0, v1, normal);
    normal.w = 0.0F;
    RZ_PlaneParams plane(normal, RZ_3Coord(0.0F, 0.0F, 0.0F), v0);

    for (int i = 0; i < m; ++i) {
        const float p = static_cast<float>(i) * spacing;
        if (std::fmod(p, d) == 0.0F) {
            MadeSlice shared;
            shared.sharedFrom = static_cast<int>(first_slice) + truncated(p / d);
            made.slices.push_back(shared);
            continue;
        }
        RZ_3Coord point(0.0F, 0.0F, static_cast<float>(i));
        RZ_vectrans(point, t);
        plane.ParallelTranslate(plane.Distance(point));
        RZ_Box slab;
        RZ_TypesUtils::CalcCutBox(c, i, 1, slab);
        made.slices.push_back(
            computed_slice(volume, plane, slab, 0.0F, RZ_OBL_RenditionType::Average, fresh));
    }
    return made;
}

}  // namespace rz_reference
