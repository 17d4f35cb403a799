#include "rz_obl/RZ_OBLplanar/kernels/max_min/pixel_major.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/plane_major.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"

namespace rz_obl {

void scan_max_plane_major(const scan_args_16& args, bool fast) {
    scan_plane_major<Maximum>(args, fast);
}

void scan_max_pixel_major(const scan_args_16& args, bool fast) {
    scan_pixel_major<Maximum>(args, fast);
}

void fill_columns_max(short* row, int first, int last) {
    fill_columns<Maximum>(row, first, last);
}

void fill_rows_max(int first, int last, int left, int right, int rowStride, short* output) {
    fill_rows<Maximum>(first, last, left, right, rowStride, output);
}

}  // namespace rz_obl
