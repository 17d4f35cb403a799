#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "rz_obl/rz_obl.h"
#include "tests/cases/simple_request.h"
#include "tests/frames/recorder.h"

// One call of a planar function, with everything that it did.

namespace rz_test {

struct Answer {
    int result;
    Fenced<short> output;
    std::array<int, 4> bounds;
    /// Nothing if no entry was called.
    std::optional<Recorded> scan;

    std::array<int, 2> span(int row) const {
        const auto i = static_cast<std::size_t>(2 * row);
        return {scan->spans[i], scan->spans[i + 1]};
    }
    bool empty(int row) const { return span(row)[0] >= span(row)[1]; }
    float matrix(int row, int column) const {
        return scan->planeToIndex[static_cast<std::size_t>(4 * row + column)];
    }
};

/// RZ_CalcOblique over all slices; run false only records the scan.
Answer calc_oblique(PlanarRequest& request, bool run = true);
/// RZ_PlanarObliqueProjection of a 16-bit volume.
Answer project(PlanarRequest& request, bool run = true);

}  // namespace rz_test
