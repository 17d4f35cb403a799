#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace rzobl::cli {

/// While it lives: a line on standard error that says what is being done and for how long, from half a second
/// on and only if standard error is a terminal. Leaves no trace.
class Progress {
  public:
    Progress(std::string what, bool quiet);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

  private:
    void run(const std::string& what);

    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread thread_;
};

}  // namespace rzobl::cli
