#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

// Trilinear interpolation of 8-bit samples in float; mean, greatest or least of the slab.

void scan_linear_8bits(const scan_args_8& args);
void scan_max_linear_8bits(const scan_args_8& args);
void scan_min_linear_8bits(const scan_args_8& args);
// The same bits, eight rows at once. They need AVX2.
void scan_linear_8bits_avx2(const scan_args_8& args);
void scan_max_linear_8bits_avx2(const scan_args_8& args);
void scan_min_linear_8bits_avx2(const scan_args_8& args);

}  // namespace rz_obl
