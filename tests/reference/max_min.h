#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/branches.h"

namespace rz_reference {

// Maximum and minimum projection of 16-bit samples, one statement per step. branches: what the cases met.

void scan_max_plane_major(const rz_obl::scan_args_16& args, bool fast, rz_test::Branches& branches);
void scan_min_plane_major(const rz_obl::scan_args_16& args, bool fast, rz_test::Branches& branches);
void scan_max_pixel_major(const rz_obl::scan_args_16& args, bool fast, rz_test::Branches& branches);
void scan_min_pixel_major(const rz_obl::scan_args_16& args, bool fast, rz_test::Branches& branches);

/// The entries: sign of the slab step, nearest path, choice of the loop order.
void scan_max_12(const rz_obl::scan_args_16& args, rz_test::Branches& branches);
void scan_min_12(const rz_obl::scan_args_16& args, rz_test::Branches& branches);

void fill_rows_max(int first, int last, int left, int right, int rowStride, short* output,
                   rz_test::Branches& branches);
void fill_rows_min(int first, int last, int left, int right, int rowStride, short* output,
                   rz_test::Branches& branches);

}  // namespace rz_reference
