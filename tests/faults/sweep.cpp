#include "tests/faults/sweep.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

// Asked by sanitizers, which report a write through null before it happens: they are to end in a signal, too.
extern "C" const char* asan_options() __asm__("__asan_default_options");
extern "C" const char* ubsan_options() __asm__("__ubsan_default_options");
extern "C" __attribute__((visibility("default"), used)) const char* asan_options() {
    return "abort_on_error=1";
}
extern "C" __attribute__((visibility("default"), used)) const char* ubsan_options() {
    return "abort_on_error=1";
}

namespace rz_test {
namespace {

using heap::Account;

// How a process of a refusal ends.
constexpr int kPassed = 0;
constexpr int kFailed = 1;
constexpr int kNothingRefused = 40;
constexpr int kStoppedAtNull = 41;

/// Failures of this test so far. A process starts with those of its parent.
int failures() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

int g_failuresAtStart = 0;

[[noreturn]] void end_process(int result) {
    std::fflush(nullptr);
    _exit(failures() > g_failuresAtStart ? kFailed : result);
}

/// Runs the body in a process of its own; the result of the body is how it ends. 128 and more: by a signal.
int in_child(const std::function<int()>& body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        g_failuresAtStart = failures();
        end_process(body());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return kFailed;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string names(const std::vector<heap::Block>& blocks) {
    std::string all;
    for (const auto& block : blocks) all += heap::describe(block) + "; ";
    return all;
}

/// A write to the first page, and the scene as it was: the library did not look at a null.
class NullStop {
  public:
    explicit NullStop(Scene& scene) {
        scene_ = &scene;
        struct sigaction action {};
        action.sa_sigaction = &NullStop::written_to;
        action.sa_flags = SA_SIGINFO;
        sigaction(SIGSEGV, &action, nullptr);
        sigaction(SIGABRT, &action, nullptr);
    }

  private:
    static void ended() {
        const Account account = heap::end_watch(heap::Ending::kOther);
        EXPECT_TRUE(account.refused && scene_->stops_at_null(account.refusedBlock.kind));
        scene_->expect_untouched();
        end_process(kStoppedAtNull);
    }
    static void written_to(int signal, siginfo_t* info, void*) {
        if (signal == SIGSEGV) {
            EXPECT_LT(reinterpret_cast<std::uintptr_t>(info->si_addr), 4096U);
        }
        ended();
    }
    static Scene* scene_;
};

Scene* NullStop::scene_ = nullptr;

void expect_all_back(Scene& scene, unsigned watch, const std::vector<heap::Block>& lost) {
    scene.let_go();
    std::vector<heap::Block> held;
    for (const auto& block : heap::held_since(watch)) {
        if (!scene.once_only(block)) held.push_back(block);
    }
    EXPECT_TRUE(held == lost) << "held: " << names(held) << "\nwanted: " << names(lost);
}

int refuse_one(Scene& scene, int request) {
    const NullStop stop(scene);
    const Account account = heap::watch(request, [&] { scene.call(); });
    EXPECT_EQ(account.oddReleases, 0);
    if (!account.refused) {
        EXPECT_EQ(account.ending, heap::Ending::kReturned);
        scene.expect_done();
        expect_all_back(scene, account.watch, scene.lost(account));
        return kNothingRefused;
    }
    SCOPED_TRACE("refused: " + heap::describe(account.refusedBlock));
    EXPECT_FALSE(scene.stops_at_null(account.refusedBlock.kind)) << "it went on without what was refused";
    scene.expect_refused(account);
    scene.expect_untouched();
    const std::vector<heap::Block> lost = scene.lost(account);
    if (scene.works_again(account)) {
        const Account again = heap::watch(heap::kNone, [&] { scene.call(); });
        EXPECT_EQ(again.ending, heap::Ending::kReturned);
        EXPECT_EQ(again.oddReleases, 0);
        scene.expect_done();
    }
    expect_all_back(scene, account.watch, lost);
    return kPassed;
}

/// Each refusal has a copy of the scene, in a process of its own.
void refuse_each(Scene& scene, Requests requests) {
    for (int request = 0; request <= requests.most; ++request) {
        SCOPED_TRACE("request " + std::to_string(request));
        const int result = in_child([&] { return refuse_one(scene, request); });
        if (result == kNothingRefused) {
            EXPECT_GE(request, requests.least) << "it needed fewer";
            return;
        }
        ASSERT_TRUE(result == kPassed || result == kStoppedAtNull) << "ended with " << result;
    }
    ADD_FAILURE() << "it needed more than " << requests.most;
}

}  // namespace

void Scene::expect_refused(const Account& refusal) {
    EXPECT_EQ(refusal.ending, heap::Ending::kBadAlloc);
}

void in_own_process(const std::function<void()>& body) {
    const int result = in_child([&] {
        body();
        return kPassed;
    });
    EXPECT_EQ(result, kPassed);
}

void sweep(const std::function<std::unique_ptr<Scene>()>& make, Requests requests) {
    in_own_process([&] {
        const std::unique_ptr<Scene> scene = make();
        refuse_each(*scene, requests);
    });
}

void expect_quiet(const std::function<void()>& call) {
    const Account account = heap::watch(heap::kNone, call);
    EXPECT_EQ(account.requests, 0);
    EXPECT_EQ(account.oddReleases, 0);
    EXPECT_EQ(account.ending, heap::Ending::kReturned);
}

}  // namespace rz_test
