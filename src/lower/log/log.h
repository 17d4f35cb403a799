#pragma once

#include <atomic>

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

/// Receives log lines. Called on the logging thread, one call at a time.
using Jrn_LogSink = void (*)(const Jrn_LogRecord& record, void* user);

/// The log. A line takes two calls: StoreParams, and Log only if that gave non-zero. Safe from any thread;
/// the two calls of a line belong to one thread.
class RZ_LOWER_API Jrn_LogFile {
  public:
    Jrn_LogFile();
    ~Jrn_LogFile();
    Jrn_LogFile(const Jrn_LogFile&) = delete;
    Jrn_LogFile& operator=(const Jrn_LogFile&) = delete;

    /// Non-zero if a line of this level is wanted. One comparison when it is not.
    int StoreParams(const char* file, const char* function, int line, int level, int category, int flag) {
        if (level > threshold_.load(std::memory_order_relaxed)) return 0;
        return Store(file, function, line, level, category, flag);
    }
    /// printf conventions; writes the line that the calling thread announced with StoreParams.
    void Log(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /// Lines of this level and below are wanted; 3 at first, negative for none.
    void SetThreshold(int level);
    int GetThreshold() const { return threshold_.load(std::memory_order_relaxed); }
    /// Null: standard error, the default. A line that is being written ends before the call returns.
    void SetSink(Jrn_LogSink sink, void* user);

  private:
    int Store(const char* file, const char* function, int line, int level, int category, int flag);

    std::atomic<int> threshold_{3};
};

/// The one log of the process.
extern RZ_LOWER_API Jrn_LogFile JrnGLog;
