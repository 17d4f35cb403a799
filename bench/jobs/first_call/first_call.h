#pragma once

#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// What a user waits for: the first picture of a process, and one drawn again. Must run before any other job
// has called the library, since first calls run in forks of this process.

namespace rz_bench {

std::vector<Case> first_call_cases(Volume& volume);

}  // namespace rz_bench
