#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/kernels/position.h"

// Trilinear interpolation in float, for the samples at the faces of a volume, which lack a 4x4x4
// neighbourhood. `static inline`, since wide files include this too.

namespace rz_obl {

/// Two rows of one slice: raster points to the left sample of the upper row.
static inline float bilinear_16(const short* raster, int sourceWidth, float fx, float fy) {
    const auto sample = [raster](std::ptrdiff_t offset) { return static_cast<float>(raster[offset]); };
    const std::ptrdiff_t below = sourceWidth;
    return (sample(0) * (1.0F - fx) + sample(1) * fx) * (1.0F - fy) +
           (sample(below) * (1.0F - fx) + sample(below + 1) * fx) * fy;
}

/// p: in Q18, x and y not negative. Reads up to the last column and row, never past them.
static inline std::int32_t border_sample(const short* const* slices, const q18_point& p, int sourceWidth,
                                         int sourceHeight) {
    constexpr float kSamples = 3.814697265625e-06F;
    const float limitX = static_cast<float>(sourceWidth - 1) - 0.01F;
    const float limitY = static_cast<float>(sourceHeight - 1) - 0.01F;
    const float rawX = static_cast<float>(p.x) * kSamples;
    const float rawY = static_cast<float>(p.y) * kSamples;
    const float x = rawX < limitX ? rawX : limitX;
    const float y = rawY < limitY ? rawY : limitY;
    const float z = static_cast<float>(p.z) * kSamples;

    // required: toward zero also for z < 0, where the fraction is negative: slices 0 and 1 extrapolate
    const std::int32_t ix = trunc_to_int(x);
    const std::int32_t iy = trunc_to_int(y);
    const std::int32_t iz = trunc_to_int(z);
    const float fx = x - static_cast<float>(ix);
    const float fy = y - static_cast<float>(iy);
    const float fz = z - static_cast<float>(iz);

    const std::int32_t offset = wrap_add(wrap_mul(iy, sourceWidth), ix);
    const float a = bilinear_16(slices[iz] + offset, sourceWidth, fx, fy) * (1.0F - fz);
    const float b = bilinear_16(slices[iz + 1] + offset, sourceWidth, fx, fy) * fz;
    // required: not symmetric about 0: -1.2 gives 0, -1.6 gives -1
    return low16(trunc_to_int(static_cast<double>(a + b) + 0.5));
}

}  // namespace rz_obl
