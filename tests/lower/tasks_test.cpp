#include "lower/tasks/runnable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <type_traits>

namespace {

TEST(Tasks, service_without_a_task_goes_on) {
    const WKR_RunnableSelf self;
    for (int i = 0; i < 3; ++i) EXPECT_NO_THROW(self.Service());
}

TEST(Tasks, service_of_a_task_that_goes_on_has_no_effect) {
    WKR_Task task;
    const WKR_TaskScope scope(task);
    const WKR_RunnableSelf self;
    for (int i = 0; i < 3; ++i) EXPECT_NO_THROW(self.Service());
    EXPECT_FALSE(task.IsCancelled());
}

TEST(Tasks, service_of_a_cancelled_task_throws_every_time) {
    WKR_Task task;
    const WKR_TaskScope scope(task);
    const WKR_RunnableSelf self;
    self.Service();
    task.Cancel();
    EXPECT_TRUE(task.IsCancelled());
    for (int i = 0; i < 3; ++i) EXPECT_THROW(self.Service(), WKR_CANCEL_EXCEPTION);
    task.Cancel();
    EXPECT_THROW(self.Service(), WKR_CANCEL_EXCEPTION);
}

TEST(Tasks, cancelled_before_the_handle_was_made) {
    WKR_Task task;
    task.Cancel();
    const WKR_TaskScope scope(task);
    const WKR_RunnableSelf self;
    EXPECT_THROW(self.Service(), WKR_CANCEL_EXCEPTION);
}

TEST(Tasks, handle_stays_with_the_task_it_was_made_in) {
    WKR_Task task;
    const WKR_RunnableSelf outside;
    const WKR_TaskScope scope(task);
    const WKR_RunnableSelf inside;
    task.Cancel();
    EXPECT_NO_THROW(outside.Service());
    EXPECT_THROW(inside.Service(), WKR_CANCEL_EXCEPTION);
}

TEST(Tasks, scopes_nest_and_end) {
    WKR_Task outer;
    WKR_Task inner;
    {
        const WKR_TaskScope outerScope(outer);
        {
            const WKR_TaskScope innerScope(inner);
            inner.Cancel();
            EXPECT_THROW(WKR_RunnableSelf().Service(), WKR_CANCEL_EXCEPTION);
        }
        EXPECT_NO_THROW(WKR_RunnableSelf().Service());
        outer.Cancel();
        EXPECT_THROW(WKR_RunnableSelf().Service(), WKR_CANCEL_EXCEPTION);
    }
    EXPECT_NO_THROW(WKR_RunnableSelf().Service());
}

TEST(Tasks, scope_ends_when_the_exception_passes_through_it) {
    WKR_Task task;
    task.Cancel();
    try {
        const WKR_TaskScope scope(task);
        const WKR_RunnableSelf self;
        self.Service();
        FAIL() << "a cancelled task went on";
    } catch (const WKR_CANCEL_EXCEPTION&) {
    }
    EXPECT_NO_THROW(WKR_RunnableSelf().Service());
}

TEST(Tasks, task_is_that_of_the_calling_thread) {
    WKR_Task task;
    task.Cancel();
    const WKR_TaskScope scope(task);
    std::thread([] {
        EXPECT_NO_THROW(WKR_RunnableSelf().Service());
        WKR_Task own;
        const WKR_TaskScope ownScope(own);
        EXPECT_NO_THROW(WKR_RunnableSelf().Service());
    }).join();
    EXPECT_THROW(WKR_RunnableSelf().Service(), WKR_CANCEL_EXCEPTION);
}

TEST(Tasks, another_thread_cancels_a_task_that_runs) {
    WKR_Task task;
    WKR_Task bystander;
    std::atomic<int> running{0};
    std::atomic<bool> cancelled{false};
    std::atomic<bool> stop{false};
    std::thread worker([&] {
        const WKR_TaskScope scope(task);
        const WKR_RunnableSelf self;
        ++running;
        try {
            for (;;) self.Service();
        } catch (const WKR_CANCEL_EXCEPTION&) {
            cancelled = true;
        }
    });
    std::thread other([&] {
        const WKR_TaskScope scope(bystander);
        const WKR_RunnableSelf self;
        ++running;
        while (!stop) EXPECT_NO_THROW(self.Service());
    });
    while (running < 2) std::this_thread::yield();
    EXPECT_FALSE(cancelled);
    task.Cancel();
    worker.join();
    stop = true;
    other.join();
    EXPECT_TRUE(cancelled);
}

TEST(Tasks, exception_is_caught_by_value_and_copied) {
    static_assert(std::is_copy_constructible_v<WKR_CANCEL_EXCEPTION>);
    EXPECT_THROW(throw WKR_CANCEL_EXCEPTION(), WKR_CANCEL_EXCEPTION);
}

}  // namespace
