#include <algorithm>
#include <cmath>
#include <memory>

#include "bench/floor/loads.h"
#include "bench/jobs/planar/planar.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

namespace rz_bench {
namespace {

LoadWalk walk_of(const Volume& volume, const PlanarRequest& request) {
    const auto first = request.firstIndex(volume);
    const auto steps = request.indexSteps(volume);
    LoadWalk walk{};
    walk.rows = request.height;
    walk.columns = request.width;
    walk.planes = request.planes;
    for (std::size_t k = 0; k < 3; ++k) {
        walk.first[k] = static_cast<std::int32_t>(std::lround(first[k] * 262144.0));
        walk.columnStep[k] = static_cast<std::int32_t>(std::lround(steps[0][k] * 262144.0));
        walk.rowStep[k] = static_cast<std::int32_t>(std::lround(steps[1][k] * 262144.0));
        walk.planeStep[k] = static_cast<std::int32_t>(std::lround(steps[2][k] * 262144.0));
    }
    walk.slices = volume.rasters();
    walk.sourceWidth = volume.size[0];
    return walk;
}

Contender probe(Volume& volume, std::function<std::uint64_t()> loads) {
    Contender floor;
    floor.name = "floor";
    floor.run = [loads = std::move(loads)](int) { keep(loads()); };
    floor.refresh = [&volume] { volume.refreshRasters(); };
    return floor;
}

// Every sample of a slab along the axes once, in the order of memory.
Contender streaming(Volume& volume, const PlanarRequest& request) {
    const auto first = request.firstIndex(volume);
    const auto steps = request.indexSteps(volume);
    const int counts[3] = {request.width, request.height, request.planes};
    int from[3];
    int count[3];
    for (std::size_t k = 0; k < 3; ++k) {
        double end = first[k];
        for (std::size_t axis = 0; axis < 3; ++axis) end += steps[axis][k] * (counts[axis] - 1);
        from[k] = static_cast<int>(std::lround(std::min(first[k], end)));
        count[k] = static_cast<int>(std::lround(std::fabs(end - first[k]))) + 1;
    }
    const auto stride = static_cast<std::size_t>(volume.size[0]) * 2;
    const auto offset = static_cast<std::size_t>(from[1]) * stride + static_cast<std::size_t>(from[0]) * 2;
    const void* const* const slices = volume.rasters() + from[2];
    return probe(volume, [=] {
        return stream_rows(slices, count[2], offset, static_cast<std::size_t>(count[0]) * 2, count[1],
                           stride);
    });
}

std::vector<Contender> cubic_floors(Volume& volume, const LoadWalk& walk) {
    const bool pixels = volume.kind == Kind::kPixels;
    // read at each call: the table is built by the first cubic picture
    const auto with_table = [&](std::uint64_t (*loads)(const LoadWalk&, const short*)) {
        return probe(volume, [=] { return loads(walk, rz_obl::g_cubicWeightTable.weights); });
    };
    return {with_table(pixels ? cubic_loads_32 : cubic_loads_16),
            with_table(pixels ? cubic_loads_32_ahead : cubic_loads_16_ahead)};
}

}  // namespace

std::vector<Contender> planar_floors(Volume& volume, const PlanarRequest& request) {
    const LoadWalk walk = walk_of(volume, request);
    if (volume.kind == Kind::kUInt8) return {probe(volume, [walk] { return linear_loads_8(walk); })};
    if (request.quality == RZ_OBL_RenditionQuality::Cubic && !request.tricubic)
        return cubic_floors(volume, walk);
    if (volume.kind == Kind::kPixels) return {probe(volume, [walk] { return linear_loads_32(walk); })};
    if (request.tricubic) return {probe(volume, [walk] { return tricubic_loads(walk); })};
    if (request.quality == RZ_OBL_RenditionQuality::SemiCubic)
        return {probe(volume, [walk] { return semicubic_loads(walk); })};
    if (request.onGrid && request.planes > 1) return {streaming(volume, request)};
    if (request.onGrid) {
        const auto output = std::make_shared<std::vector<short>>(static_cast<std::size_t>(request.samples()));
        return {probe(volume, [walk, output] { return copy_plane_16(walk, output->data()); })};
    }
    std::vector<Contender> floors = {probe(volume, [walk] { return linear_loads_16(walk); })};
    if (__builtin_cpu_supports("avx2"))
        floors.push_back(probe(volume, [walk] { return linear_loads_16_wide(walk); }));
    return floors;
}

}  // namespace rz_bench
