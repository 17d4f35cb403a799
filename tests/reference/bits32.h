#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

void scan_linear_32bits(const rz_obl::scan_args_32& args, rz_test::Branches& branches);
/// What both cubic kernels of 32-bit pixels do; the entries are made anew, not read from the table.
void scan_cubic_32bits(const rz_obl::scan_args_32& args, rz_test::Branches& branches);

}  // namespace rz_reference
