#include <cstdint>
#include <cstdlib>

#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLplanar/frame/reslice_frame.h"
#include "rz_obl/RZ_OBLplanar/request/make_scan_args.h"
#include "rz_obl/RZ_OBLplanar/request/slice_table.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/RZ_OBLplanar/steps/saturate.h"
#include "rz_obl/RZ_OBLplanar/steps/slab_step.h"

namespace rz_obl {
namespace {

constexpr float kGreatestCubicZFactor = 4.0F;

/// Both forms of the steps: samples for 8-bit and 32-bit kernels, Q18 for 16-bit ones.
struct projection_steps {
    int slabSteps;
    float column[3];
    float slab[3];
    int columnQ18[3];
    int slabQ18[3];
};

projection_steps make_steps(const reslice_request& request, const reslice_frame& frame) {
    slab_walk walk;
    if (has_slab(request)) walk = make_slab_walk(request.plane, request.volumeBox, request.halfThickness);
    projection_steps steps;
    steps.slabSteps = walk.steps;
    for (int k = 0; k < 3; ++k) {
        steps.column[k] = saturate_step(frame.planeToIndex[0][k]);
        steps.slab[k] = saturate_step(walk.step[k]);
    }
    if (0.0F > steps.slab[0])
        for (float& component : steps.slab) component = -component;
    for (int k = 0; k < 3; ++k) {
        steps.columnQ18[k] = to_q18(steps.column[k]);
        steps.slabQ18[k] = to_q18(steps.slab[k]);
    }
    return steps;
}

/// The rasters of the slices by their sample layout. An unknown layout has no table: null.
void* make_table(RZ_Slice** slices, int pixelKind, int depth, int first, int last) {
    // By the base: a slice that shares another's raster may be a bare one.
    const auto shorts = [slices](std::ptrdiff_t i) { return static_cast<short*>(slices[i]->MappedRaster()); };
    const auto bytes = [slices](std::ptrdiff_t i) {
        return static_cast<unsigned char*>(slices[i]->MappedRaster());
    };
    const auto pixels = [slices](std::ptrdiff_t i) {
        return static_cast<std::uint32_t*>(slices[i]->MappedRaster());
    };
    switch (pixelKind) {
        case RZ_Slice::kShort:
            return make_slice_table<short>(depth, first, last, shorts);
        case RZ_Slice::kByte:
            return make_slice_table<unsigned char>(depth, first, last, bytes);
        case RZ_Slice::kLong:
            return make_slice_table<std::uint32_t>(depth, first, last, pixels);
        default:
            return nullptr;
    }
}

/// What the slices' layout leaves of the requested quality, and the axis that goes with it.
struct scan_choice {
    RZ_OBL_RenditionQuality quality;
    int dominantAxis;
};

/// Slices far apart take the kernel that is linear across them. Everything else that is cubic needs the
/// weights, whatever its type and layout.
scan_choice pass_quality_gate(scan_choice choice, float zFactor) {
    if (choice.quality != RZ_OBL_RenditionQuality::Cubic) return choice;
    if (zFactor > kGreatestCubicZFactor) return {RZ_OBL_RenditionQuality::SemiCubic, 2};
    build_weight_table(g_cubicWeightTable);
    return choice;
}

void scan_16(RZ_OBL_RenditionType type, const scan_args_16& args, int dominantAxis) {
    switch (type) {
        case RZ_OBL_RenditionType::Average:
            return scan_avg_12_2(args, dominantAxis);
        case RZ_OBL_RenditionType::Maximum:
            return scan_max_12(args, nullptr);
        case RZ_OBL_RenditionType::Minimum:
            return scan_min_12(args, nullptr);
    }
}

void scan_8(RZ_OBL_RenditionType type, const scan_args_8& args) {
    switch (type) {
        case RZ_OBL_RenditionType::Average:
            return scan_avg_8bits(args);
        case RZ_OBL_RenditionType::Maximum:
            return scan_max_8bits(args);
        case RZ_OBL_RenditionType::Minimum:
            return scan_min_8bits(args);
    }
}

void scan_32(RZ_OBL_RenditionType type, const scan_args_32& args, int dominantAxis) {
    if (type == RZ_OBL_RenditionType::Average) scan_avg_32bits(args, dominantAxis);
}

}  // namespace
}  // namespace rz_obl

// Differs from RZ_NewCalcOblique: slice objects of three layouts, whose first one says depth and sign; the
// slab step's sign is settled here, in float; quality Cubic is real cubic interpolation, or lowered by the
// gate.
int RZ_PlanarObliqueProjection(RZ_Slice** slices, const RZ_Box& volumeBox, const RZ_BoxParams& volumeParams,
                               RZ_PlaneParams plane, const RZ_BoxParams* clipParams, char* output,
                               const RZ_Box& outputBox, int* firstRow, int* lastRow, int* firstColumn,
                               int* lastColumn, int first, int last, RZ_OBL_RenditionQuality quality,
                               float halfThickness, RZ_OBL_RenditionType type) {
    using namespace rz_obl;
    const int bitDepth = slices[0]->bitDepth;
    const bool isSigned = slices[0]->isSigned;
    const int pixelKind = slices[0]->pixelKind;
    const float zFactor = volumeBox.GetSliceZf();

    const reslice_request request{volumeBox,     volumeParams, plane,   clipParams,  outputBox, quality,
                                  halfThickness, firstRow,     lastRow, firstColumn, lastColumn};
    const reslice_frame frame = make_reslice_frame(request);
    projection_steps steps = make_steps(request, frame);
    void* table = make_table(slices, pixelKind, volumeBox.zDim, first, last);
    const scan_choice choice = pass_quality_gate({quality, frame.dominantAxis}, zFactor);

    const auto args = [&](auto* const* rasters, auto* columnStep, auto* slabStep, auto* raster) {
        return make_scan_args(request, frame, steps.slabSteps, columnStep, slabStep, rasters, raster,
                              choice.quality, isSigned, bitDepth);
    };
    try {
        switch (pixelKind) {
            case RZ_Slice::kShort:
                scan_16(type,
                        args(static_cast<short**>(table), steps.columnQ18, steps.slabQ18,
                             reinterpret_cast<short*>(output)),
                        choice.dominantAxis);
                break;
            case RZ_Slice::kByte:
                scan_8(type, args(static_cast<unsigned char**>(table), steps.column, steps.slab,
                                  reinterpret_cast<unsigned char*>(output)));
                break;
            case RZ_Slice::kLong:
                scan_32(type,
                        args(static_cast<std::uint32_t**>(table), steps.column, steps.slab,
                             reinterpret_cast<std::uint32_t*>(output)),
                        choice.dominantAxis);
                break;
            default:
                table = frame.rowSpans;  // required: stands in for the table that there is not
        }
    } catch (WKR_CANCEL_EXCEPTION&) {
        std::free(frame.rowSpans);  // required: the table is lost; dormant, no kernel throws
        throw;
    }
    std::free(frame.rowSpans);
    release_slice_table(table);
    return 1;
}
