#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// What both cubic kernels of 16-bit samples do; the entries are made anew, not read from the table.
void scan_cubic(const rz_obl::scan_args_16& args, bool overshootClamp, rz_test::Branches& branches);

}  // namespace rz_reference
