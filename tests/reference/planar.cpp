#include "tests/reference/planar.h"

#include <cstdint>
#include <string>

#include "tests/reference/selection.h"

namespace rz_reference {
namespace {

using rz_test::PlanarRequest;

FrameRequest frame_request(const PlanarRequest& request) {
    return {&request.volume.box, &request.volumeParams, request.plane,        request.clipParams(),
            &request.outputBox,  request.quality,       request.halfThickness};
}

template <class Sample, class Step>
rz_obl::scan_args<Sample, Step> arguments(PlanarPlan& plan, const SampleKind& kind, const RZ_Box& volumeBox,
                                          std::array<Step, 3>& columnStep, std::array<Step, 3>& slabStep,
                                          const std::vector<Sample*>& table, Sample* output,
                                          std::array<int, 4>& bounds) {
    rz_obl::scan_args<Sample, Step> args{};
    args.rowCount = plan.frame.height;
    args.rowStride = plan.frame.width;
    args.slabSteps = plan.frame.slabSteps;
    args.rowSpans = plan.frame.spans.data();
    args.planeToIndex = plan.frame.planeToIndex;
    args.columnStep = columnStep.data();
    args.slabStep = slabStep.data();
    args.slices = table.data() + 2;
    args.output = output;
    args.sourceWidth = volumeBox.xDim;
    args.sourceHeight = volumeBox.yDim;
    args.quality = plan.quality;
    args.firstRow = &bounds[0];
    args.lastRow = &bounds[1];
    args.firstColumn = &bounds[2];
    args.lastColumn = &bounds[3];
    args.isSigned = kind.isSigned;
    args.bitDepth = kind.bitDepth;
    return args;
}

template <class Raster>
auto rasters_of(std::vector<Raster>& sources) {
    std::vector<decltype(sources[0].data())> rasters;
    for (auto& source : sources) rasters.push_back(source.data());
    return rasters;
}

}  // namespace

PlanarPlan plan_calc_oblique(const PlanarRequest& request) {
    return {make_frame(frame_request(request)), request.quality};
}

PlanarPlan plan_projection(const PlanarRequest& request) {
    PlanarPlan plan{make_frame(frame_request(request)), request.quality};
    if (request.quality == 3 && request.volume.box.GetSliceZf() > 4.0F) {
        plan.quality = 2;
        plan.frame.dominantAxis = 2;
    }
    return plan;
}

const char* entry_of_calc_oblique(int type) {
    if (type == 0) return "scan_avg_12";
    if (type == 1) return "scan_max_12";
    if (type == 2) return "scan_min_12";
    return "";
}

const char* entry_of_projection(int pixelKind, int type) {
    static const char* const entries[3][3] = {{"scan_avg_12_2", "scan_max_12", "scan_min_12"},
                                              {"scan_avg_8bits", "scan_max_8bits", "scan_min_8bits"},
                                              {"scan_avg_32bits", "", ""}};
    if (type < 0 || type > 2) return "";
    return entries[pixelKind][type];
}

void oblique_plane(const FrameRequest& request, const std::vector<short*>& rasters, int type,
                   const SampleKind& kind, short* output, std::array<int, 4>& bounds) {
    PlanarPlan plan{make_frame(request), request.quality};
    const auto table = make_slice_table(rasters, 0, request.volumeBox->zDim - 1);
    const auto args = arguments<short, int>(plan, kind, *request.volumeBox, plan.frame.columnStepQ18,
                                            plan.frame.slabStepQ18, table, output, bounds);
    const std::string entry = entry_of_calc_oblique(type);
    if (entry == "scan_avg_12") scan_avg_12(args, plan.frame.dominantAxis);
    if (entry == "scan_max_12") scan_max_12(args);
    if (entry == "scan_min_12") scan_min_12(args);
}

void calc_oblique(PlanarRequest& request, short* output, std::array<int, 4>& bounds) {
    const SampleKind kind{request.volume.isSigned, request.volume.bitDepth};
    oblique_plane(frame_request(request), request.volume.shortRasters(), request.type, kind, output, bounds);
}

void planar_projection(PlanarRequest& request, void* output, std::array<int, 4>& bounds) {
    PlanarPlan plan = plan_projection(request);
    const SampleKind kind{request.volume.isSigned, request.volume.bitDepth};
    Frame& frame = plan.frame;
    const int last = request.volume.box.zDim - 1;
    const std::string entry = entry_of_projection(request.volume.pixelKind, request.type);
    if (request.volume.pixelKind == 0) {
        const auto table = make_slice_table(request.volume.shortRasters(), 0, last);
        const auto args =
            arguments<short, int>(plan, kind, request.volume.box, frame.columnStepQ18, frame.slabStepFloatQ18,
                                  table, static_cast<short*>(output), bounds);
        if (entry == "scan_avg_12_2") scan_avg_12_2(args, frame.dominantAxis);
        if (entry == "scan_max_12") scan_max_12(args);
        if (entry == "scan_min_12") scan_min_12(args);
    } else if (request.volume.pixelKind == 1) {
        const auto table = make_slice_table(rasters_of(request.volume.bytes), 0, last);
        const auto args = arguments<unsigned char, float>(plan, kind, request.volume.box,
                                                          frame.columnStepFloat, frame.slabStepFloat, table,
                                                          static_cast<unsigned char*>(output), bounds);
        if (entry == "scan_avg_8bits") scan_avg_8bits(args);
        if (entry == "scan_max_8bits") scan_max_8bits(args);
        if (entry == "scan_min_8bits") scan_min_8bits(args);
    } else {
        const auto table = make_slice_table(rasters_of(request.volume.pixels), 0, last);
        const auto args = arguments<std::uint32_t, float>(plan, kind, request.volume.box,
                                                          frame.columnStepFloat, frame.slabStepFloat, table,
                                                          static_cast<std::uint32_t*>(output), bounds);
        if (entry == "scan_avg_32bits") scan_avg_32bits(args);
    }
}

}  // namespace rz_reference
