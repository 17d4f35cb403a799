#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/selection/log_choice.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/selection/sign_of_slab.h"
#include "rz_obl/RZ_OBLplanar/selection/with_quality.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

namespace rz_obl {

namespace {

using Quality = RZ_OBL_RenditionQuality;
using Kernel = void (*)(const scan_args_8&);

/// Both forms make the same bits.
void run_widest(Kernel wide, Kernel narrow, const scan_args_8& args) {
    const Kernel kernel = g_cpuFeatures.hasAvx2() ? wide : narrow;
    kernel(with_quality(args, Quality::Linear));
}

}  // namespace

void scan_avg_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_avg_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MPR");
    run_widest(scan_linear_8bits_avx2, scan_linear_8bits, args);
}

void scan_max_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_max_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MaxPR");
    run_widest(scan_max_linear_8bits_avx2, scan_max_linear_8bits, args);
}

void scan_min_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_min_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MinPR");
    run_widest(scan_min_linear_8bits_avx2, scan_min_linear_8bits, args);
}

}  // namespace rz_obl
