#pragma once

#include <cstdint>

/// Interpolation of an image. The numbers are part of the interface.
enum class RZ_OBL_RenditionQuality : std::int32_t {
    /// Maximum and minimum: the sample at the truncated coordinate. Average: linear, half a sample off by
    /// design.
    /// Never a slab.
    Nearest = 0,
    /// Linear; maximum and minimum compute every second row and column and fill the rest.
    LinearFast = 1,
    /// Cubic along the two axes nearest the plane, linear along the third (RZ_PlanarObliqueProjection only).
    SemiCubic = 2,
    /// Cubic along all three axes in RZ_PlanarObliqueProjection; the semi-cubic kernels in RZ_CalcOblique.
    Cubic = 3,
    Linear = 4,
};

/// How the samples of a slab become one pixel. The numbers are part of the interface; any other value draws
/// nothing.
enum class RZ_OBL_RenditionType : std::int32_t {
    Average = 0,
    Maximum = 1,
    Minimum = 2,
};
