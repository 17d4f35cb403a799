#pragma once

#include <cstddef>
#include <cstdint>

#include "rz_obl/RZ_OBLcurved/workers/line_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"

namespace rz_obl {

struct Byte {
    using Sample = std::uint8_t;
    static constexpr float kLeast = 0.0F;
    static constexpr float kGreatest = 255.0F;
};

struct Word {
    using Sample = std::int16_t;
    static constexpr float kLeast = -32768.0F;
    static constexpr float kGreatest = 32767.0F;
};

/// Trilinear. Truncation, not floor: a position below 0 extrapolates by a negative fraction.
template <class Type>
static inline float curve_sample(const line_args& line, float x, float y, float z) {
    using Sample = typename Type::Sample;
    const int ix = trunc_to_int(x);
    const int iy = trunc_to_int(y);
    const int iz = trunc_to_int(z);
    const float fx = x - static_cast<float>(ix);
    const float fy = y - static_cast<float>(iy);
    const float fz = z - static_cast<float>(iz);
    const std::ptrdiff_t w = line.sourceWidth;
    const std::ptrdiff_t i = wrap_add(wrap_mul(iy, line.sourceWidth), ix);
    const auto plane = [&](const void* raster) {
        const Sample* s = static_cast<const Sample*>(raster);
        const auto at = [s](std::ptrdiff_t k) { return static_cast<float>(s[k]); };
        return (at(i + w) * (1.0F - fx) + at(i + w + 1) * fx) * fy +
               (at(i + 1) * fx + at(i) * (1.0F - fx)) * (1.0F - fy);
    };
    const float lower = plane(line.rasters[iz]);
    const float upper = plane(line.rasters[static_cast<std::ptrdiff_t>(iz) + 1]);
    return lower * (1.0F - fz) + upper * fz;
}

/// Rounds by adding 0.5 and truncating, also below 0: -3.7 gives -3. Required.
template <class Type>
static inline typename Type::Sample curve_pixel(float value) {
    float v = value + 0.5F;
    if (v < Type::kLeast) v = Type::kLeast;
    if (!(v < Type::kGreatest)) v = Type::kGreatest;
    return static_cast<typename Type::Sample>(static_cast<int>(v));
}

struct Walker {
    float x, y, z;

    explicit Walker(const float p[3]) : x(p[0]), y(p[1]), z(p[2]) {}
    void move(const float by[3]) {
        x += by[0];
        y += by[1];
        z += by[2];
    }
};

template <class Type>
void line_avg(const line_args& line, typename Type::Sample* outputEnd) {
    Walker p(line.position);
    for (std::ptrdiff_t o = -line.total; o < 0; o += line.outputStep) {
        float sum = 0.0F;
        int count = 0;
        for (auto left = static_cast<std::int16_t>(low16(line.samples)); left > 0; --left) {
            sum = sum + curve_sample<Type>(line, p.x, p.y, p.z);
            p.move(line.step);
            ++count;
        }
        p.move(line.advance);
        if (count != 0) sum = sum / static_cast<float>(count);
        outputEnd[o] = curve_pixel<Type>(sum);
    }
}

struct Greater {
    static bool beats(float sample, float best) { return sample > best; }
};

struct Less {
    static bool beats(float sample, float best) { return sample < best; }
};

/// Greatest or least sample. The depth of the last pixel's winner seeds the next pixel; its position comes
/// from one product, those of the others from repeated sums, and both take part.
template <class Type, class Order>
void line_extreme(const line_args& line, typename Type::Sample* outputEnd) {
    Walker p(line.position);
    int best = line.samples;
    for (std::ptrdiff_t o = -line.total; o < 0; o += line.outputStep) {
        const float depth = static_cast<float>(line.samples - best);
        float m = curve_sample<Type>(line, p.x + depth * line.step[0], p.y + depth * line.step[1],
                                     p.z + depth * line.step[2]);
        for (int r = line.samples; r >= 1; --r) {
            const float s = curve_sample<Type>(line, p.x, p.y, p.z);
            if (Order::beats(s, m)) {
                m = s;
                best = r;
            }
            p.move(line.step);
        }
        p.move(line.advance);
        outputEnd[o] = curve_pixel<Type>(m);
    }
}

}  // namespace rz_obl
