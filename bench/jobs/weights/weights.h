#pragma once

#include <vector>

#include "bench/harness/bench_case.h"

// The table of cubic weights, built from nothing: 64 x 64 x 64 entries of 128 bytes.

namespace rz_bench {

std::vector<Case> weights_cases();

}  // namespace rz_bench
