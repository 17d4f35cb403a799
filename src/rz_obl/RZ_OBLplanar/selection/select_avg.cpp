#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"
#include "rz_obl/RZ_OBLplanar/selection/log_choice.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/selection/sign_of_slab.h"
#include "rz_obl/RZ_OBLplanar/selection/with_quality.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

namespace rz_obl {
namespace {

using Quality = RZ_OBL_RenditionQuality;

/// Both forms make the same bits.
void scan_linear_widest(const scan_args_16& args) {
    if (g_cpuFeatures.hasAvx2()) return scan_linear_avx2(args);
    return scan_linear(args);
}

void scan_semicubic_wide(const scan_args_16& args, int dominantAxis) {
    if (dominantAxis == 2) return scan_semicubic_z_avx2(args);
    if (dominantAxis == 1) return scan_semicubic_y_avx2(args);
    return scan_semicubic_x_avx2(args);
}

/// Both forms make the same bits.
void scan_semicubic(const scan_args_16& args, int dominantAxis) {
    if (g_cpuFeatures.hasAvx2()) return scan_semicubic_wide(args, dominantAxis);
    if (dominantAxis == 2) return scan_semicubic_z(args);
    if (dominantAxis == 1) return scan_semicubic_y(args);
    return scan_semicubic_x(args);
}

void scan_tricubic_widest(const scan_args_16& args) {
    if (g_cpuFeatures.hasAvx2()) return scan_tricubic_avx2(args);
    return scan_tricubic(args);
}

}  // namespace

// required: Cubic means the semi-cubic kernels here, with the half-sample shift that quality 3 switches on,
// and SemiCubic means linear
void scan_avg_12(const scan_args_16& args, const short*** /*fastIndex*/, int dominantAxis) {
    make_x_ascending(args.slabStep);
    if (static_cast<Quality>(args.quality) == Quality::Cubic) return scan_semicubic(args, dominantAxis);
    return scan_linear_widest(with_quality(args, Quality::Linear));
}

void scan_avg_12_2(const scan_args_16& args, int dominantAxis) {
    static constexpr char kEntry[] = "scan_avg_12_2";
    static const bool HasAvx2 = AllowAvx2For16 && g_cpuFeatures.hasAvx2();
    make_x_ascending(args.slabStep);
    const Quality q = ForceLinear ? Quality::Linear : static_cast<Quality>(args.quality);
    if (ForceTricubic) return scan_tricubic_widest(with_quality(args, q));

    if (q == Quality::Cubic && HasAvx2) {
        if (log_wanted(kEntry, __LINE__)) JrnGLog.Log("Cubic MPR with AVX2");
        return scan_cubic_avx2(args);
    }
    if (q == Quality::Cubic) {
        if (log_wanted(kEntry, __LINE__)) JrnGLog.Log("Cubic MPR with SSE");
        return scan_cubic_sse(args);
    }
    if (q == Quality::SemiCubic) {
        if (log_wanted(kEntry, __LINE__)) JrnGLog.Log("Semi-Cubic MPR");
        return scan_semicubic(args, dominantAxis);
    }
    if (log_wanted(kEntry, __LINE__)) JrnGLog.Log("Linear MPR");
    return scan_linear_widest(with_quality(args, Quality::Linear));
}

}  // namespace rz_obl
