#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

void scan_linear_8bits(const rz_obl::scan_args_8& args, rz_test::Branches& branches);
void scan_max_linear_8bits(const rz_obl::scan_args_8& args, rz_test::Branches& branches);
void scan_min_linear_8bits(const rz_obl::scan_args_8& args, rz_test::Branches& branches);

}  // namespace rz_reference
