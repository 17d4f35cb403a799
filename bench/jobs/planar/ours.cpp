#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>

#include "bench/jobs/planar/planar.h"
#include "bench/jobs/planar/planar_boxes.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_obl.h"
#include "tests/reference/frame.h"
#include "tests/reference/selection.h"
#include "tests/reference/tricubic.h"

namespace rz_bench {
namespace {

// What no sample of ours has: tells the pixels that were drawn. A maximum and the fill of the fast mode start
// from it, too.
short untouched(const PlanarRequest& request) {
    return request.type == RZ_OBL_RenditionType::Minimum ? std::numeric_limits<short>::max()
                                                         : std::numeric_limits<short>::min();
}

struct Outputs {
    std::vector<unsigned char> raster[2];
};

void clear(std::vector<unsigned char>& raster, Kind kind, const PlanarRequest& request) {
    if (kind == Kind::kInt16) {
        auto* const samples = reinterpret_cast<short*>(raster.data());
        std::fill(samples, samples + raster.size() / 2, untouched(request));
    } else {
        std::fill(raster.begin(), raster.end(), std::uint8_t{0});
    }
}

Picture as_picture(const std::vector<unsigned char>& raster, Kind kind, const PlanarRequest& request) {
    Picture picture;
    const short blank = untouched(request);
    if (kind == Kind::kInt16) {
        const auto* const samples = reinterpret_cast<const short*>(raster.data());
        for (std::size_t i = 0; i < raster.size() / 2; ++i)
            picture.push_back(samples[i] == blank ? std::nanf("") : static_cast<float>(samples[i]));
    } else if (kind == Kind::kUInt8) {
        picture.assign(raster.begin(), raster.end());
    } else {
        // our kernels exchange the first and the third channel
        for (std::size_t i = 0; i < raster.size(); i += 4) {
            for (const std::size_t channel : {2U, 1U, 0U}) picture.push_back(raster[i + channel]);
        }
    }
    return picture;
}

template <class Sample, class Step>
rz_obl::scan_args<Sample, Step> arguments(const Volume& volume, const PlanarRequest& request,
                                          rz_reference::Frame& frame, Step* columnStep, Step* slabStep,
                                          void* output, int bounds[4]) {
    rz_obl::scan_args<Sample, Step> args{};
    args.rowCount = frame.height;
    args.rowStride = frame.width;
    args.slabSteps = frame.slabSteps;
    args.rowSpans = frame.spans.data();
    args.planeToIndex = frame.planeToIndex;
    args.columnStep = columnStep;
    args.slabStep = slabStep;
    args.slices = reinterpret_cast<Sample* const*>(volume.rasters());
    args.output = static_cast<Sample*>(output);
    args.sourceWidth = volume.size[0];
    args.sourceHeight = volume.size[1];
    args.quality = static_cast<int>(request.quality);
    args.firstRow = &bounds[0];
    args.lastRow = &bounds[1];
    args.firstColumn = &bounds[2];
    args.lastColumn = &bounds[3];
    args.isSigned = volume.kind == Kind::kInt16;
    args.bitDepth = volume.kind == Kind::kInt16 ? 16 : 8;
    return args;
}

void draw_16(const rz_obl::scan_args_16& args, const PlanarRequest& request, int dominantAxis) {
    rz_test::Branches branches;
    if (request.tricubic) {
        rz_reference::scan_tricubic(args, branches);
    } else if (request.type == RZ_OBL_RenditionType::Average) {
        rz_reference::scan_avg_12_2(args, dominantAxis);
    } else if (request.type == RZ_OBL_RenditionType::Maximum) {
        rz_reference::scan_max_12(args);
    } else {
        rz_reference::scan_min_12(args);
    }
}

void draw_8(const rz_obl::scan_args_8& args, const PlanarRequest& request) {
    if (request.type == RZ_OBL_RenditionType::Average) rz_reference::scan_avg_8bits(args);
    if (request.type == RZ_OBL_RenditionType::Maximum) rz_reference::scan_max_8bits(args);
    if (request.type == RZ_OBL_RenditionType::Minimum) rz_reference::scan_min_8bits(args);
}

}  // namespace

PlanarBoxes::PlanarBoxes(const Volume& volume, const PlanarRequest& request) {
    float normal[3];
    float origin[3];
    float unit[3];
    const auto n = request.orientation.normal();
    for (std::size_t k = 0; k < 3; ++k) {
        normal[k] = static_cast<float>(n[k]);
        origin[k] = static_cast<float>(request.centre[k]);
        unit[k] = static_cast<float>(request.orientation.u[k]);
    }
    plane = RZ_PlaneParams(normal, origin, unit);
    const double w = request.width * request.pixel;
    const double h = request.height * request.pixel;
    const double corner[3] = {-0.5 * w, -0.5 * h, 0.0};
    const double across[3] = {w, 0.0, 0.0};
    const double down[3] = {0.0, h, 0.0};
    const double depth[3] = {0.0, 0.0, 1.0};
    output = RZ_Box(request.width, request.height, 1, RZ_BoxParams(corner, across, down, depth));
    // half a step more than whole, so that rounding cannot take a plane away
    const double half = (0.5 * (request.planes - 1) + 0.5) * request.planeDistance(volume);
    halfThickness = request.planes == 1 ? 0.0F : static_cast<float>(half);
}

Contender planar_ours(Volume& volume, const PlanarRequest& request) {
    const auto boxes = std::make_shared<PlanarBoxes>(volume, request);
    const auto outputs = std::make_shared<Outputs>();
    const std::size_t pixels =
        static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.height);
    for (auto& raster : outputs->raster) raster.assign(pixels * volume.bytesPerSample(), 0);
    const Kind kind = volume.kind;

    Contender ours;
    ours.name = "ours";
    ours.run = [&volume, request, boxes, outputs](int buffer) {
        int bounds[4] = {request.height, -1, request.width, -1};
        rz_obl::ForceTricubic = request.tricubic;
        RZ_PlanarObliqueProjection(volume.slices(), volume.box(), volume.box().params, boxes->plane, nullptr,
                                   reinterpret_cast<char*>(outputs->raster[buffer].data()), boxes->output,
                                   &bounds[0], &bounds[1], &bounds[2], &bounds[3], 0, volume.size[2] - 1,
                                   request.quality, boxes->halfThickness, request.type);
        rz_obl::ForceTricubic = false;
    };
    ours.prepare = [outputs, kind, request](int buffer) { clear(outputs->raster[buffer], kind, request); };
    ours.picture = [outputs, kind, request](int buffer) {
        return as_picture(outputs->raster[buffer], kind, request);
    };
    ours.refresh = [&volume] { volume.refreshRasters(); };
    return ours;
}

std::string planar_reference(Volume& volume, const PlanarRequest& request, const Picture& ours) {
    const PlanarBoxes boxes(volume, request);
    rz_reference::Frame frame =
        rz_reference::make_frame({&volume.box(), &volume.box().params, boxes.plane, nullptr, &boxes.output,
                                  static_cast<int>(request.quality), boxes.halfThickness});
    if (2 * frame.slabSteps + 1 != request.planes)
        throw std::runtime_error("the slab has another number of planes");
    // Plain kernels are slow: of a slab or a cubic plane only some pairs of rows. But a row of a minimum
    // depends on the rows before it, and one of the fast mode on its neighbours.
    const bool all = (request.samples() < 3e5 && request.quality != RZ_OBL_RenditionQuality::Cubic) ||
                     request.type == RZ_OBL_RenditionType::Minimum ||
                     request.quality == RZ_OBL_RenditionQuality::LinearFast;
    const int every = all ? 1 : 16;
    for (int row = 0; row < frame.height; ++row) {
        if (row / 2 % every == 0) continue;
        frame.spans[static_cast<std::size_t>(2 * row)] = 0;
        frame.spans[static_cast<std::size_t>(2 * row + 1)] = -1;
    }
    const std::size_t pixels =
        static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.height);
    std::vector<unsigned char> raster(pixels * volume.bytesPerSample());
    clear(raster, volume.kind, request);
    int bounds[4] = {request.height, -1, request.width, -1};
    if (volume.kind == Kind::kInt16) {
        draw_16(arguments<short, int>(volume, request, frame, frame.columnStepQ18.data(),
                                      frame.slabStepFloatQ18.data(), raster.data(), bounds),
                request, frame.dominantAxis);
    } else if (volume.kind == Kind::kUInt8) {
        draw_8(arguments<unsigned char, float>(volume, request, frame, frame.columnStepFloat.data(),
                                               frame.slabStepFloat.data(), raster.data(), bounds),
               request);
    } else {
        rz_reference::scan_avg_32bits(
            arguments<std::uint32_t, float>(volume, request, frame, frame.columnStepFloat.data(),
                                            frame.slabStepFloat.data(), raster.data(), bounds));
    }
    const Picture want = as_picture(raster, volume.kind, request);
    const std::size_t perRow = want.size() / static_cast<std::size_t>(request.height);
    for (std::size_t i = 0; i < want.size(); ++i) {
        const auto row = static_cast<int>(i / perRow);
        if (row / 2 % every != 0) continue;
        const bool same = want[i] == ours[i] || (std::isnan(want[i]) && std::isnan(ours[i]));
        if (!same)
            throw std::runtime_error("our picture differs from the plain kernels' in row " +
                                     std::to_string(row));
    }
    return all ? "equal to the plain kernels" : "equal to the plain kernels in every 16th pair of rows";
}

}  // namespace rz_bench
