#include "rz_obl/volume_services/resample/resample_rows.h"

// Stands in for the wide forms, at link time.

void narrow_16(const rz_obl::resample_args& args) __asm__(
    "__wrap__ZN6rz_obl16resample_16_avx2ERKNS_13resample_argsE");
void narrow_16(const rz_obl::resample_args& args) {
    rz_obl::resample_16(args);
}

void narrow_float(const rz_obl::resample_args& args) __asm__(
    "__wrap__ZN6rz_obl19resample_float_avx2ERKNS_13resample_argsE");
void narrow_float(const rz_obl::resample_args& args) {
    rz_obl::resample_float(args);
}
