#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// The semi-cubic kernels, one statement per step. branches: what the cases met.
void scan_semicubic_x(const rz_obl::scan_args_16& args, rz_test::Branches& branches);
void scan_semicubic_y(const rz_obl::scan_args_16& args, rz_test::Branches& branches);
void scan_semicubic_z(const rz_obl::scan_args_16& args, rz_test::Branches& branches);

}  // namespace rz_reference
