#pragma once

#include <atomic>
#include <mutex>

#include "lower/export.h"

/// What a log line carries.
struct Jrn_LogRecord {
    const char* file;
    const char* function;
    int line;
    /// 3 errors, 6 warnings, 7 tracing.
    int level;
    int category;
    /// The formatted text, zero-terminated, valid during the call.
    const char* text;
};

/// Receives log lines, whole and of any length. Called on the logging thread, one call at a time. Lines that
/// a sink logs itself are dropped, and it must not set a sink; what it throws reaches the caller of Log.
using Jrn_LogSink = void (*)(const Jrn_LogRecord& record, void* user);

/// The log. A line takes two calls: StoreParams, and Log only if that gave non-zero. Safe from any thread;
/// the two calls of a line belong to one thread. Works before and after every other static object.
class RZ_LOWER_API Jrn_LogFile {
  public:
    constexpr Jrn_LogFile() noexcept {}
    ~Jrn_LogFile() = default;
    Jrn_LogFile(const Jrn_LogFile&) = delete;
    Jrn_LogFile& operator=(const Jrn_LogFile&) = delete;

    /// Non-zero if a line of this level is wanted. One comparison when it is not. The strings must live until
    /// Log returns.
    int StoreParams(const char* file, const char* function, int line, int level, int category, int flag) {
        if (level > threshold_.load(std::memory_order_relaxed)) return 0;
        return Store(file, function, line, level, category, flag);
    }
    /// printf conventions; writes the line that the calling thread announced with StoreParams. Without one it
    /// writes nothing.
    void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Lines of this level and below are wanted; 3 at first, negative for none.
    void SetThreshold(int level) { threshold_.store(level, std::memory_order_relaxed); }
    int GetThreshold() const { return threshold_.load(std::memory_order_relaxed); }
    /// Null: standard error, the default. A line that is being written ends before the call returns.
    void SetSink(Jrn_LogSink sink, void* user);

  private:
    int Store(const char* file, const char* function, int line, int level, int category, int flag);
    void Write(const Jrn_LogRecord& record);

    std::atomic<int> threshold_{3};
    std::mutex lock_;
    Jrn_LogSink sink_ = nullptr;
    void* user_ = nullptr;
};

/// The one log of the process.
extern RZ_LOWER_API Jrn_LogFile JrnGLog;
