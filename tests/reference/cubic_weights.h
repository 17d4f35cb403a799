#pragma once

#include "tests/support/branches.h"

namespace rz_reference {

/// The cubic of Mitchell and Netravali for B = 0, C = 0.5 at distance x.
double cubic_weight(double x);
/// Fills an entry up to a sum of 16384, one unit at a time.
void fill_up(short entry[64], rz_test::Branches& branches);
/// One entry of the table by itself: 64 weights, z slowest, x fastest.
void cubic_entry(int fz, int fy, int fx, short entry[64], rz_test::Branches& branches);

}  // namespace rz_reference
