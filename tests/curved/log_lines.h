#pragma once

#include <string>
#include <vector>

#include "lower/log/log.h"

namespace rz_test {

/// Collects log lines up to a level while it lives; the process's log is as it was afterwards.
class LogLines {
  public:
    struct Line {
        std::string file;
        std::string function;
        int level;
        int category;
        std::string text;
    };

    explicit LogLines(int threshold) : threshold_(JrnGLog.GetThreshold()) {
        JrnGLog.SetSink(take, this);
        JrnGLog.SetThreshold(threshold);
    }
    ~LogLines() {
        JrnGLog.SetThreshold(threshold_);
        JrnGLog.SetSink(nullptr, nullptr);
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    const std::vector<Line>& lines() const { return lines_; }
    std::vector<std::string> texts() const {
        std::vector<std::string> all;
        for (const Line& line : lines_) all.push_back(line.text);
        return all;
    }

  private:
    static void take(const Jrn_LogRecord& record, void* user) {
        static_cast<LogLines*>(user)->lines_.push_back(
            {record.file, record.function, record.level, record.category, record.text});
    }

    int threshold_;
    std::vector<Line> lines_;
};

}  // namespace rz_test
