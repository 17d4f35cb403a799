#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// Catmull-Rom along two source axes, linear along the third (x, y or z by name); planes outside count as 0.
/// quality 3 shifts the image by half a sample in x and y.
void scan_semicubic_x(const scan_args_16& args);
void scan_semicubic_y(const scan_args_16& args);
void scan_semicubic_z(const scan_args_16& args);
// The same bits, eight columns at once. They need AVX2.
void scan_semicubic_x_avx2(const scan_args_16& args);
void scan_semicubic_y_avx2(const scan_args_16& args);
void scan_semicubic_z_avx2(const scan_args_16& args);

}  // namespace rz_obl
