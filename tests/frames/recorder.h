#pragma once

#include <array>
#include <string>
#include <vector>

// What the planar frames hand to the entries of the selection. The linker sends the frames' calls through a
// recorder (--wrap), which notes the arguments and then calls the entry.

namespace rz_test {

struct Recorded {
    std::string entry;
    int rowCount = 0;
    int rowStride = 0;
    int slabSteps = 0;
    std::vector<short> spans;
    std::array<float, 16> planeToIndex{};
    /// Q18 or float, as the entry takes them.
    std::array<int, 3> columnStepQ18{};
    std::array<int, 3> slabStepQ18{};
    std::array<float, 3> columnStepFloat{};
    std::array<float, 3> slabStepFloat{};
    /// The table's entries from -2 to depth + 1.
    std::vector<const void*> slices;
    const void* output = nullptr;
    const void* fastIndex = nullptr;
    int sourceWidth = 0;
    int sourceHeight = 0;
    int quality = 0;
    std::array<int*, 4> bounds{};
    bool isSigned = false;
    int bitDepth = 0;
    int dominantAxis = -1;
};

/// What happens at the entries from now on.
struct Recorder {
    /// Calls so far.
    std::vector<Recorded> calls;
    /// Depth of the volumes, to know how many table entries to note.
    int depth = 0;
    /// Whether the entry itself runs afterwards.
    bool callThrough = true;
    /// The next call ends in WKR_CANCEL_EXCEPTION.
    bool cancel = false;
    /// Called at every entry, if set.
    void (*atCall)() = nullptr;
};

Recorder& recorder();

}  // namespace rz_test
