#include <algorithm>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/subtract/subtract.h"
#include "rz_obl/rz_obl.h"
#include "tests/reference/slabs/subtraction.h"

namespace rz_bench {
namespace {

constexpr std::size_t kSlack = 16;

RZ_SubOpParams parameters_of(const Volume& stack, Shift shift) {
    RZ_SubOpParams parameters;
    parameters.minuend_first = kMinuend;
    parameters.minuend_last = kMinuend + kRange - 1;
    parameters.subtrahend_first = kSubtrahend;
    parameters.subtrahend_last = kSubtrahend + kRange - 1;
    parameters.pixel_shift[0] = parameters.pixel_shift[1] = shift.samples;
    parameters.offset = static_cast<short>(stack.kind == Kind::kUInt8 ? kOffset8 : kOffset16);
    return parameters;
}

int bits(const Volume& stack) {
    return stack.kind == Kind::kUInt8 ? 8 : 12;
}

std::vector<void*> slices_of(const Volume& stack) {
    return std::vector<void*>(stack.rasters(), stack.rasters() + stack.size[2]);
}

Picture as_picture(const Volume& stack, const std::vector<unsigned char>& raster) {
    if (stack.kind == Kind::kUInt8)
        return Picture(raster.begin(), raster.begin() + static_cast<std::ptrdiff_t>(stack.sliceSamples()));
    const auto* const samples = reinterpret_cast<const unsigned short*>(raster.data());
    return Picture(samples, samples + stack.sliceSamples());
}

}  // namespace

std::unique_ptr<Volume> make_byte_stack(const Volume& stack) {
    auto bytes = std::make_unique<Volume>("phantom, 48 slices of 8 bits", Kind::kUInt8, stack.size[0],
                                          stack.size[1], stack.size[2], 1.0, 1.0, 1.0);
    const auto* const from = static_cast<const short*>(stack.block());
    for (std::size_t i = 0; i < bytes->blockBytes(); ++i)
        static_cast<std::uint8_t*>(bytes->block())[i] =
            static_cast<std::uint8_t>(std::clamp(from[i] / 9, 0, 255));
    bytes->refreshRasters();
    return bytes;
}

Contender subtract_ours(Volume& stack, Shift shift) {
    const auto slices = std::make_shared<std::vector<void*>>(slices_of(stack));
    const auto rasters = std::make_shared<std::vector<std::vector<unsigned char>>>(
        2, std::vector<unsigned char>((stack.sliceSamples() + kSlack) * stack.bytesPerSample()));
    Contender ours;
    ours.name = "ours";
    ours.run = [&stack, shift, slices, rasters](int buffer) {
        RZ_SubOpParams parameters = parameters_of(stack, shift);
        RZ_GetMultiSliceSubtractionPlane(*slices, stack.size[1], stack.size[0], bits(stack), false,
                                         (*rasters)[static_cast<std::size_t>(buffer)].data(), parameters,
                                         nullptr, parameters);
    };
    ours.picture = [&stack, rasters](int buffer) {
        return as_picture(stack, (*rasters)[static_cast<std::size_t>(buffer)]);
    };
    ours.refresh = [&stack] { stack.refreshRasters(); };
    return ours;
}

std::string subtract_reference(Volume& stack, Shift shift, const Picture& ours) {
    std::vector<unsigned char> raster((stack.sliceSamples() + kSlack) * stack.bytesPerSample());
    rz_test::Branches branches;
    rz_reference::get_multi_slice_subtraction_plane(slices_of(stack), stack.size[1], stack.size[0],
                                                    bits(stack), false, raster.data(),
                                                    parameters_of(stack, shift), branches);
    if (as_picture(stack, raster) != ours)
        throw std::runtime_error("our picture differs from the plain form's");
    return "equal to the plain form";
}

std::vector<Contender> subtract_floors(Volume& stack) {
    const std::size_t bytes = stack.sliceSamples() * stack.bytesPerSample();
    Contender oneByOne;
    oneByOne.name = "floor";
    oneByOne.run = [&stack, bytes](int) {
        keep(stream_rows(stack.rasters() + kMinuend, kRange, 0, bytes, 1, bytes));
        keep(stream_rows(stack.rasters() + kSubtrahend, kRange, 0, bytes, 1, bytes));
    };
    oneByOne.refresh = [&stack] { stack.refreshRasters(); };
    if (!__builtin_cpu_supports("avx2")) return {oneByOne};
    Contender together = oneByOne;
    together.run = [&stack, bytes](int) {
        keep(stream_together(stack.rasters() + kMinuend, kRange, bytes));
        keep(stream_together(stack.rasters() + kSubtrahend, kRange, bytes));
    };
    return {oneByOne, together};
}

std::vector<Case> subtract_cases(Volume& stack) {
    const bool bytes = stack.kind == Kind::kUInt8;
    std::vector<Case> cases;
    for (const bool shifted : {false, true}) {
        const Shift shift{shifted ? 0.5F : 0.0F};
        Case c;
        c.job = "subtract";
        c.name = std::string(bytes ? "8 bits" : "16 bits") + (shifted ? ", shifted" : "");
        c.volume = stack.name;
        c.work = "512 x 512 x (20 + 20)";
        c.samples = static_cast<double>(stack.sliceSamples()) * 2 * kRange;
        // the scale of a mean of 20 has 10 bits: 51 / 1024
        c.tolerance = {bytes ? 2.0 : 24.0, bytes ? 1.0 : 5.0, 0.001};
        c.reference = [&stack, shift](const Picture& ours) { return subtract_reference(stack, shift, ours); };
        c.contenders.push_back([&stack, shift] { return subtract_ours(stack, shift); });
#ifdef RZ_BENCH_PEERS
        // ours is no plain blend on shifted bytes, so that nobody else does the same work
        if (!bytes || !shifted)
            c.contenders.push_back([&stack, shift] { return subtract_opencv(stack, shift); });
#endif
        const std::size_t floors = subtract_floors(stack).size();
        for (std::size_t i = 0; i < floors; ++i)
            c.contenders.push_back([&stack, i] { return subtract_floors(stack)[i]; });
        cases.push_back(c);
    }
    return cases;
}

}  // namespace rz_bench
