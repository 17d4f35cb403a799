#include "tests/reference/bits32.h"

#include <cmath>

#include "tests/reference/cubic_weights.h"
#include "tests/reference/float_walk.h"

namespace rz_reference {
namespace {

using rz_test::Branches;

// Byte c of a pixel, counted from the least significant.
std::int32_t channel(std::uint32_t pixel, int c) {
    return static_cast<std::int32_t>((pixel >> (8 * c)) & 0xffU);
}

// Bytes 0 and 2 change places; byte 3 is 0.
std::uint32_t mean_pixel(std::int32_t sums[3], int n) {
    std::uint32_t pixel = 0;
    for (int c = 0; c < 3; ++c) {
        const std::uint32_t mean = static_cast<std::uint32_t>(rounded_mean(sums[c], n)) & 0xffU;
        pixel |= mean << (8 * (2 - c));
        sums[c] = 0;
    }
    return pixel;
}

void add_trilinear(const rz_obl::scan_args_32& args, float x, float y, float z, std::int32_t sums[3]) {
    // The integer parts are truncated, the fractions go down.
    const std::int32_t ix = truncated(static_cast<double>(x));
    const std::int32_t iy = truncated(static_cast<double>(y));
    const std::int32_t iz = truncated(static_cast<double>(z));
    const float fx = x - std::floor(x);
    const float fy = y - std::floor(y);
    const float fz = z - std::floor(z);
    const int width = args.sourceWidth;
    const std::int64_t offset = std::int64_t{iy} * width + ix;
    const std::uint32_t* p = args.slices[iz] + offset;
    const std::uint32_t* q = args.slices[iz + 1] + offset;
    const std::uint32_t pixels[8] = {p[0], p[1], p[width], p[width + 1], q[0], q[1], q[width], q[width + 1]};
    for (int c = 0; c < 3; ++c) {
        float s[8];
        for (int i = 0; i < 8; ++i) s[i] = static_cast<float>(channel(pixels[i], c));
        const float pUpper = s[0] * (1.0F - fx) + s[1] * fx;
        const float pLower = s[2] * (1.0F - fx) + s[3] * fx;
        const float qUpper = s[4] * (1.0F - fx) + s[5] * fx;
        const float qLower = s[6] * (1.0F - fx) + s[7] * fx;
        const float inP = pLower * fy + pUpper * (1.0F - fy);
        const float inQ = qLower * fy + qUpper * (1.0F - fy);
        const float between = inP * (1.0F - fz) + inQ * fz;
        const float value = between + 0.5F;
        sums[c] += truncated(static_cast<double>(value)) & 0xff;
    }
}

int entry_index(float at, Branches& branches) {
    const float fraction = at - std::floor(at);
    const float scaled = fraction * 64.0F;
    const std::int32_t index = truncated(static_cast<double>(scaled));
    if (index > 63) branches.met("entry index cut to 63");
    return std::max(std::min(index, 63), 0);
}

void add_cubic(const rz_obl::scan_args_32& args, float x, float y, float z, std::int32_t sums[3],
               Branches& branches) {
    const std::int32_t ix = truncated(static_cast<double>(x));
    const std::int32_t iy = truncated(static_cast<double>(y));
    const std::int32_t iz = truncated(static_cast<double>(z));
    short weights[64];
    Branches fillings;
    const int ez = entry_index(z, branches);
    const int ey = entry_index(y, branches);
    const int ex = entry_index(x, branches);
    cubic_entry(ez, ey, ex, weights, fillings);
    std::int32_t acc[3] = {0, 0, 0};
    for (int k = 0; k < 4; ++k) {
        for (int j = 0; j < 4; ++j) {
            for (int i = 0; i < 4; ++i) {
                const std::int64_t offset = std::int64_t{iy - 1 + j} * args.sourceWidth + (ix - 1 + i);
                const std::uint32_t pixel = args.slices[iz - 1 + k][offset];
                for (int c = 0; c < 3; ++c) acc[c] += weights[16 * k + 4 * j + i] * channel(pixel, c);
            }
        }
    }
    for (int c = 0; c < 3; ++c) {
        std::int32_t value = (acc[c] + 8192) >> 14;
        if (value < 0) branches.met("channel raised to 0");
        if (value > 255) branches.met("channel cut to 255");
        value = std::max(value, 0);
        value = std::min(value, 255);
        sums[c] += value;
    }
}

}  // namespace

void scan_linear_32bits(const rz_obl::scan_args_32& args, Branches& branches) {
    std::int32_t sums[3] = {0, 0, 0};
    float_walk(
        args, args.quality == 1, branches,
        [&](float x, float y, float z) { add_trilinear(args, x, y, z, sums); },
        [&](std::uint32_t& pixel, int n) { pixel = mean_pixel(sums, n); });
}

void scan_cubic_32bits(const rz_obl::scan_args_32& args, Branches& branches) {
    std::int32_t sums[3] = {0, 0, 0};
    float_walk(
        args, args.quality == 1, branches,
        [&](float x, float y, float z) { add_cubic(args, x, y, z, sums, branches); },
        [&](std::uint32_t& pixel, int n) { pixel = mean_pixel(sums, n); });
}

}  // namespace rz_reference
