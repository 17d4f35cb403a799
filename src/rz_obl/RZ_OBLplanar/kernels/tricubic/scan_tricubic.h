#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// Catmull-Rom along all three axes in fixed point; planes outside count as 0.
void scan_tricubic(const scan_args_16& args);
/// The same bits, eight columns at once. Needs AVX2.
void scan_tricubic_avx2(const scan_args_16& args);

}  // namespace rz_obl
