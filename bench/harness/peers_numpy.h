#pragma once

#include <memory>
#include <string>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

namespace rz_bench {

/// A Python of its own that holds a copy of a volume of 16-bit samples and times its own work. Throws
/// std::runtime_error where Python or NumPy is missing.
class NumPy {
  public:
    explicit NumPy(const Volume& volume);
    ~NumPy();
    NumPy(const NumPy&) = delete;
    NumPy& operator=(const NumPy&) = delete;

    /// "NumPy 1.24.2"
    const std::string& name() const { return name_; }
    /// Runs an expression of bench/harness/numpy_peer.py: "max z 180 221" and the like; seconds that it took.
    double run(const std::string& command);
    /// What the last run made.
    Picture picture();

    /// The one beside this volume, started at its first use.
    static NumPy& of(const Volume& volume);

  private:
    std::string line();
    void send(const std::string& command);

    int toChild_ = -1;
    int fromChild_ = -1;
    int child_ = -1;
    std::string name_;
};

}  // namespace rz_bench
