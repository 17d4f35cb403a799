#include "lower/settings/whiteboard.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(Whiteboard, is_one_object) {
    EXPECT_EQ(&RZ_Whiteboard::Instance(), &RZ_Whiteboard::Instance());
}

TEST(Whiteboard, missing_key_gives_the_default_and_stores_nothing) {
    RZ_Whiteboard& board = RZ_Whiteboard::Instance();
    EXPECT_EQ(board.GetIntVal("settings_test.missing", 7), 7);
    EXPECT_EQ(board.GetIntVal("settings_test.missing", -1), -1);
}

TEST(Whiteboard, stored_value_wins_over_the_default_until_it_is_removed) {
    RZ_Whiteboard& board = RZ_Whiteboard::Instance();
    for (const int value : {0, 1, -1, INT_MIN, INT_MAX}) {
        board.SetIntVal("settings_test.value", value);
        EXPECT_EQ(board.GetIntVal("settings_test.value", 42), value);
    }
    board.Remove("settings_test.value");
    EXPECT_EQ(board.GetIntVal("settings_test.value", 42), 42);
    board.Remove("settings_test.value");
    EXPECT_EQ(board.GetIntVal("settings_test.value", 43), 43);
}

TEST(Whiteboard, keys_are_whole_strings) {
    RZ_Whiteboard& board = RZ_Whiteboard::Instance();
    const std::string withZero("settings_test\0x", 15);
    board.SetIntVal("", 1);
    board.SetIntVal("settings_test", 2);
    board.SetIntVal(withZero, 3);
    board.SetIntVal("Settings_test", 4);
    EXPECT_EQ(board.GetIntVal("", 0), 1);
    EXPECT_EQ(board.GetIntVal("settings_test", 0), 2);
    EXPECT_EQ(board.GetIntVal(withZero, 0), 3);
    EXPECT_EQ(board.GetIntVal("Settings_test", 0), 4);
    for (const std::string& key :
         {std::string(), std::string("settings_test"), withZero, std::string("Settings_test")}) {
        board.Remove(key);
        EXPECT_EQ(board.GetIntVal(key, 0), 0);
    }
}

TEST(Whiteboard, threads_read_and_write_at_once) {
    RZ_Whiteboard& board = RZ_Whiteboard::Instance();
    board.SetIntVal("settings_test.shared", 1000);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&board, t] {
            const std::string own = "settings_test.thread" + std::to_string(t);
            for (int i = 0; i < 300; ++i) {
                board.SetIntVal(own, i);
                EXPECT_EQ(board.GetIntVal(own, -1), i);
                EXPECT_GE(board.GetIntVal("settings_test.shared", -1), 1000);
                board.SetIntVal("settings_test.shared", 1000 + i);
                if (i % 3 == 0) {
                    board.Remove(own);
                    EXPECT_EQ(board.GetIntVal(own, -1), -1);
                }
            }
            board.Remove(own);
        });
    }
    for (std::thread& thread : threads) thread.join();
    board.Remove("settings_test.shared");
}

}  // namespace
