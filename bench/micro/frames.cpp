// What a request costs beside its samples.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

#include "lower/geometry/clip_bounds.h"
#include "lower/log/log.h"
#include "rz_obl/RZ_OBLplanar/frame/reslice_frame.h"
#include "rz_obl/rz_obl.h"

namespace {

struct Request {
    RZ_Box volume{512, 512, 400, RZ_BoxParams(512.0F, 512.0F, 400.0F)};
    RZ_PlaneParams plane;
    RZ_Box output;
    int bounds[4] = {0, 0, 0, 0};

    Request() {
        const float normal[3] = {0.3F, 0.2F, 0.93F};
        const float origin[3] = {256.0F, 256.0F, 200.0F};
        const float unit[3] = {1.0F, 0.0F, -0.32F};
        plane = RZ_PlaneParams(normal, origin, unit);
        const double corner[3] = {-256.0, -256.0, 0.0};
        const double across[3] = {512.0, 0.0, 0.0};
        const double down[3] = {0.0, 512.0, 0.0};
        const double depth[3] = {0.0, 0.0, 1.0};
        output = RZ_Box(512, 512, 1, RZ_BoxParams(corner, across, down, depth));
    }
    rz_obl::reslice_request with(float halfThickness) {
        return {
            volume,        volume.params, plane,      nullptr,    output,    RZ_OBL_RenditionQuality::Linear,
            halfThickness, &bounds[0],    &bounds[1], &bounds[2], &bounds[3]};
    }
};

void clip_bounds(benchmark::State& state) {
    std::vector<short> spans(2 * 512);
    for (auto _ : state) {
        for (std::size_t row = 0; row < 512; ++row) spans[2 * row + 1] = 511;
        RZ_update_clip_bounds(0.7F, -0.4F, 100.0F, 512, 512, spans.data());
        benchmark::DoNotOptimize(spans.data());
    }
}
BENCHMARK(clip_bounds);

void frame(benchmark::State& state) {
    Request request;
    const float halfThickness = static_cast<float>(state.range(0));
    for (auto _ : state) {
        const rz_obl::reslice_frame made = rz_obl::make_reslice_frame(request.with(halfThickness));
        benchmark::DoNotOptimize(made.rowSpans);
        std::free(made.rowSpans);
    }
}
BENCHMARK(frame)->Arg(0)->Arg(20)->ArgName("half_thickness");

// A plane beside the volume: a whole call without a sample.
void call_without_samples(benchmark::State& state) {
    Request request;
    request.plane.ParallelTranslate(5000.0F);
    std::vector<short> raster(512 * 512);
    std::vector<short> output(512 * 512);
    std::vector<RZ_ShortSlice> slices;
    std::vector<RZ_Slice*> pointers;
    for (int z = 0; z < 400; ++z) slices.emplace_back(raster.data(), PixelDataAttributes{512, 512, 16, 1});
    for (auto& slice : slices) pointers.push_back(&slice);
    for (auto _ : state) {
        RZ_PlanarObliqueProjection(pointers.data(), request.volume, request.volume.params, request.plane,
                                   nullptr, reinterpret_cast<char*>(output.data()), request.output,
                                   &request.bounds[0], &request.bounds[1], &request.bounds[2],
                                   &request.bounds[3], 0, 399, RZ_OBL_RenditionQuality::Linear, 0.0F,
                                   RZ_OBL_RenditionType::Average);
    }
}
BENCHMARK(call_without_samples);

void log_line_not_wanted(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(JrnGLog.StoreParams("bench", "bench", 1, 7, 208, 1));
}
BENCHMARK(log_line_not_wanted);

void curve_preparation(benchmark::State& state) {
    const RZ_3Coord points[5] = {{0, 0, 0}, {100, 40, 0}, {200, 0, 10}, {300, 40, 20}, {400, 0, 30}};
    RZ_Spline spline(points, 5, RZ_3Coord(0.0F, 0.0F, 1.0F));
    RZ_CurveProjectData data;
    for (auto _ : state) {
        Request request;
        RZ_PrepareCurveData(spline, request.output, state.range(0) != 0, nullptr, nullptr, 0, &data, nullptr);
        benchmark::DoNotOptimize(data.points);
    }
}
BENCHMARK(curve_preparation)->Arg(0)->Arg(1)->ArgName("local_frames");

void point_to_curve(benchmark::State& state) {
    const RZ_3Coord points[5] = {{0, 0, 0}, {100, 40, 0}, {200, 0, 10}, {300, 40, 20}, {400, 0, 30}};
    RZ_Spline spline(points, 5, RZ_3Coord(0.0F, 0.0F, 1.0F));
    const Request request;
    const float place[3] = {170.0F, 12.0F, 25.0F};
    float raster[3] = {0, 0, 0};
    for (auto _ : state) {
        RZ_CurvedPhysicalToRaster(place, request.volume, request.volume.params, spline, request.output,
                                  raster);
        benchmark::DoNotOptimize(raster);
    }
}
BENCHMARK(point_to_curve);

}  // namespace

BENCHMARK_MAIN();
