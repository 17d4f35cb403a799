#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// Cubic interpolation by the weight table, trilinear at the faces; the mean of the planes that lie in the
/// volume. A pixel without any keeps its content. The weight table must have been built. Both give the same
/// bits.
void scan_cubic_sse(const scan_args_16& args);
/// Needs AVX2.
void scan_cubic_avx2(const scan_args_16& args);

}  // namespace rz_obl
