#pragma once

#include <atomic>

#include "lower/export.h"

/// Raised in a task that was cancelled.
class RZ_LOWER_API WKR_CANCEL_EXCEPTION {
  public:
    WKR_CANCEL_EXCEPTION() = default;
    virtual ~WKR_CANCEL_EXCEPTION();
};

/// A task that can be cancelled. Any thread may call Cancel at any time; it must outlive the scopes that
/// refer to it.
class RZ_LOWER_API WKR_Task {
  public:
    WKR_Task() = default;
    WKR_Task(const WKR_Task&) = delete;
    WKR_Task& operator=(const WKR_Task&) = delete;

    void Cancel() { cancelled_.store(true, std::memory_order_relaxed); }
    bool IsCancelled() const { return cancelled_.load(std::memory_order_relaxed); }

  private:
    friend class WKR_RunnableSelf;
    std::atomic<bool> cancelled_{false};
};

/// Makes task the one that runs on the calling thread, until the scope ends. Scopes nest.
class RZ_LOWER_API WKR_TaskScope {
  public:
    explicit WKR_TaskScope(WKR_Task& task);
    ~WKR_TaskScope();
    WKR_TaskScope(const WKR_TaskScope&) = delete;
    WKR_TaskScope& operator=(const WKR_TaskScope&) = delete;

  private:
    WKR_Task* previous_;
};

/// A handle on the task that runs on the calling thread. Constructed and used on that thread only.
class RZ_LOWER_API WKR_RunnableSelf {
  public:
    WKR_RunnableSelf();
    ~WKR_RunnableSelf();
    WKR_RunnableSelf(const WKR_RunnableSelf&) = delete;
    WKR_RunnableSelf& operator=(const WKR_RunnableSelf&) = delete;

    /// Returns if the task goes on, or if there is none; throws WKR_CANCEL_EXCEPTION if it was cancelled.
    /// Costs one relaxed load.
    void Service() const {
        if (cancelled_->load(std::memory_order_relaxed)) throwCancelled();
    }

  private:
    [[noreturn]] static void throwCancelled();
    const std::atomic<bool>* cancelled_;
};
