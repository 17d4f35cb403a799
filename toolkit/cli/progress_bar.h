#pragma once

#include <chrono>
#include <string>

namespace rzobl::cli {

/// A bar on standard error for work that knows how far it is, from half a second on and only if standard
/// error is a terminal. Goes away with the object. For one thread.
class ProgressBar {
  public:
    ProgressBar(std::string what, bool quiet);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// 0 to 1.
    void show(double share);

  private:
    std::string what_;
    bool silent_;
    bool shown_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace rzobl::cli
