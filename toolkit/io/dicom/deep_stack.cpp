#include "toolkit/io/dicom/deep_stack.h"

#include <pthread.h>

#include <cstddef>
#include <exception>

namespace rzobl::dicom {

namespace {

struct Run {
    const std::function<void()>* job = nullptr;
    std::exception_ptr thrown;
};

void* run(void* argument) {
    auto& it = *static_cast<Run*>(argument);
    try {
        (*it.job)();
    } catch (...) {
        it.thrown = std::current_exception();
    }
    return nullptr;
}

bool start(pthread_t& thread, std::size_t stackBytes, Run& it) {
    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0) return false;
    const bool started = pthread_attr_setstacksize(&attributes, stackBytes) == 0 &&
                         pthread_create(&thread, &attributes, run, &it) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

}  // namespace

void run_on_deep_stack(const std::function<void()>& job) {
    Run it;
    it.job = &job;
    pthread_t thread{};
    // Where address space is rationed, less must do.
    bool started = false;
    for (std::size_t mebibytes = 1024; mebibytes >= 16 && !started; mebibytes /= 4)
        started = start(thread, mebibytes << 20, it);
    if (!started) {
        job();
        return;
    }
    pthread_join(thread, nullptr);
    if (it.thrown) std::rethrow_exception(it.thrown);
}

}  // namespace rzobl::dicom
