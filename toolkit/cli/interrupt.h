#pragma once

#include "lower/tasks/runnable.h"

namespace rzobl::cli {

/// While it lives, the first Ctrl-C cancels the task instead of ending the program; a second one ends it. One
/// at a time.
class CancelOnInterrupt {
  public:
    explicit CancelOnInterrupt(WKR_Task& task);
    ~CancelOnInterrupt();
    CancelOnInterrupt(const CancelOnInterrupt&) = delete;
    CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;
};

}  // namespace rzobl::cli
