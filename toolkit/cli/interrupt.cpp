#include "toolkit/cli/interrupt.h"

#include <atomic>
#include <csignal>

namespace rzobl::cli {

namespace {

std::atomic<WKR_Task*> interrupted{nullptr};
void (*before)(int) = SIG_DFL;

// A signal handler may touch nothing but atomics without locks; cancelling is a store into one.
static_assert(std::atomic<WKR_Task*>::is_always_lock_free && std::atomic<bool>::is_always_lock_free);

extern "C" void cancel(int signal) {
    if (WKR_Task* const task = interrupted.load()) task->Cancel();
    std::signal(signal, before);
}

}  // namespace

CancelOnInterrupt::CancelOnInterrupt(WKR_Task& task) {
    interrupted = &task;
    before = std::signal(SIGINT, cancel);
}

CancelOnInterrupt::~CancelOnInterrupt() {
    std::signal(SIGINT, before);
    interrupted = nullptr;
}

}  // namespace rzobl::cli
