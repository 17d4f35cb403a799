#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

// Greatest and least interpolated sample of a slab. plane_major walks planes outside columns, pixel_major
// inside. fast samples every second row and column, doubles columnStep in place and fills the rest by
// averages.

void scan_max_plane_major(const scan_args_16& args, bool fast);
void scan_max_pixel_major(const scan_args_16& args, bool fast);
void scan_min_plane_major(const scan_args_16& args, bool fast);
void scan_min_pixel_major(const scan_args_16& args, bool fast);

/// Fills every second row of the rectangle between computed rows, where the average is greater.
void fill_rows_max(int first, int last, int left, int right, int rowStride, short* output);
/// The same, always.
void fill_rows_min(int first, int last, int left, int right, int rowStride, short* output);

}  // namespace rz_obl
