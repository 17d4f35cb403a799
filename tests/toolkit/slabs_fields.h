#pragma once

#include <cstdint>

#include <gtest/gtest.h>

#include "tests/toolkit/core_fields.h"
#include "toolkit/core/volume.h"

// Volumes of noise, and their samples as numbers.

namespace rz_test {

/// Samples of the volume's kind and sign between two bounds, the bounds themselves among them.
inline rzobl::Volume noise_volume(Random& random, const rzobl::Grid& grid, rzobl::SampleKind kind,
                                  bool isSigned, int least, int greatest) {
    rzobl::Volume volume = rzobl::Volume::allocate(grid, kind);
    volume.isSigned = isSigned;
    for (int k = 0; k < grid.size[2]; ++k)
        for (int i = 0; i < grid.size[0] * grid.size[1]; ++i) {
            const int value = random.once_in(9)   ? greatest
                              : random.once_in(9) ? least
                                                  : random.between(least, greatest);
            if (kind == rzobl::SampleKind::Int16)
                static_cast<std::int16_t*>(volume.raster(k))[i] = static_cast<std::int16_t>(value);
            else
                static_cast<std::uint8_t*>(volume.raster(k))[i] = static_cast<std::uint8_t>(value);
        }
    return volume;
}

inline int sample_at(const rzobl::Volume& volume, int i, int j, int k) {
    const auto at = static_cast<std::size_t>(j) * static_cast<std::size_t>(volume.grid().size[0]) +
                    static_cast<std::size_t>(i);
    if (volume.kind() == rzobl::SampleKind::Int16) return static_cast<std::int16_t*>(volume.raster(k))[at];
    const std::uint8_t byte = static_cast<std::uint8_t*>(volume.raster(k))[at];
    return volume.isSigned ? static_cast<std::int8_t>(byte) : byte;
}

inline void expect_vector(const rzobl::Vec3& got, const rzobl::Vec3& want, double tolerance) {
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(got[k], want[k], tolerance) << "component " << k;
}

inline rzobl::Vec3 index(double i, double j, double k) {
    return {i, j, k};
}

}  // namespace rz_test
