#pragma once

#include <string>
#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"

// Calls of RZ_OBLUtils::CalcObliqueVoldata into the lower library and to RZ_CalcOblique pass through here. A
// program links with the --wrap options of its CMake list.

namespace rz_test {

/// What a call of RZ_CalcOblique was handed, beyond what its event says.
struct PlaneCall {
    const void* slices = nullptr;
    const RZ_Box* volumeBox = nullptr;
    const RZ_BoxParams* volumeParams = nullptr;
    /// Whether the clip box is the output box's own; both are gone when the call is looked at.
    bool clippedByOutput = false;
    /// Content of the raster, as it was handed on.
    std::vector<short> raster;
    RZ_PlaneParams plane;
};

struct VoldataRecorder {
    /// "map 8", "handle", "allocate 240", "fill 60", "plane 0..7 half 0x0p+0 type 0", "unmap block", "unmap
    /// 8", "handle destroyed"; with the arguments that are not as always behind them.
    std::vector<std::string> events;
    std::vector<PlaneCall> planes;
    /// What new blocks hold.
    short fresh = 0;
    /// Requests of the pager that are still granted; negative for all.
    int granted = -1;
    /// RZ_CalcOblique throws std::bad_alloc.
    bool planeThrows = false;
    bool active = false;
};

VoldataRecorder& voldata_recorder();

/// Records while it lives, from a clean start.
class Recording {
  public:
    Recording() {
        voldata_recorder() = {};
        voldata_recorder().active = true;
    }
    ~Recording() { voldata_recorder() = {}; }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;
    VoldataRecorder& operator*() const { return voldata_recorder(); }
    VoldataRecorder* operator->() const { return &voldata_recorder(); }
};

}  // namespace rz_test
