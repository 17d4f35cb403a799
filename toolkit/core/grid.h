#pragma once

#include <array>

#include "lower/geometry/box.h"

namespace rzobl {

using Vec3 = std::array<double, 3>;

/// Where the samples of a volume or an image lie: the patient frame of DICOM (LPS: x to the patient's left, y
/// to the back, z to the head), millimetres, positions of sample centres.
struct Grid {
    std::array<int, 3> size{0, 0, 0};
    /// Millimetres between sample centres along i (columns), j (rows), k (slices).
    Vec3 spacing{1, 1, 1};
    /// Centre of sample (0, 0, 0).
    Vec3 origin{0, 0, 0};
    /// Unit direction of each axis: direction[0] along i, [1] along j, [2] along k. Orthogonal; either
    /// handedness.
    std::array<Vec3, 3> direction{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    /// Physical position of an index, and back.
    Vec3 toPhysical(const Vec3& index) const;
    Vec3 toIndex(const Vec3& point) const;
    /// Physical position of the middle of the grid's extent.
    Vec3 centre() const;
    /// The library's box of the same grid.
    RZ_Box box() const;
    /// Throws Error, with the name of what is wrong, unless sizes are 1 to 32767, spacings positive and
    /// finite, the origin finite and the directions orthonormal to 1e-3.
    void check() const;
};

}  // namespace rzobl
