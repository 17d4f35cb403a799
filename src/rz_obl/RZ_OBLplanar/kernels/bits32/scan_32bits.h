#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

// Mean of the slab of 32-bit pixels, channel by channel. Bytes 0 and 2 change places between source and
// output.

void scan_linear_32bits(const scan_args_32& args);
/// The same bits, eight rows at once. Needs AVX2.
void scan_linear_32bits_avx2(const scan_args_32& args);
/// By the weight table, which must have been built. Both give the same bits.
void scan_cubic_32bits(const scan_args_32& args);
/// Needs AVX2.
void scan_cubic_32bits_avx2(const scan_args_32& args);

}  // namespace rz_obl
