#include "rz_obl/volume_services/resample/resample_rows.h"

// Stands in for the wide rows, at link time.

void narrow_row_16(const rz_obl::resample_row_args& args) __asm__(
    "__wrap__ZN6rz_obl20resample_row_16_avx2ERKNS_17resample_row_argsE");
void narrow_row_16(const rz_obl::resample_row_args& args) {
    rz_obl::resample_row_16(args);
}

void narrow_row_float(const rz_obl::resample_row_args& args) __asm__(
    "__wrap__ZN6rz_obl23resample_row_float_avx2ERKNS_17resample_row_argsE");
void narrow_row_float(const rz_obl::resample_row_args& args) {
    rz_obl::resample_row_float(args);
}
