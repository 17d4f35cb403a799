#pragma once

#include <functional>
#include <string>
#include <vector>

namespace rz_bench {

/// What a contender made, as numbers; NaN where nothing was drawn. Channels of a pixel stand side by side.
using Picture = std::vector<float>;

/// How far a peer's picture may lie from ours, in stored units: the greatest difference, the mean of all, and
/// the fraction of pixels that may pass the greatest.
struct Tolerance {
    double greatest = 5.0;
    double mean = 4.0;
    double strays = 0.0;
};

/// One way of doing the work of a case.
struct Contender {
    /// "ours", "floor", or the peer with its version.
    std::string name;
    /// Does the work once into one of two outputs.
    std::function<void(int buffer)> run;
    /// What run made there; none for a probe, which only loads.
    std::function<Picture(int buffer)> picture = nullptr;
    /// Untimed, before each run: puts an output back as it was.
    std::function<void(int buffer)> prepare = nullptr;
    /// Writes the source anew, as a reader would; without it no first call is measured.
    std::function<void()> refresh = nullptr;
    /// Does the work in another process and returns its seconds there; used instead of the clock round run.
    std::function<double()> selfTimed = nullptr;
};

/// One measurement: ours, the peers that can do the same work, and the probes that do only its loads.
struct Case {
    std::string job;
    std::string name;
    /// The source, and the size of the work in words, for the table.
    std::string volume;
    std::string work;
    /// Output pixels x slab planes.
    double samples = 0.0;
    Tolerance tolerance;
    /// Fraction of the picture that must have been drawn.
    double coverage = 0.999;
    /// Made when the case runs and dropped after it. The first is ours.
    std::vector<std::function<Contender()>> contenders;
    /// Compares our last picture with a plain reference and says how; throws where it differs. May be empty.
    std::function<std::string(const Picture&)> reference = nullptr;
};

}  // namespace rz_bench
