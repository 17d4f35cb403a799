#pragma once

#include <array>
#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// What the references of several 16-bit kernels do alike.

namespace rz_reference {

/// A position or a step: x, y, z in Q18.
using Point = std::array<std::int32_t, 3>;

/// The low 32 bits.
std::int32_t wrapped(std::int64_t x);
/// The low 16 bits, sign-extended.
std::int32_t low_word(std::int32_t x);
/// To [-32768, 32767].
std::int32_t saturated(std::int32_t x);
/// The 15 bits below the index.
std::int32_t fraction15(std::int32_t q18);

Point as_point(const int step[3]);
Point sum(const Point& a, const Point& b);
Point negated(const Point& a);
Point multiple(std::int64_t n, const Point& a);

/// The start of a run in the plane: steps before the slab and the clamp.
Point start_in_plane(const rz_obl::scan_args_16& args, int row, int first);
/// To the slab plane furthest on the negative side.
Point moved_to_first_plane(const rz_obl::scan_args_16& args, const Point& p);
/// x and y limited below by 0.
Point clamped(const Point& p);

/// The four values that make up the dirty bounds.
struct SeenRows {
    int firstRow = -1;
    int lastRow = 0;
    int leastColumn;
    int greatestColumn = 0;

    explicit SeenRows(int rowStride) : leastColumn(rowStride) {}
    void see(int row, int first, int last);
    int first_row_or_0() const;
    void merge_into(const rz_obl::scan_args_16& args) const;
};

}  // namespace rz_reference
