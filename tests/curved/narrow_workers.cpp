#include "rz_obl/RZ_OBLcurved/workers/curve_worker.h"

// Stands in for the wide workers, at link time.

#define RZ_NARROW(worker, length)                                                                           \
    void narrow_##worker(const rz_obl::curve_worker_args& args) __asm__("__wrap__ZN6rz_obl" #length #worker \
                                                                        "_avx2ERKNS_17curve_worker_argsE"); \
    void narrow_##worker(const rz_obl::curve_worker_args& args) {                                           \
        rz_obl::worker(args);                                                                               \
    }

RZ_NARROW(curve_avg_8, 16)
RZ_NARROW(curve_avg_16, 17)
RZ_NARROW(curve_max_8, 16)
RZ_NARROW(curve_max_16, 17)
RZ_NARROW(curve_min_8, 16)
RZ_NARROW(curve_min_16, 17)
