#include "lower/tasks/runnable.h"

namespace {

thread_local WKR_Task* t_currentTask = nullptr;

// What a handle polls on a thread without a task.
const std::atomic<bool> g_neverCancelled{false};

}  // namespace

WKR_CANCEL_EXCEPTION::~WKR_CANCEL_EXCEPTION() = default;

WKR_TaskScope::WKR_TaskScope(WKR_Task& task) : previous_(t_currentTask) {
    t_currentTask = &task;
}

WKR_TaskScope::~WKR_TaskScope() {
    t_currentTask = previous_;
}

WKR_RunnableSelf::WKR_RunnableSelf()
    : cancelled_(t_currentTask ? &t_currentTask->cancelled_ : &g_neverCancelled) {}

WKR_RunnableSelf::~WKR_RunnableSelf() = default;

void WKR_RunnableSelf::throwCancelled() {
    throw WKR_CANCEL_EXCEPTION();
}
