#include <cstdlib>

#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLplanar/frame/reslice_frame.h"
#include "rz_obl/RZ_OBLplanar/request/make_scan_args.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/steps/saturate.h"
#include "rz_obl/RZ_OBLplanar/steps/slab_step.h"

namespace rz_obl {
namespace {

void scan_by_type(RZ_OBL_RenditionType type, const scan_args_16& args, const short*** fastIndex,
                  int dominantAxis) {
    switch (type) {
        case RZ_OBL_RenditionType::Average:
            return scan_avg_12(args, fastIndex, dominantAxis);
        case RZ_OBL_RenditionType::Maximum:
            return scan_max_12(args, fastIndex);
        case RZ_OBL_RenditionType::Minimum:
            return scan_min_12(args, fastIndex);
    }
    // any other type draws nothing
}

}  // namespace
}  // namespace rz_obl

// Differs from RZ_PlanarObliqueProjection: a ready table of 16-bit rasters, the slab step keeps its sign here
// (the selection settles it, in Q18), and the quality is passed on as it is.
int RZ_NewCalcOblique(short** slices, const short*** fastIndex, const RZ_Box& volumeBox,
                      const RZ_BoxParams& volumeParams, RZ_PlaneParams plane, const RZ_BoxParams* clipParams,
                      short* output, const RZ_Box& outputBox, int* firstRow, int* lastRow, int* firstColumn,
                      int* lastColumn, RZ_OBL_RenditionQuality quality, float halfThickness,
                      RZ_OBL_RenditionType type, bool isSigned, int bitDepth) {
    using namespace rz_obl;
    const reslice_request request{volumeBox,     volumeParams, plane,   clipParams,  outputBox, quality,
                                  halfThickness, firstRow,     lastRow, firstColumn, lastColumn};
    const reslice_frame frame = make_reslice_frame(request);

    slab_walk walk;
    if (has_slab(request)) walk = make_slab_walk(plane, volumeBox, halfThickness);
    int columnStep[3];
    int slabStep[3];
    for (int k = 0; k < 3; ++k) {
        columnStep[k] = saturate_q18(frame.planeToIndex[0][k]);
        slabStep[k] = saturate_q18(walk.step[k]);
    }

    const scan_args_16 args = make_scan_args(request, frame, walk.steps, columnStep, slabStep, slices, output,
                                             quality, isSigned, bitDepth);
    try {
        scan_by_type(type, args, fastIndex, frame.dominantAxis);
    } catch (WKR_CANCEL_EXCEPTION&) {
        std::free(frame.rowSpans);
        throw;
    }
    std::free(frame.rowSpans);
    return 1;
}
