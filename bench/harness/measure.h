#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bench/harness/bench_case.h"

namespace rz_bench {

struct Effort {
    /// Seconds of one case's rounds, and the least number of rounds.
    double seconds = 2.0;
    int leastRounds = 5;
    /// First calls after the source was written anew.
    int coldCalls = 3;
};

struct Timing {
    std::string name;
    double warmMs = 0.0;
    std::optional<double> coldMs;
    int calls = 0;
};

struct Result {
    std::string job;
    std::string name;
    std::string volume;
    std::string work;
    double samples = 0.0;
    /// Ours first. Probes are merged into one, the fastest, named "floor".
    std::vector<Timing> timings;
    /// What was compared before the clock ran.
    std::string proof;

    const Timing* find(const std::string& contender) const;
    /// The fastest peer, or null.
    const Timing* bestPeer() const;
};

/// Proves that all contenders did the same work (throws std::runtime_error otherwise), then takes the least
/// time of each over interleaved rounds.
Result measure(const Case& c, const Effort& effort);

}  // namespace rz_bench
