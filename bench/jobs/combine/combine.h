#pragma once

#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// 40 computed slices of 512 x 512 into one.

namespace rz_bench {

enum class Combination { kMean, kIncrementalMean, kMaximum };

/// Slices 1 to 40 of a volume whose samples are not negative. The incremental mean starts from that of slices
/// 0 to 39.
constexpr int kFirst = 1;
constexpr int kSlices = 40;

/// Slices of the phantom, counted from nought.
std::unique_ptr<Volume> make_stack(const Volume& phantom);
std::vector<Case> combine_cases(Volume& stack);

Contender combine_ours(Volume& stack, Combination how);
std::string combine_reference(const Volume& stack, Combination how, const Picture& ours);
Contender combine_opencv(Volume& stack, Combination how);
Contender combine_numpy(Volume& stack, Combination how);
/// Probes of the loads: one raster after the other, and side by side.
std::vector<Contender> combine_floors(Volume& stack, Combination how);

/// Mean of slices first to first + 39, rounded to the nearest.
std::vector<short> plain_mean(const Volume& stack, int first);

}  // namespace rz_bench
