#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// Trilinear interpolation of 16-bit samples in 15-bit fixed point; a slab gives the mean, halves away from
/// zero.
void scan_linear(const scan_args_16& args);
/// The same bits, eight columns at once. Needs AVX2.
void scan_linear_avx2(const scan_args_16& args);

}  // namespace rz_obl
