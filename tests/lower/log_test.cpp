#include "lower/log/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

// The log needs no initialiser of its own: this is a constant expression.
constexpr Jrn_LogFile kLogBeforeAnyInitialiser;

// Logs while static objects are still being made.
struct Early {
    Early() : wanted(JrnGLog.StoreParams("early", "Early", 1, 7, 208, 1)) {}
    int wanted;
};
const Early g_early;

struct Line {
    std::string file;
    std::string function;
    int line;
    int level;
    int category;
    std::string text;
};

/// Collects the lines of the log, and puts the defaults back at its end.
class LogTest : public testing::Test {
  protected:
    LogTest() { JrnGLog.SetSink(collect, this); }
    ~LogTest() override {
        JrnGLog.SetSink(nullptr, nullptr);
        JrnGLog.SetThreshold(3);
    }

    static void collect(const Jrn_LogRecord& record, void* user) {
        static_cast<LogTest*>(user)->lines.push_back(
            {record.file, record.function, record.line, record.level, record.category, record.text});
    }

    std::vector<Line> lines;
};

int announce(int level) {
    return JrnGLog.StoreParams("rz_oblique", "SomeFunction", 77, level, 208, 1);
}

TEST_F(LogTest, errors_are_on_and_all_else_off_by_default) {
    EXPECT_EQ(JrnGLog.GetThreshold(), 3);
    EXPECT_EQ(kLogBeforeAnyInitialiser.GetThreshold(), 3);
    EXPECT_EQ(g_early.wanted, 0);
    EXPECT_NE(announce(0), 0);
    EXPECT_NE(announce(3), 0);
    EXPECT_EQ(announce(4), 0);
    EXPECT_EQ(announce(6), 0);
    EXPECT_EQ(announce(7), 0);
}

TEST_F(LogTest, threshold_is_the_highest_level_wanted) {
    for (int threshold = -1; threshold <= 8; ++threshold) {
        JrnGLog.SetThreshold(threshold);
        EXPECT_EQ(JrnGLog.GetThreshold(), threshold);
        for (int level = 0; level <= 9; ++level) EXPECT_EQ(announce(level) != 0, level <= threshold);
    }
}

TEST_F(LogTest, line_that_is_off_computes_no_argument_and_writes_nothing) {
    int computed = 0;
    const auto logAt = [&](int level) {
        if (announce(level)) JrnGLog.Log("argument %d", ++computed);
    };
    logAt(7);
    logAt(6);
    EXPECT_EQ(computed, 0);
    EXPECT_TRUE(lines.empty());
    logAt(3);
    EXPECT_EQ(computed, 1);
    ASSERT_EQ(lines.size(), 1U);
}

TEST_F(LogTest, record_carries_what_was_announced) {
    JrnGLog.SetThreshold(7);
    ASSERT_NE(JrnGLog.StoreParams("RZ_OBLcurved", "RZ_PrepareCurveData", 123, 6, 208, 1), 0);
    JrnGLog.Log("Anisotropic mm-per-px in curved MPR: %f, %f\n", 0.5, 0.25);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].file, "RZ_OBLcurved");
    EXPECT_EQ(lines[0].function, "RZ_PrepareCurveData");
    EXPECT_EQ(lines[0].line, 123);
    EXPECT_EQ(lines[0].level, 6);
    EXPECT_EQ(lines[0].category, 208);
    EXPECT_EQ(lines[0].text, "Anisotropic mm-per-px in curved MPR: 0.500000, 0.250000\n");
}

TEST_F(LogTest, log_without_an_announced_line_writes_nothing) {
    JrnGLog.Log("never announced");
    EXPECT_TRUE(lines.empty());
    ASSERT_NE(announce(3), 0);
    JrnGLog.Log("once");
    JrnGLog.Log("twice");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "once");
}

TEST_F(LogTest, line_announced_for_one_log_is_not_written_by_another) {
    Jrn_LogFile other;
    ASSERT_NE(other.StoreParams("f", "g", 1, 3, 208, 1), 0);
    JrnGLog.Log("not mine");
    EXPECT_TRUE(lines.empty());
}

TEST_F(LogTest, announcement_belongs_to_its_thread) {
    ASSERT_NE(announce(3), 0);
    std::thread([] { JrnGLog.Log("of nobody"); }).join();
    EXPECT_TRUE(lines.empty());
    JrnGLog.Log("of this thread");
    ASSERT_EQ(lines.size(), 1U);
}

TEST_F(LogTest, messages_of_any_length_arrive_whole) {
    // 510 to 513 lie about the size up to which no memory is asked for.
    for (const std::size_t length : {0U, 1U, 100U, 510U, 511U, 512U, 513U, 1024U, 100000U}) {
        std::string text(length, ' ');
        for (std::size_t i = 0; i < length; ++i) text[i] = static_cast<char>('a' + i % 26);
        lines.clear();
        ASSERT_NE(announce(3), 0);
        JrnGLog.Log("%s", text.c_str());
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].text, text) << length;
    }
}

TEST_F(LogTest, long_messages_format_their_arguments_again) {
    const std::string padding(600, '.');
    ASSERT_NE(announce(3), 0);
    JrnGLog.Log("%d %s %.3f %s", 42, padding.c_str(), 1.5, "end");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "42 " + padding + " 1.500 end");
}

TEST_F(LogTest, default_sink_is_standard_error_with_one_line_per_message) {
    JrnGLog.SetSink(nullptr, nullptr);
    testing::internal::CaptureStderr();
    if (announce(7)) JrnGLog.Log("tracing");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    testing::internal::CaptureStderr();
    ASSERT_NE(announce(3), 0);
    JrnGLog.Log("without end %d", 1);
    ASSERT_NE(announce(3), 0);
    JrnGLog.Log("with end\n");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[3] rz_oblique SomeFunction:77: without end 1\n"
              "[3] rz_oblique SomeFunction:77: with end\n");
}

TEST_F(LogTest, null_names_are_written_as_nothing) {
    JrnGLog.SetSink(nullptr, nullptr);
    testing::internal::CaptureStderr();
    ASSERT_NE(JrnGLog.StoreParams(nullptr, nullptr, 5, 3, 208, 1), 0);
    JrnGLog.Log("text");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[3]  :5: text\n");
}

TEST_F(LogTest, sink_that_logs_does_not_come_back_to_itself) {
    int calls = 0;
    JrnGLog.SetSink(
        [](const Jrn_LogRecord&, void* user) {
            ++*static_cast<int*>(user);
            if (announce(3)) JrnGLog.Log("from the sink");
        },
        &calls);
    for (int i = 0; i < 3; ++i) {
        ASSERT_NE(announce(3), 0);
        JrnGLog.Log("line");
    }
    EXPECT_EQ(calls, 3);
}

TEST_F(LogTest, what_a_sink_throws_reaches_the_caller_and_the_log_goes_on) {
    JrnGLog.SetSink([](const Jrn_LogRecord&, void*) { throw std::runtime_error("full"); }, nullptr);
    ASSERT_NE(announce(3), 0);
    EXPECT_THROW(JrnGLog.Log("line"), std::runtime_error);
    JrnGLog.SetSink(collect, static_cast<LogTest*>(this));
    ASSERT_NE(announce(3), 0);
    JrnGLog.Log("next");
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(lines[0].text, "next");
}

TEST_F(LogTest, a_line_in_progress_ends_before_the_sink_changes) {
    struct Slow {
        std::atomic<bool> begun{false};
        std::atomic<bool> ended{false};
    } slow;
    JrnGLog.SetSink(
        [](const Jrn_LogRecord&, void* user) {
            auto& state = *static_cast<Slow*>(user);
            state.begun = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            state.ended = true;
        },
        &slow);
    std::thread writer([] {
        if (announce(3)) JrnGLog.Log("slow");
    });
    while (!slow.begun) std::this_thread::yield();
    JrnGLog.SetSink(nullptr, nullptr);
    EXPECT_TRUE(slow.ended);
    writer.join();
}

TEST_F(LogTest, threads_keep_their_lines_apart) {
    constexpr int kThreads = 8;
    constexpr int kLines = 500;
    JrnGLog.SetThreshold(7);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            const std::string name = "thread" + std::to_string(t);
            for (int i = 0; i < kLines; ++i) {
                const int level = i % 2 ? 7 : 3;
                if (JrnGLog.StoreParams("file", name.c_str(), i, level, 208, 1)) {
                    JrnGLog.Log("%s %d", name.c_str(), i);
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();

    // The sink has no lock of its own: the log calls it one line at a time.
    ASSERT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kLines));
    std::map<std::string, int> next;
    for (const Line& line : lines) {
        const int i = next[line.function]++;
        ASSERT_EQ(line.line, i);
        ASSERT_EQ(line.level, i % 2 ? 7 : 3);
        ASSERT_EQ(line.text, line.function + " " + std::to_string(i));
    }
    EXPECT_EQ(next.size(), static_cast<std::size_t>(kThreads));
}

TEST_F(LogTest, threshold_and_sink_may_change_while_threads_log) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&stop] {
            while (!stop) {
                if (announce(5)) JrnGLog.Log("line");
            }
        });
    }
    for (int i = 0; i < 300; ++i) {
        JrnGLog.SetThreshold(i % 2 ? 7 : 3);
        JrnGLog.SetSink(collect, static_cast<LogTest*>(this));
        std::this_thread::yield();
    }
    stop = true;
    for (std::thread& thread : threads) thread.join();
    for (const Line& line : lines) ASSERT_EQ(line.text, "line");
}

}  // namespace
