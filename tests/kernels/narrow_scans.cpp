#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"

// Stands in for the wide linear, maximum and minimum kernels, at link time.

using rz_obl::scan_args_16;

void narrow_linear(const scan_args_16& args) __asm__(
    "__wrap__ZN6rz_obl16scan_linear_avx2ERKNS_9scan_argsIsiEE");
void narrow_linear(const scan_args_16& args) {
    rz_obl::scan_linear(args);
}

#define RZ_NARROW(kernel)                                                                                 \
    void narrow_##kernel(const scan_args_16& args,                                                        \
                         bool fast) __asm__("__wrap__ZN6rz_obl25" #kernel "_avx2ERKNS_9scan_argsIsiEEb"); \
    void narrow_##kernel(const scan_args_16& args, bool fast) {                                           \
        rz_obl::kernel(args, fast);                                                                       \
    }

RZ_NARROW(scan_max_pixel_major)
RZ_NARROW(scan_max_plane_major)
RZ_NARROW(scan_min_pixel_major)
RZ_NARROW(scan_min_plane_major)
