#include "rz_obl/RZ_OBLplanar/kernels/max_min/pixel_major.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/plane_major.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"

namespace rz_obl {

void scan_min_plane_major(const scan_args_16& args, bool fast) {
    scan_plane_major<Minimum>(args, fast);
}

void scan_min_pixel_major(const scan_args_16& args, bool fast) {
    scan_pixel_major<Minimum>(args, fast);
}

void fill_columns_min(short* row, int first, int last) {
    fill_columns<Minimum>(row, first, last);
}

void fill_rows_min(int first, int last, int left, int right, int rowStride, short* output) {
    fill_rows<Minimum>(first, last, left, right, rowStride, output);
}

}  // namespace rz_obl
