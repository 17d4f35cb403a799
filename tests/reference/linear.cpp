#include "tests/reference/linear.h"

#include <algorithm>
#include <cstdint>

namespace rz_reference {
namespace {

// Sums and products that wrap in 32 bits.
std::int32_t wrapped(std::int64_t x) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(x)));
}

std::int32_t low_word(std::int32_t x) {
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(x) & 0xffffU);
}

std::int32_t truncated(float x) {
    if (x >= -2147483648.0F && x < 2147483648.0F) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

std::int32_t saturated(std::int32_t x) {
    return std::min(std::max(x, -32768), 32767);
}

// The weights add up to 32767.
std::int32_t blend(std::int32_t a, std::int32_t b, std::int32_t fraction) {
    return (a * (fraction ^ 0x7fff) + b * fraction) >> 15;
}

std::int32_t trilinear(const rz_obl::scan_args_16& args, const std::int32_t at[3]) {
    const std::int32_t xi = at[0] >> 18;
    const std::int32_t yi = at[1] >> 18;
    const std::int32_t zi = at[2] >> 18;
    const std::int32_t width = args.sourceWidth;
    const std::int32_t offset = low_word(xi) * 1 + low_word(yi) * low_word(width);
    const std::int32_t fx = (at[0] >> 3) & 0x7fff;
    const std::int32_t fy = (at[1] >> 3) & 0x7fff;
    const std::int32_t fz = (at[2] >> 3) & 0x7fff;
    const short* p = args.slices[zi] + offset;
    const short* q = args.slices[zi + 1] + offset;

    const std::int32_t p0 = saturated(blend(p[0], p[1], fx));
    const std::int32_t p1 = saturated(blend(p[width], p[width + 1], fx));
    const std::int32_t q0 = saturated(blend(q[0], q[1], fx));
    const std::int32_t q1 = saturated(blend(q[width], q[width + 1], fx));
    const std::int32_t py = saturated(blend(p0, p1, fy));
    const std::int32_t qy = saturated(blend(q0, q1, fy));
    return low_word(blend(py, qy, fz));
}

}  // namespace

void scan_linear(const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    const int n = 2 * args.slabSteps + 1;
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
        if (!(first < last)) {
            branches.met(first == last ? "span of one column" : "empty span");
            continue;
        }
        if (firstRowSeen == -1) firstRowSeen = row;
        lastRowSeen = row;
        if (first < leastColumn) leastColumn = first;
        if (last > greatestColumn) greatestColumn = last;

        const float r = static_cast<float>(row);
        const float c = static_cast<float>(first);
        const auto* m = args.planeToIndex;
        std::int32_t at[3];
        for (int k = 0; k < 3; ++k) {
            const float rowPart = r * m[1][k];
            const float columnPart = c * m[0][k];
            const float sum = rowPart + columnPart;
            const float start = sum + m[3][k];
            const float scaled = start * 262144.0F;
            at[k] = truncated(scaled);
        }
        if (args.slabSteps > 0) {
            for (int k = 0; k < 3; ++k) {
                at[k] = wrapped(at[k] - std::int64_t{args.slabSteps} * args.slabStep[k]);
            }
        }
        if (at[0] < 0) branches.met("x clamped at the start of a run");
        if (at[1] < 0) branches.met("y clamped at the start of a run");
        if (at[0] < 0) at[0] = 0;
        if (at[1] < 0) at[1] = 0;
        if (args.slabSteps < 0) branches.met("no plane at all");

        for (int column = first; column <= last; ++column) {
            std::int32_t sum = 0;
            for (int plane = 0; plane < n; ++plane) {
                if (at[2] < 0) branches.met("guard slice before the first");
                sum += trilinear(args, at);
                for (int k = 0; k < 3; ++k) at[k] = wrapped(std::int64_t{at[k]} + args.slabStep[k]);
            }
            float mean = static_cast<float>(sum) / static_cast<float>(n);
            if (args.slabSteps > 0) branches.met(mean >= 0.0F ? "slab mean up" : "slab mean down");
            if (mean >= 0.0F) {
                mean = mean + 0.5F;
            } else {
                mean = mean - 0.5F;
            }
            args.output[row * args.rowStride + column] = static_cast<short>(low_word(truncated(mean)));
            for (int k = 0; k < 3; ++k) at[k] = wrapped(std::int64_t{at[k]} + back[k]);
        }
    }

    if (firstRowSeen == -1) branches.met("no row seen");
    const int candidate = firstRowSeen == -1 ? 0 : firstRowSeen;
    *args.firstRow = std::min(*args.firstRow, candidate);
    *args.firstColumn = std::min(*args.firstColumn, leastColumn);
    *args.lastRow = std::max(*args.lastRow, lastRowSeen);
    *args.lastColumn = std::max(*args.lastColumn, greatestColumn);
}

}  // namespace rz_reference
