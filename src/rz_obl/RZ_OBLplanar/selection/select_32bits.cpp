#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/selection/with_quality.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

namespace rz_obl {

using Quality = RZ_OBL_RenditionQuality;

namespace {

/// Both forms make the same bits.
void scan_linear_widest(const scan_args_32& args) {
    if (g_cpuFeatures.hasAvx2()) return scan_linear_32bits_avx2(args);
    return scan_linear_32bits(args);
}

}  // namespace

// No sign to settle, since the frame's step is ascending, and no log line.
void scan_avg_32bits(const scan_args_32& args, int /*dominantAxis*/) {
    if (static_cast<Quality>(args.quality) != Quality::Cubic)
        return scan_linear_widest(with_quality(args, Quality::Linear));
    if (g_cpuFeatures.hasAvx2() && AllowAvx2For32) return scan_cubic_32bits_avx2(args);
    return scan_cubic_32bits(args);
}

}  // namespace rz_obl
