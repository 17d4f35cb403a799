#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/restack/restack.h"
#include "rz_obl/rz_obl.h"
#include "tests/reference/services/oblique_voldata.h"

namespace rz_bench {

namespace {

std::unique_ptr<RZ_VolData> source_of(const Volume& volume) {
    RZ_Box box = volume.box();
    auto source = std::make_unique<RZ_VolData>(&box, 0);
    for (int z = 0; z < volume.size[2]; ++z) {
        const PixelDataAttributes attributes{volume.size[0], volume.size[1], 16, 1};
        source->SetSlice(new RZ_ShortSlice(static_cast<short*>(volume.rasters()[z]), attributes), z);
    }
    return source;
}

// Appends a slice. The outermost samples of a computed one have no neighbour and stay nought; shared ones are
// no work.
void append(Picture& picture, const Volume& volume, const short* sample, bool computed) {
    for (int y = 0; y < volume.size[1]; ++y) {
        for (int x = 0; x < volume.size[0]; ++x, ++sample) {
            const bool rim = x == 0 || y == 0 || x == volume.size[0] - 1 || y == volume.size[1] - 1;
            picture.push_back(rim || !computed ? std::nanf("") : static_cast<float>(*sample));
        }
    }
}

}  // namespace

Contender restack_ours(Volume& volume) {
    struct State {
        std::unique_ptr<RZ_VolData> source;
        std::unique_ptr<RZ_VolData> made[2];
    };
    const auto state = std::make_shared<State>();
    state->source = source_of(volume);
    Contender ours;
    ours.name = "ours";
    ours.run = [state](int buffer) {
        state->made[buffer].reset(
            RZ_OBLUtils::CalcObliqueVoldata(*state->source, kFirstSlice, kLastSlice, kSpacing));
    };
    ours.prepare = [state](int buffer) { state->made[buffer].reset(); };
    ours.picture = [state, &volume](int buffer) {
        const RZ_VolData& made = *state->made[buffer];
        if (made.GetBox()->zDim != kMade) throw std::runtime_error("another number of slices than expected");
        Picture picture;
        for (unsigned z = 0; z < kMade; ++z) {
            RZ_Slice* const slice = made.GetSlice(z);
            append(picture, volume, static_cast<const short*>(slice->MappedRaster()), slice->computed);
        }
        return picture;
    };
    ours.refresh = [&volume] { volume.refreshRasters(); };
    return ours;
}

std::string restack_reference(const Volume& volume, const Picture& ours) {
    const auto made =
        rz_reference::calc_oblique_voldata(*source_of(volume), kFirstSlice, kLastSlice, kSpacing, short{0});
    Picture want;
    const std::vector<short> shared(volume.sliceSamples());
    for (const auto& slice : made.slices) {
        const bool computed = slice.sharedFrom < 0;
        append(want, volume, computed ? slice.raster.data() : shared.data(), computed);
    }
    if (want.size() != ours.size() || std::memcmp(want.data(), ours.data(), want.size() * sizeof(float)) != 0)
        throw std::runtime_error("our slices differ from the plain form's");
    return "equal to the plain form over the same planes";
}

Contender restack_floor(Volume& volume) {
    const auto walks = std::make_shared<std::vector<LoadWalk>>();
    for (int i = 0; i < kMade; ++i) {
        if (!is_computed(i)) continue;
        LoadWalk walk{};
        walk.rows = volume.size[1] - 1;
        walk.columns = volume.size[0] - 1;
        walk.planes = 1;
        walk.first[2] = static_cast<std::int32_t>(std::lround(restacked_index(i) * 262144.0));
        walk.columnStep[0] = walk.rowStep[1] = 262144;
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

std::vector<Case> restack_cases(Volume& volume) {
    Case c;
    c.job = "restack";
    c.name = "100 slices at 0.77 of their distance";
    c.volume = volume.name;
    c.work = "512 x 512 x 127";
    c.samples = static_cast<double>(volume.sliceSamples()) * kComputed;
    c.tolerance = {5.0, 4.0, 0.0};
    c.coverage = 0.975;
    c.reference = [&volume](const Picture& ours) { return restack_reference(volume, ours); };
    c.contenders.push_back([&volume] { return restack_ours(volume); });
#ifdef RZ_BENCH_PEERS
    c.contenders.push_back([&volume] { return restack_vtk(volume); });
#endif
    c.contenders.push_back([&volume] { return restack_floor(volume); });
    return {c};
}

}  // namespace rz_bench
