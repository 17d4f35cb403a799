#pragma once

#include <functional>

namespace rzobl::dicom {

/// Runs a job to its end on a thread with a stack of up to 1 GiB, of which only what is used takes memory,
/// and passes on what it throws. DCMTK reads sequences within sequences by recursion, without a limit: a
/// small file can nest them deeper than an ordinary stack goes.
void run_on_deep_stack(const std::function<void()>& job);

}  // namespace rzobl::dicom
