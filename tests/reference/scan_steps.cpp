#include "tests/reference/scan_steps.h"

#include <algorithm>

namespace rz_reference {

std::int32_t wrapped(std::int64_t x) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(x)));
}

std::int32_t low_word(std::int32_t x) {
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(x) & 0xffffU);
}

std::int32_t saturated(std::int32_t x) {
    return std::min(std::max(x, -32768), 32767);
}

std::int32_t fraction15(std::int32_t q18) {
    return (q18 >> 3) & 0x7fff;
}

Point as_point(const int step[3]) {
    return {step[0], step[1], step[2]};
}

Point sum(const Point& a, const Point& b) {
    Point s{};
    for (std::size_t k = 0; k < 3; ++k) s[k] = wrapped(std::int64_t{a[k]} + b[k]);
    return s;
}

Point negated(const Point& a) {
    return multiple(-1, a);
}

Point multiple(std::int64_t n, const Point& a) {
    Point m{};
    for (std::size_t k = 0; k < 3; ++k) m[k] = wrapped(n * a[k]);
    return m;
}

Point start_in_plane(const rz_obl::scan_args_16& args, int row, int first) {
    const float r = static_cast<float>(row);
    const float c = static_cast<float>(first);
    Point p{};
    for (std::size_t k = 0; k < 3; ++k) {
        const float rowPart = r * args.planeToIndex[1][k];
        const float columnPart = c * args.planeToIndex[0][k];
        const float inPlane = rowPart + columnPart;
        const float samples = inPlane + args.planeToIndex[3][k];
        const float scaled = samples * 262144.0F;
        const bool fits = scaled >= -2147483648.0F && scaled < 2147483648.0F;
        p[k] = fits ? static_cast<std::int32_t>(scaled) : INT32_MIN;
    }
    return p;
}

Point moved_to_first_plane(const rz_obl::scan_args_16& args, const Point& p) {
    if (args.slabSteps <= 0) return p;
    return sum(p, negated(multiple(args.slabSteps, as_point(args.slabStep))));
}

Point clamped(const Point& p) {
    return {std::max(p[0], 0), std::max(p[1], 0), p[2]};
}

void SeenRows::see(int row, int first, int last) {
    if (firstRow == -1) firstRow = row;
    lastRow = row;
    leastColumn = std::min(leastColumn, first);
    greatestColumn = std::max(greatestColumn, last);
}

int SeenRows::first_row_or_0() const {
    return firstRow == -1 ? 0 : firstRow;
}

void SeenRows::merge_into(const rz_obl::scan_args_16& args) const {
    *args.firstRow = std::min(*args.firstRow, first_row_or_0());
    *args.firstColumn = std::min(*args.firstColumn, leastColumn);
    *args.lastRow = std::max(*args.lastRow, lastRow);
    *args.lastColumn = std::max(*args.lastColumn, greatestColumn);
}

}  // namespace rz_reference
