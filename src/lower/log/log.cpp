#include "lower/log/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

// Constant-initialised and never destroyed: static objects of any file may log, however early or late.
static_assert(std::is_trivially_destructible_v<Jrn_LogFile>);
#if defined(__clang__)
[[clang::require_constant_initialization]] Jrn_LogFile JrnGLog;
#else
__constinit Jrn_LogFile JrnGLog;
#endif

namespace {

// The line that a thread has announced, and whether the thread is inside a sink.
struct ThreadState {
    const Jrn_LogFile* announcedTo;
    Jrn_LogRecord record;
    bool inSink;
};

thread_local ThreadState t_state{};

class SinkScope {
  public:
    SinkScope() { t_state.inSink = true; }
    ~SinkScope() { t_state.inSink = false; }
    SinkScope(const SinkScope&) = delete;
    SinkScope& operator=(const SinkScope&) = delete;
};

const char* orEmpty(const char* text) {
    return text ? text : "";
}

void writeToStandardError(const Jrn_LogRecord& record) {
    const std::size_t length = std::strlen(record.text);
    const bool ended = length > 0 && record.text[length - 1] == '\n';
    // One call, so that lines of other writers do not come between.
    std::fprintf(stderr, "[%d] %s %s:%d: %s%s", record.level, orEmpty(record.file), orEmpty(record.function),
                 record.line, record.text, ended ? "" : "\n");
}

struct FreeDeleter {
    void operator()(char* text) const { std::free(text); }
};

}  // namespace

int Jrn_LogFile::Store(const char* file, const char* function, int line, int level, int category, int) {
    if (t_state.inSink) return 0;
    t_state.announcedTo = this;
    t_state.record = {file, function, line, level, category, nullptr};
    return 1;
}

void Jrn_LogFile::Log(const char* format, ...) {
    if (t_state.announcedTo != this) return;
    t_state.announcedTo = nullptr;
    Jrn_LogRecord record = t_state.record;

    char shortText[512];
    std::va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(shortText, sizeof shortText, format, arguments);
    va_end(arguments);
    record.text = length < 0 ? format : shortText;

    std::unique_ptr<char, FreeDeleter> longText;
    if (length >= static_cast<int>(sizeof shortText)) {
        const std::size_t size = static_cast<std::size_t>(length) + 1;
        longText.reset(static_cast<char*>(std::malloc(size)));
        if (longText) {  // without memory the line is cut, not lost
            va_start(arguments, format);
            std::vsnprintf(longText.get(), size, format, arguments);
            va_end(arguments);
            record.text = longText.get();
        }
    }
    Write(record);
}

void Jrn_LogFile::Write(const Jrn_LogRecord& record) {
    const std::lock_guard<std::mutex> guard(lock_);
    const SinkScope inSink;
    if (sink_) {
        sink_(record, user_);
    } else {
        writeToStandardError(record);
    }
}

void Jrn_LogFile::SetSink(Jrn_LogSink sink, void* user) {
    const std::lock_guard<std::mutex> guard(lock_);
    sink_ = sink;
    user_ = user;
}
