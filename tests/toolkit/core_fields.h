#pragma once

#include <cmath>
#include <cstdint>

#include "tests/support/seeded.h"
#include "toolkit/core/plane_request.h"
#include "toolkit/core/vector.h"

// Random grids and volumes whose sample values say where they lie.

namespace rz_test {

inline rzobl::Vec3 random_direction(Random& random) {
    for (;;) {
        const rzobl::Vec3 v{random.real(-1, 1), random.real(-1, 1), random.real(-1, 1)};
        const double length = rzobl::length(v);
        if (length > 0.2 && length < 1) return rzobl::scaled(v, 1 / length);
    }
}

/// Any orientation, either handedness, anisotropic, up to half a metre from the origin.
inline rzobl::Grid random_grid(Random& random, int least = 20, int greatest = 40) {
    rzobl::Grid grid;
    const rzobl::Vec3 a = random_direction(random);
    rzobl::Vec3 b = random_direction(random);
    b = rzobl::added(b, rzobl::scaled(a, -rzobl::dot(a, b)));
    b = rzobl::scaled(b, 1 / rzobl::length(b));
    const double hand = random.once_in(2) ? 1 : -1;
    grid.direction = {a, b, rzobl::scaled(rzobl::cross(a, b), hand)};
    for (std::size_t k = 0; k < 3; ++k) {
        grid.size[k] = random.between(least, greatest);
        grid.spacing[k] = random.real(0.4F, 2.5F);
        grid.origin[k] = random.real(-500, 500);
    }
    return grid;
}

/// A value that rises evenly through space: gradient in units per millimetre, base at the grid's centre.
struct Ramp {
    rzobl::Vec3 at;
    rzobl::Vec3 gradient;
    double base;
    double operator()(const rzobl::Vec3& point) const {
        return base + rzobl::dot(rzobl::added(point, rzobl::scaled(at, -1)), gradient);
    }
};

/// A ramp of this slope in a random direction.
inline Ramp random_ramp(Random& random, const rzobl::Grid& grid, double slope, double base) {
    return {grid.centre(), rzobl::scaled(random_direction(random), slope), base};
}

template <class Sample>
void paint(rzobl::Volume& volume, const Ramp& ramp, int channel = 0) {
    const rzobl::Grid& grid = volume.grid();
    for (int k = 0; k < grid.size[2]; ++k) {
        auto* sample = static_cast<Sample*>(volume.raster(k));
        for (int j = 0; j < grid.size[1]; ++j)
            for (int i = 0; i < grid.size[0]; ++i, ++sample) {
                const auto value = std::lround(ramp(grid.toPhysical(
                    {static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)})));
                if (volume.kind() == rzobl::SampleKind::Rgb)
                    *sample = static_cast<Sample>(*sample | static_cast<Sample>(value << (8 * channel)));
                else
                    *sample = static_cast<Sample>(value);
            }
    }
}

/// Position of a pixel in space, from the picture's grid alone.
inline rzobl::Vec3 pixel_position(const rzobl::Image& image, int column, int row) {
    return image.grid.toPhysical({static_cast<double>(column), static_cast<double>(row), 0});
}

/// A plane through the inner half of the grid in any direction.
inline rzobl::PlaneRequest random_plane(Random& random, const rzobl::Grid& grid) {
    rzobl::PlaneRequest request;
    request.normal = rzobl::scaled(random_direction(random), random.real(0.1F, 9));
    request.up = random_direction(random);
    const auto inner = [&](std::size_t k) {
        return (grid.size[k] - 1) * static_cast<double>(random.real(0.3F, 0.7F));
    };
    request.centre = grid.toPhysical({inner(0), inner(1), inner(2)});
    request.size = {random.between(10, 60), random.between(10, 60)};
    request.spacing = random.real(0.3F, 1.5F);
    return request;
}

}  // namespace rz_test
