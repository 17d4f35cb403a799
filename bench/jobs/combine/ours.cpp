#include <algorithm>
#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>

#include "bench/floor/loads.h"
#include "bench/jobs/combine/combine.h"
#include "rz_obl/rz_obl.h"
#include "tests/reference/slabs/multi_slice.h"

namespace rz_bench {
namespace {

// The last block of samples is taken whole, up to seven beyond the raster.
constexpr std::size_t kSlack = 8;

const short* slice(const Volume& stack, int z) {
    return static_cast<const short*>(stack.rasters()[z]);
}

RZ_OBL_SlabbingType type_of(Combination how) {
    return how == Combination::kMaximum ? RZ_OBL_SlabbingType::SlabMaximum : RZ_OBL_SlabbingType::SlabAverage;
}

}  // namespace

std::unique_ptr<Volume> make_stack(const Volume& phantom) {
    constexpr int kDepth = 48;
    auto stack = std::make_unique<Volume>("phantom, 48 slices", Kind::kInt16, phantom.size[0],
                                          phantom.size[1], kDepth, 1.0, 1.0, 1.0);
    auto* const to = static_cast<short*>(stack->block());
    const auto* const from = static_cast<const short*>(phantom.block()) +
                             static_cast<std::size_t>(phantom.size[2] / 2) * phantom.sliceSamples();
    for (std::size_t i = 0; i < stack->sliceSamples() * kDepth; ++i)
        to[i] = static_cast<short>(std::max(from[i] + 1024, 0));
    stack->refreshRasters();
    return stack;
}

std::vector<short> plain_mean(const Volume& stack, int first) {
    std::vector<short> mean(stack.sliceSamples() + kSlack);
    for (std::size_t i = 0; i < stack.sliceSamples(); ++i) {
        int sum = 0;
        for (int z = first; z < first + kSlices; ++z) sum += slice(stack, z)[i];
        mean[i] = static_cast<short>(sum * (1.0 / kSlices) + 0.5);
    }
    return mean;
}

Contender combine_ours(Volume& stack, Combination how) {
    struct State {
        std::vector<short*> slices;
        std::vector<short> earlier;
        std::vector<short> output[2];
    };
    const auto state = std::make_shared<State>();
    for (int z = 0; z < stack.size[2]; ++z) state->slices.push_back(static_cast<short*>(stack.rasters()[z]));
    state->earlier = plain_mean(stack, 0);
    for (auto& raster : state->output) raster.assign(stack.sliceSamples() + kSlack, 0);

    Contender ours;
    ours.name = "ours";
    const int rows = stack.size[1];
    const int columns = stack.size[0];
    ours.run = [state, how, rows, columns](int buffer) {
        short* const earlier = how == Combination::kIncrementalMean ? state->earlier.data() : nullptr;
        RZ_GetMultiSlicePlane(state->slices, rows, columns, false, type_of(how), state->output[buffer].data(),
                              kFirst, kFirst + kSlices - 1, earlier, 0, kSlices - 1);
    };
    ours.picture = [state](int buffer) {
        const auto& raster = state->output[buffer];
        return Picture(raster.begin(), raster.end() - kSlack);
    };
    ours.refresh = [&stack] { stack.refreshRasters(); };
    return ours;
}

std::string combine_reference(const Volume& stack, Combination how, const Picture& ours) {
    std::vector<short*> slices;
    for (int z = 0; z < stack.size[2]; ++z) slices.push_back(static_cast<short*>(stack.rasters()[z]));
    std::vector<short> earlier = plain_mean(stack, 0);
    std::vector<short> want(stack.sliceSamples() + kSlack);
    rz_test::Branches branches;
    rz_reference::get_multi_slice_plane(
        slices, stack.size[1], stack.size[0], false, type_of(how), want.data(), kFirst, kFirst + kSlices - 1,
        how == Combination::kIncrementalMean ? earlier.data() : nullptr, 0, kSlices - 1, branches);
    for (std::size_t i = 0; i < stack.sliceSamples(); ++i) {
        if (ours[i] != static_cast<float>(want[i]))
            throw std::runtime_error("our picture differs from the plain form's");
    }
    return "equal to the plain form";
}

std::vector<Contender> combine_floors(Volume& stack, Combination how) {
    const std::size_t bytes = stack.sliceSamples() * 2;
    const auto probe = [&stack](std::function<std::uint64_t()> loads) {
        Contender floor;
        floor.name = "floor";
        floor.run = [loads = std::move(loads)](int) { keep(loads()); };
        floor.refresh = [&stack] { stack.refreshRasters(); };
        return floor;
    };
    if (how == Combination::kIncrementalMean) {
        // the earlier mean, the slice that came and the one that went
        return {probe([&stack, bytes] {
            return stream(stack.rasters()[0], bytes) + stream(stack.rasters()[1], bytes) +
                   stream(stack.rasters()[kSlices], bytes);
        })};
    }
    const void* const* const slices = stack.rasters() + kFirst;
    std::vector<Contender> floors = {
        probe([slices, bytes] { return stream_rows(slices, kSlices, 0, bytes, 1, bytes); })};
    if (__builtin_cpu_supports("avx2"))
        floors.push_back(probe([slices, bytes] { return stream_together(slices, kSlices, bytes); }));
    return floors;
}

std::vector<Case> combine_cases(Volume& stack) {
    struct Variant {
        const char* name;
        Combination how;
    };
    std::vector<Case> cases;
    for (const Variant& variant :
         {Variant{"maximum", Combination::kMaximum}, Variant{"mean", Combination::kMean},
          Variant{"incremental mean", Combination::kIncrementalMean}}) {
        const Combination how = variant.how;
        Case c;
        c.job = "combine";
        c.name = variant.name;
        c.volume = stack.name;
        c.work = how == Combination::kIncrementalMean ? "512 x 512, one of 40 changed" : "512 x 512 x 40";
        c.samples =
            static_cast<double>(stack.sliceSamples()) * (how == Combination::kIncrementalMean ? 3 : kSlices);
        c.tolerance = {how == Combination::kMaximum ? 0.0 : 1.0, 0.5, 0.0};
        c.reference = [&stack, how](const Picture& ours) { return combine_reference(stack, how, ours); };
        c.contenders.push_back([&stack, how] { return combine_ours(stack, how); });
#ifdef RZ_BENCH_PEERS
        c.contenders.push_back([&stack, how] { return combine_opencv(stack, how); });
        if (how != Combination::kIncrementalMean)
            c.contenders.push_back([&stack, how] { return combine_numpy(stack, how); });
#endif
        const std::size_t floors = combine_floors(stack, how).size();
        for (std::size_t i = 0; i < floors; ++i)
            c.contenders.push_back([&stack, how, i] { return combine_floors(stack, how)[i]; });
        cases.push_back(c);
    }
    return cases;
}

}  // namespace rz_bench
