#include "toolkit/cli/progress_bar.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace rzobl::cli {

ProgressBar::ProgressBar(std::string what, bool quiet)
    : what_(std::move(what)),
      silent_(quiet || !isatty(STDERR_FILENO)),
      next_(std::chrono::steady_clock::now() + std::chrono::milliseconds(500)) {}

ProgressBar::~ProgressBar() {
    if (shown_) std::fputs("\r\033[K", stderr);
}

void ProgressBar::show(double share) {
    const auto now = std::chrono::steady_clock::now();
    if (silent_ || now < next_) return;
    constexpr std::size_t kWidth = 30;
    const double part = std::clamp(share, 0.0, 1.0);
    std::string bar(static_cast<std::size_t>(part * kWidth), '#');
    bar.resize(kWidth, '.');
    std::fprintf(stderr, "\r%s [%s] %3.0f %%", what_.c_str(), bar.c_str(), 100 * part);
    std::fflush(stderr);
    shown_ = true;
    next_ = now + std::chrono::milliseconds(100);
}

}  // namespace rzobl::cli
