#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/planar/planar.h"
#include "bench/jobs/resample/resample.h"
#include "rz_obl/rz_obl.h"
#include "tests/reference/services/resample.h"

namespace rz_bench {
namespace {

struct State {
    std::vector<short*> sourceRasters;
    RZ_TVolumeRecord<short> sourceRecord;
    std::vector<float> voxels[2];
    std::vector<float*> rasters[2];
    RZ_TVolumeRecord<float> records[2];
    RZ_Box box;
};

RZ_Box box_of(const TurnedGrid& grid) {
    double start[3];
    double sides[3][3];
    for (std::size_t k = 0; k < 3; ++k) {
        start[k] = grid.origin[k];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            start[k] -= 0.5 * grid.spacing[axis] * grid.directions[axis][k];
            sides[axis][k] = grid.size[axis] * grid.spacing[axis] * grid.directions[axis][k];
        }
    }
    return RZ_Box(grid.size[0], grid.size[1], grid.size[2],
                  RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

std::shared_ptr<State> make_state(const Volume& volume, const TurnedGrid& grid) {
    const auto state = std::make_shared<State>();
    for (int z = 0; z < volume.size[2]; ++z)
        state->sourceRasters.push_back(static_cast<short*>(volume.rasters()[z]));
    state->sourceRecord.rasters = state->sourceRasters.data();
    const auto perSlice = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
    for (int buffer = 0; buffer < 2; ++buffer) {
        auto& voxels = state->voxels[buffer];
        voxels.assign(perSlice * static_cast<std::size_t>(grid.size[2]), 0.0F);
        for (std::size_t i = 0; i < voxels.size(); i += perSlice)
            state->rasters[buffer].push_back(&voxels[i]);
        state->records[buffer].rasters = state->rasters[buffer].data();
    }
    state->box = box_of(grid);
    return state;
}

}  // namespace

TurnedGrid::TurnedGrid(const Volume& source) : size{256, 256, 200}, spacing{1.85, 1.85, 1.6} {
    const Orientation orientation = turned(5, 4);
    directions = {orientation.u, orientation.v, orientation.normal()};
    for (std::size_t k = 0; k < 3; ++k) {
        origin[k] = 0.5 * (source.size[k] - 1) * source.spacing[k];
        for (std::size_t axis = 0; axis < 3; ++axis)
            origin[k] -= 0.5 * (size[axis] - 1) * spacing[axis] * directions[axis][k];
    }
}

Contender resample_ours(Volume& volume) {
    const auto state = make_state(volume, TurnedGrid(volume));
    Contender ours;
    ours.name = "ours";
    ours.run = [&volume, state](int buffer) {
        RZ_TVolume<short> source(volume.box(), &state->sourceRecord);
        RZ_TVolume<float> destination(state->box, &state->records[buffer]);
        RZ_OBLUtils::Resample(source, destination, std::nanf(""), 0);
    };
    ours.picture = [state](int buffer) { return state->voxels[buffer]; };
    ours.refresh = [&volume] { volume.refreshRasters(); };
    return ours;
}

std::string resample_reference(Volume& volume, const Picture& ours) {
    const auto state = make_state(volume, TurnedGrid(volume));
    const RZ_TVolume<short> source(volume.box(), &state->sourceRecord);
    const RZ_TVolume<float> destination(state->box, &state->records[0]);
    rz_test::Branches branches;
    rz_reference::resample(source, destination, std::nanf(""), branches);
    const Picture& want = state->voxels[0];
    if (std::memcmp(want.data(), ours.data(), want.size() * sizeof(float)) != 0)
        throw std::runtime_error("our volume differs from the plain form's");
    return "equal to the plain form";
}

Contender resample_floor(Volume& volume) {
    const TurnedGrid grid(volume);
    const auto walks = std::make_shared<std::vector<LoadWalk>>();
    for (int z = 0; z < grid.size[2]; ++z) {
        LoadWalk walk{};
        walk.rows = grid.size[1];
        walk.columns = grid.size[0];
        walk.planes = 1;
        for (std::size_t k = 0; k < 3; ++k) {
            const auto q18 = [&](double mm) {
                return static_cast<std::int32_t>(std::lround(mm / volume.spacing[k] * 262144.0));
            };
            walk.first[k] = q18(grid.origin[k] + z * grid.spacing[2] * grid.directions[2][k]);
            walk.columnStep[k] = q18(grid.spacing[0] * grid.directions[0][k]);
            walk.rowStep[k] = q18(grid.spacing[1] * grid.directions[1][k]);
        }
        walk.slices = volume.rasters();
        walk.sourceWidth = volume.size[0];
        walks->push_back(walk);
    }
    Contender floor;
    floor.name = "floor";
    const bool wide = __builtin_cpu_supports("avx2") != 0;
    floor.run = [walks, wide](int) {
        for (const LoadWalk& walk : *walks) keep(wide ? linear_loads_16_wide(walk) : linear_loads_16(walk));
    };
    floor.refresh = [&volume] { volume.refreshRasters(); };
    return floor;
}

std::vector<Case> resample_cases(Volume& volume) {
    Case c;
    c.job = "resample";
    c.name = "16 bits to float, turned";
    c.volume = volume.name;
    c.work = "256 x 256 x 200";
    c.samples = 256.0 * 256 * 200;
    c.tolerance = {0.5, 0.01, 0.0};
    c.reference = [&volume](const Picture& ours) { return resample_reference(volume, ours); };
    c.contenders.push_back([&volume] { return resample_ours(volume); });
#ifdef RZ_BENCH_PEERS
    c.contenders.push_back([&volume] { return resample_vtk(volume); });
    c.contenders.push_back([&volume] { return resample_itk(volume); });
#endif
    c.contenders.push_back([&volume] { return resample_floor(volume); });
    return {c};
}

}  // namespace rz_bench
