#pragma once

#include <chrono>
#include <string>

#include <CLI/CLI.hpp>

#include "toolkit/io/read_volume.h"

namespace rzobl::cli {

// Each adds one command to the program; the command runs when the program has parsed its arguments.
void add_curved(CLI::App& program);
void add_info(CLI::App& program);
void add_mpr(CLI::App& program);
void add_outline(CLI::App& program);
void add_phantom(CLI::App& program);
void add_resample(CLI::App& program);
void add_restack(CLI::App& program);
void add_slab(CLI::App& program);
void add_subtract(CLI::App& program);

/// Reads with a progress line and passes warnings on to standard error.
ReadResult read_input(const std::string& path, const ReadOptions& options, bool quiet);

/// Milliseconds since it was made.
class Stopwatch {
  public:
    double milliseconds() const {
        return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
    }

  private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace rzobl::cli
