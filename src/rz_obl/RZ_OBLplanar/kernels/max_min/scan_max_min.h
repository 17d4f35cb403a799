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

// The same bits, eight columns (or for a pixel-major minimum eight rows) at once. Need AVX2.

void scan_max_plane_major_avx2(const scan_args_16& args, bool fast);
void scan_max_pixel_major_avx2(const scan_args_16& args, bool fast);
void scan_min_plane_major_avx2(const scan_args_16& args, bool fast);
void scan_min_pixel_major_avx2(const scan_args_16& args, bool fast);

/// Fills the columns first + 1, first + 3, ... of a run between sampled ones, where the average is greater.
void fill_columns_max(short* row, int first, int last);
/// The same, always.
void fill_columns_min(short* row, int first, int last);

/// Fills every second row of the rectangle between computed rows, where the average is greater.
void fill_rows_max(int first, int last, int left, int right, int rowStride, short* output);
/// The same, always.
void fill_rows_min(int first, int last, int left, int right, int rowStride, short* output);

}  // namespace rz_obl
