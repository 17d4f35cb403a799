#pragma once

#include <string>
#include <vector>

namespace rz_test {

struct Finished {
    /// Exit code, or 128 + signal.
    int status = -1;
    std::string out, err;
};

/// Runs the real rzobl with these arguments and waits for it. Its standard streams are no terminals.
Finished rzobl(const std::vector<std::string>& arguments);

/// Where a run refused: exit code 1, nothing on standard output, exactly one line on standard error that is
/// one sentence. Returns the sentence; complains through GoogleTest.
std::string refusal_of(const Finished& run);

}  // namespace rz_test
