#pragma once

#include <string>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// 100 slices of 1 mm restacked at 0.77 mm: 129 slices, of which all but two are computed.

namespace rz_bench {

constexpr int kFirstSlice = 150;
constexpr int kLastSlice = 249;
constexpr float kSpacing = 0.77F;
constexpr int kMade = 129;
/// Slices 0 and 100 lie exactly on slices of the source and share them.
constexpr int kComputed = 127;
inline bool is_computed(int i) {
    return i != 0 && i != 100;
}

std::vector<Case> restack_cases(Volume& volume);
Contender restack_ours(Volume& volume);
std::string restack_reference(const Volume& volume, const Picture& ours);
Contender restack_vtk(Volume& volume);
Contender restack_floor(Volume& volume);

/// Index of made slice i in the source: the centre of its place in the same depth.
inline double restacked_index(int i) {
    const double distance = static_cast<double>(kLastSlice - kFirstSlice + 1) / kMade;
    return kFirstSlice - 0.5 + (i + 0.5) * distance;
}

}  // namespace rz_bench
