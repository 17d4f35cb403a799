#include "rz_obl/RZ_OBLplanar/frame/plane_to_index.h"

#include "lower/definitions/matrix.h"

namespace rz_obl {
namespace {

/// (a, b, any, 1) goes to origin + a x unit 0 + b x unit 1: the plane's frame has no depth.
void make_plane_frame(const RZ_PlaneParams& plane, float planeFrame[4][4]) {
    RZ_Midnt(planeFrame);
    planeFrame[2][2] = 0.0F;
    plane.GetOrigin(planeFrame[3]);
    plane.GetUnits(planeFrame[0], planeFrame[1]);
}

/// Moves the translation from sample corners to sample centres: +0.5 in the output, -0.5 in the source.
/// Nearest leaves out the -0.5, so that truncation of a coordinate finds the nearest sample.
void centre_samples(RZ_OBL_RenditionQuality quality, float matrix[4][4]) {
    float v[3] = {0.5F, 0.5F, 0.5F};
    RZ_vectrans_no_translation(v, matrix);
    const float s = quality != RZ_OBL_RenditionQuality::Nearest ? 0.5F : 0.0F;
    for (int j = 0; j < 3; ++j) matrix[3][j] = (v[j] - s) + matrix[3][j];
}

}  // namespace

// Row vectors, left to right:
//   output raster, from its corner -> the plane's frame (outputBox: samples to millimetres)
//   the plane's frame              -> physical space    (planeFrame)
//   physical space                 -> source samples, from their corner (volumeBox)
// and then both ends move to sample centres.
void make_plane_to_index(const RZ_PlaneParams& plane, const reslice_request& request,
                         float planeToIndex[4][4]) {
    float planeFrame[4][4];
    make_plane_frame(plane, planeFrame);
    float outputToPlane[4][4];
    request.outputBox.GetIndexToPhysicalFromCorner(outputToPlane);
    float outputToPhysical[4][4];
    RZ_Mmul(outputToPlane, planeFrame, outputToPhysical);
    float physicalToIndex[4][4];
    request.volumeBox.GetPhysicalToIndexFromCorner(physicalToIndex);
    RZ_Mmul(outputToPhysical, physicalToIndex, planeToIndex);
    centre_samples(request.quality, planeToIndex);
}

}  // namespace rz_obl
