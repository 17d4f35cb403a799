#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_reference {

// The choice of a kernel and its run, for whole-frame comparisons. Steps are changed in place.
void scan_avg_12(const rz_obl::scan_args_16& args, int dominantAxis);
void scan_avg_12_2(const rz_obl::scan_args_16& args, int dominantAxis);
void scan_max_12(const rz_obl::scan_args_16& args);
void scan_min_12(const rz_obl::scan_args_16& args);
void scan_avg_8bits(const rz_obl::scan_args_8& args);
void scan_max_8bits(const rz_obl::scan_args_8& args);
void scan_min_8bits(const rz_obl::scan_args_8& args);
void scan_avg_32bits(const rz_obl::scan_args_32& args);

}  // namespace rz_reference
