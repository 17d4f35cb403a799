#include "toolkit/core/grid.h"

#include <cmath>
#include <string>

#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

constexpr double kOrthonormal = 1e-3;

}  // namespace

Vec3 Grid::toPhysical(const Vec3& index) const {
    Vec3 point = origin;
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (std::size_t k = 0; k < 3; ++k) point[k] += index[axis] * spacing[axis] * direction[axis][k];
    return point;
}

Vec3 Grid::toIndex(const Vec3& point) const {
    // Cramer's rule: the directions are orthonormal only to a tolerance, and a point must come back exactly.
    const Vec3 offset{point[0] - origin[0], point[1] - origin[1], point[2] - origin[2]};
    const double volume = dot(direction[0], cross(direction[1], direction[2]));
    return {dot(offset, cross(direction[1], direction[2])) / volume / spacing[0],
            dot(offset, cross(direction[2], direction[0])) / volume / spacing[1],
            dot(offset, cross(direction[0], direction[1])) / volume / spacing[2]};
}

Vec3 Grid::centre() const {
    return toPhysical({0.5 * (size[0] - 1), 0.5 * (size[1] - 1), 0.5 * (size[2] - 1)});
}

RZ_Box Grid::box() const {
    const Vec3 start = toPhysical({-0.5, -0.5, -0.5});
    Vec3 sides[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
        for (std::size_t k = 0; k < 3; ++k)
            sides[axis][k] = direction[axis][k] * spacing[axis] * static_cast<double>(size[axis]);
    return {size[0], size[1], size[2],
            RZ_BoxParams(start.data(), sides[0].data(), sides[1].data(), sides[2].data())};
}

void Grid::check() const {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::string name = axis == 0 ? "columns" : axis == 1 ? "rows" : "slices";
        if (size[axis] < 1 || size[axis] > 32767)
            throw Error("the number of " + name + " must be 1 to 32767, not " + std::to_string(size[axis]));
        if (!(spacing[axis] > 0) || !std::isfinite(spacing[axis]))
            throw Error("the spacing of the " + name + " must be a positive number of millimetres, not " +
                        text(spacing[axis]));
    }
    if (!is_finite(origin)) throw Error("the origin must be finite, not " + text(origin));
    for (std::size_t a = 0; a < 3; ++a)
        for (std::size_t b = a; b < 3; ++b) {
            const double want = a == b ? 1 : 0;
            if (!(std::abs(dot(direction[a], direction[b]) - want) <= kOrthonormal))
                throw Error("the axis directions " + text(direction[0]) + ", " + text(direction[1]) + ", " +
                            text(direction[2]) + " are not unit vectors at right angles");
        }
}

}  // namespace rzobl
