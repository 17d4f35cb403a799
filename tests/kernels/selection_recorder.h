#pragma once

#include <array>
#include <string>
#include <vector>

// What the selection entries hand to the kernels. The linker sends their calls here (--wrap); no kernel runs.

namespace rz_test {

struct KernelCall {
    std::string kernel;
    int quality;
    /// Pointers as they came: the caller's own arrays and values.
    const void* columnStep;
    const void* slabStep;
    const void* output;
    const void* slices;
    const void* rowSpans;
    const void* planeToIndex;
    std::array<int*, 4> bounds;
    int rowCount;
    int rowStride;
    int slabSteps;
    int sourceWidth;
    int sourceHeight;
    bool isSigned;
    int bitDepth;
    /// The slab step's values at the call.
    std::array<double, 3> slab;
    /// 0 or 1 for the kernels that take it, else -1.
    int fast;
};

std::vector<KernelCall>& kernel_calls();

}  // namespace rz_test
