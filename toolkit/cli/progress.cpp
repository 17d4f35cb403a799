#include "toolkit/cli/progress.h"

#include <chrono>
#include <cstdio>
#include <utility>

#include <unistd.h>

namespace rzobl::cli {

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
        std::fprintf(stderr, "\r%s ... %.1f s", what.c_str(), passed.count());
        std::fflush(stderr);
        shown = true;
        next += std::chrono::milliseconds(100);
    }
    if (shown) std::fputs("\r\033[K", stderr);
}

}  // namespace rzobl::cli
