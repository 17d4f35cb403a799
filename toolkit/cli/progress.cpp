#include "toolkit/cli/progress.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <string>
#include <utility>

#include <unistd.h>

namespace rzobl::cli {

namespace {

constexpr int kBarLetters = 24;

/// " [#######                 ]  29 %", or nothing for a share that is not known.
std::string bar(double share) {
    if (!(share >= 0)) return {};
    const auto filled = static_cast<std::size_t>(std::lround(std::min(share, 1.0) * kBarLetters));
    std::string text = " [" + std::string(filled, '#') + std::string(kBarLetters - filled, ' ') + "]";
    char percent[16];
    std::snprintf(percent, sizeof percent, " %3.0f %%", 100 * std::min(share, 1.0));
    return text + percent;
}

}  // namespace

Progress::Progress(std::string what, bool quiet) {
    if (quiet || !isatty(STDERR_FILENO)) return;
    thread_ = std::thread([this, text = std::move(what)] { run(text); });
}

Progress::~Progress() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        done_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void Progress::run(const std::string& what) {
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    auto next = start + std::chrono::milliseconds(500);
    bool shown = false;
    std::unique_lock<std::mutex> lock(mutex_);
    while (!wake_.wait_until(lock, next, [this] { return done_; })) {
        const std::chrono::duration<double> passed = steady_clock::now() - start;
        std::fprintf(stderr, "\r%s%s ... %.1f s", what.c_str(),
                     bar(share_.load(std::memory_order_relaxed)).c_str(), passed.count());
        std::fflush(stderr);
        shown = true;
        next += std::chrono::milliseconds(100);
    }
    if (shown) std::fputs("\r\033[K", stderr);
}

}  // namespace rzobl::cli
