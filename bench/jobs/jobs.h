#pragma once

#include <string>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// Every job, by name. A job makes its cases over the 16-bit phantom or makes a volume of its own from it,
// which it keeps in `made`.

namespace rz_bench {

using MadeVolumes = std::vector<std::unique_ptr<Volume>>;

struct Job {
    const char* name;
    std::vector<Case> (*make)(Volume& phantom, MadeVolumes& made);
};

/// In the order in which they run.
const std::vector<Job>& all_jobs();

}  // namespace rz_bench
