#include <cmath>
#include <memory>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/restack/restack.h"
#include "rz_obl/rz_obl.h"

namespace rz_bench {

Contender restack_ours(Volume& volume) {
    struct State {
        std::unique_ptr<RZ_VolData> source;
        std::unique_ptr<RZ_VolData> made[2];
    };
    const auto state = std::make_shared<State>();
    RZ_Box box = volume.box();
    state->source = std::make_unique<RZ_VolData>(&box, 0);
    for (int z = 0; z < volume.size[2]; ++z) {
        const PixelDataAttributes attributes{volume.size[0], volume.size[1], 16, 1};
        state->source->SetSlice(new RZ_ShortSlice(static_cast<short*>(volume.rasters()[z]), attributes), z);
    }
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
            const auto* sample = static_cast<const short*>(slice->MappedRaster());
            for (int y = 0; y < volume.size[1]; ++y) {
                for (int x = 0; x < volume.size[0]; ++x, ++sample) {
                    // the outermost samples of a computed slice have no neighbour and stay nought
                    const bool rim = x == 0 || y == 0 || x == volume.size[0] - 1 || y == volume.size[1] - 1;
                    picture.push_back(rim || !slice->computed ? std::nanf("") : static_cast<float>(*sample));
                }
            }
        }
        return picture;
    };
    ours.refresh = [&volume] { volume.refreshRasters(); };
    return ours;
}

Contender restack_floor(Volume& volume) {
    Contender floor;
    floor.name = "floor";
    const std::size_t bytes = volume.sliceSamples() * 2;
    floor.run = [&volume, bytes](int) {
        // in-plane positions lie on the grid: two slices for each
        for (int i = 0; i < kMade; ++i) {
            if (!is_computed(i)) continue;
            const auto z = static_cast<std::ptrdiff_t>(std::floor(restacked_index(i)));
            keep(stream_rows(volume.rasters() + z, 2, 0, bytes, 1, bytes));
        }
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
    c.contenders.push_back([&volume] { return restack_ours(volume); });
#ifdef RZ_BENCH_PEERS
    c.contenders.push_back([&volume] { return restack_vtk(volume); });
#endif
    c.contenders.push_back([&volume] { return restack_floor(volume); });
    return {c};
}

}  // namespace rz_bench
