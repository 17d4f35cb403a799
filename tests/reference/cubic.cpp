#include "tests/reference/cubic.h"

#include <algorithm>
#include <cstdint>

#include "tests/reference/cubic_weights.h"

namespace rz_reference {
namespace {

using rz_test::Branches;

std::int32_t wrapped(std::int64_t x) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(x)));
}

std::int32_t low_word(std::int32_t x) {
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(x) & 0xffffU);
}

template <class Float>
std::int32_t truncated(Float x) {
    if (x > static_cast<Float>(-2147483648.0) && x < static_cast<Float>(2147483648.0)) {
        return static_cast<std::int32_t>(x);
    }
    return INT32_MIN;
}

// Least and greatest of the 64 samples, of the sign that the case has.
void limit_to_neighbourhood(const short samples[64], bool isSigned, std::int32_t& r, Branches& branches) {
    std::int32_t least = INT32_MAX;
    std::int32_t greatest = INT32_MIN;
    for (int e = 0; e < 64; ++e) {
        const std::int32_t sample = isSigned ? samples[e] : static_cast<std::uint16_t>(samples[e]);
        least = std::min(least, sample);
        greatest = std::max(greatest, sample);
    }
    if (r < least) branches.met(isSigned ? "overshoot raised, signed" : "overshoot raised, unsigned");
    if (r > greatest) branches.met(isSigned ? "overshoot cut, signed" : "overshoot cut, unsigned");
    r = std::max(r, least);
    r = std::min(r, greatest);
}

std::int32_t table_sample(const rz_obl::scan_args_16& args, const std::int32_t at[3], bool overshootClamp,
                          Branches& branches) {
    const std::int32_t xi = at[0] >> 18;
    const std::int32_t yi = at[1] >> 18;
    const std::int32_t zi = at[2] >> 18;
    short samples[64];
    for (int k = 0; k < 4; ++k) {
        for (int j = 0; j < 4; ++j) {
            for (int i = 0; i < 4; ++i) {
                const std::int64_t offset = wrapped(std::int64_t{yi - 1 + j} * args.sourceWidth);
                samples[16 * k + 4 * j + i] = args.slices[zi - 1 + k][offset + (xi - 1 + i)];
            }
        }
    }
    const int fx = (at[0] >> 12) & 63;
    const int fy = (at[1] >> 12) & 63;
    const int fz = (at[2] >> 12) & 63;
    short weights[64];
    Branches fillings;
    cubic_entry(fz, fy, fx, weights, fillings);

    std::int32_t acc = 0;
    for (int e = 0; e < 64; ++e) acc = wrapped(std::int64_t{acc} + weights[e] * samples[e]);
    std::int32_t r = wrapped(std::int64_t{acc} + 0x2000) >> 14;
    if (args.isSigned) {
        if (r < -32768) branches.met("sample raised to -32768");
        r = std::max(r, -32768);
    } else {
        if (r < 0) branches.met("sample raised to 0");
        r = std::max(r, 0);
    }
    if (r > 32767) branches.met("sample cut to 32767");
    r = std::min(r, 32767);
    if (overshootClamp) limit_to_neighbourhood(samples, args.isSigned, r, branches);
    return low_word(r);
}

// (row y) x (1 - fy) + (row y + 1) x fy of one slice.
float bilinear(const short* p, std::int64_t offset, int width, float fx, float fy) {
    const float s0 = static_cast<float>(p[offset]);
    const float s1 = static_cast<float>(p[offset + 1]);
    const float s2 = static_cast<float>(p[offset + width]);
    const float s3 = static_cast<float>(p[offset + width + 1]);
    const float upper = s0 * (1.0F - fx) + s1 * fx;
    const float lower = s2 * (1.0F - fx) + s3 * fx;
    return upper * (1.0F - fy) + lower * fy;
}

std::int32_t border_sample(const rz_obl::scan_args_16& args, const std::int32_t at[3], Branches& branches) {
    const float k = 3.814697265625e-06F;
    float x = static_cast<float>(at[0]) * k;
    float y = static_cast<float>(at[1]) * k;
    const float z = static_cast<float>(at[2]) * k;
    const float xLimit = static_cast<float>(args.sourceWidth - 1) - 0.01F;
    const float yLimit = static_cast<float>(args.sourceHeight - 1) - 0.01F;
    if (x > xLimit) branches.met("border x limited");
    if (y > yLimit) branches.met("border y limited");
    if (z < 0.0F) branches.met("border with negative z");
    x = std::min(x, xLimit);
    y = std::min(y, yLimit);
    const std::int32_t ix = truncated(x);
    const std::int32_t iy = truncated(y);
    const std::int32_t iz = truncated(z);
    const float fx = x - static_cast<float>(ix);
    const float fy = y - static_cast<float>(iy);
    const float fz = z - static_cast<float>(iz);
    const std::int64_t offset = std::int64_t{iy} * args.sourceWidth + ix;
    float a = bilinear(args.slices[iz], offset, args.sourceWidth, fx, fy);
    a = a * (1.0F - fz);
    float b = bilinear(args.slices[iz + 1], offset, args.sourceWidth, fx, fy);
    b = b * fz;
    const float v = a + b;
    const double raised = static_cast<double>(v) + 0.5;
    const std::int32_t r = truncated(raised);
    if (r != low_word(r)) branches.met("border sample wraps");
    if (v < 0.0F) branches.met("border sample below 0");
    return low_word(r);
}

}  // namespace

void scan_cubic(const rz_obl::scan_args_16& args, bool overshootClamp, Branches& branches) {
    const int n = 2 * args.slabSteps + 1;
    const int width = args.sourceWidth;
    const int height = args.sourceHeight;
    std::int32_t back[3];
    for (int k = 0; k < 3; ++k) {
        back[k] = wrapped(std::int64_t{args.columnStep[k]} - std::int64_t{n} * args.slabStep[k]);
    }
    int firstRowSeen = -1;
    int lastRowSeen = 0;
    int leastColumn = args.rowStride;
    int greatestColumn = 0;

    for (int row = 0; row < args.rowCount; ++row) {
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (first == last) branches.met("span of one column");
        if (first > last) branches.met("empty span");
        if (first >= last) continue;
        if (firstRowSeen == -1) firstRowSeen = row;
        lastRowSeen = row;
        leastColumn = std::min<int>(leastColumn, first);
        greatestColumn = std::max<int>(greatestColumn, last);

        std::int32_t at[3];
        for (int k = 0; k < 3; ++k) {
            const float rowPart = static_cast<float>(row) * args.planeToIndex[1][k];
            const float columnPart = static_cast<float>(first) * args.planeToIndex[0][k];
            const float inPlane = rowPart + columnPart;
            const float start = inPlane + args.planeToIndex[3][k];
            const float scaled = start * 262144.0F;
            at[k] = truncated(scaled);
            if (args.slabSteps > 0) {
                at[k] = wrapped(at[k] - std::int64_t{args.slabSteps} * args.slabStep[k]);
            }
        }
        if (at[0] < 0) branches.met("x clamped at the start of a run");
        if (at[1] < 0) branches.met("y clamped at the start of a run");
        at[0] = std::max(at[0], 0);
        at[1] = std::max(at[1], 0);
        if (args.slabSteps < 0) branches.met("no plane at all");

        for (int column = first; column <= last; ++column) {
            std::int32_t sum = 0;
            std::int32_t count = 0;
            for (int plane = 0; plane < n; ++plane) {
                const std::int32_t xi = low_word(at[0] >> 18);
                const std::int32_t yi = low_word(at[1] >> 18);
                if (xi < 0 || yi < 0) {
                    branches.met("dropped before the first column or row");
                } else if (xi >= 1 && yi >= 1 && xi < width - 2 && yi < height - 2) {
                    branches.met("table sample");
                    sum += table_sample(args, at, overshootClamp, branches);
                    count += 1;
                } else if (xi >= width || yi >= height) {
                    branches.met("dropped behind the last column or row");
                } else {
                    branches.met("border sample");
                    sum += border_sample(args, at, branches);
                    count += 1;
                }
                for (int k = 0; k < 3; ++k) at[k] = wrapped(std::int64_t{at[k]} + args.slabStep[k]);
            }
            for (int k = 0; k < 3; ++k) at[k] = wrapped(std::int64_t{at[k]} + back[k]);
            if (count == 0) {
                branches.met("pixel without any plane");
                continue;
            }
            if (count < n) branches.met("mean over some of the planes");

            float mean = static_cast<float>(sum) / static_cast<float>(count);
            if (mean >= 0.0F) {
                mean = mean + 0.5F;
            } else {
                branches.met("mean below 0");
                mean = mean - 0.5F;
            }
            const std::int32_t v = truncated(mean);
            std::int32_t least = 0;
            std::int32_t greatest = (1 << args.bitDepth) - 1;
            if (args.isSigned) {
                least = -(1 << (args.bitDepth - 1));
                greatest = (1 << (args.bitDepth - 1)) - 1;
            }
            if (v < least) branches.met(args.isSigned ? "pixel raised, signed" : "pixel raised, unsigned");
            if (v > greatest) branches.met(args.isSigned ? "pixel cut, signed" : "pixel cut, unsigned");
            const std::int32_t limited = std::max(std::min(v, greatest), least);
            args.output[row * args.rowStride + column] = static_cast<short>(low_word(limited));
        }
    }

    if (firstRowSeen == -1) branches.met("no row seen");
    *args.firstRow = std::min(*args.firstRow, firstRowSeen == -1 ? 0 : firstRowSeen);
    *args.firstColumn = std::min(*args.firstColumn, leastColumn);
    *args.lastRow = std::max(*args.lastRow, lastRowSeen);
    *args.lastColumn = std::max(*args.lastColumn, greatestColumn);
}

}  // namespace rz_reference
