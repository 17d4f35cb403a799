#pragma once

#include <memory>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// The mean of 20 slices less the shifted mean of 20 others, 512 x 512.

namespace rz_bench {

constexpr int kRange = 20;
constexpr int kMinuend = 0;
constexpr int kSubtrahend = 24;
constexpr int kOffset16 = 1024;
constexpr int kOffset8 = 64;

/// Half a sample along both axes, or none.
struct Shift {
    float samples;
};

std::vector<Case> subtract_cases(Volume& stack);
/// 48 slices of 8 bits from those of 16.
std::unique_ptr<Volume> make_byte_stack(const Volume& stack);

Contender subtract_ours(Volume& stack, Shift shift);
std::string subtract_reference(Volume& stack, Shift shift, const Picture& ours);
Contender subtract_opencv(Volume& stack, Shift shift);
/// Probes of the loads: one raster after the other, and side by side.
std::vector<Contender> subtract_floors(Volume& stack);

}  // namespace rz_bench
