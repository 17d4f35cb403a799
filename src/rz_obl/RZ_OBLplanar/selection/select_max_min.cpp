#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_nearest.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/selection/sign_of_slab.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rendition.h"

namespace rz_obl {
namespace {

using Quality = RZ_OBL_RenditionQuality;

int magnitude(int x) {
    return x < 0 ? wrap_sub(0, x) : x;
}

/// Planes of one pixel then lie side by side in a source row. A tie, and so a step of zero, counts.
bool walks_mainly_along_x(const int slabStep[3]) {
    return slabStep[0] >= magnitude(slabStep[1]) && slabStep[0] >= magnitude(slabStep[2]);
}

}  // namespace

void scan_max_12(const scan_args_16& args, const short*** /*fastIndex*/) {
    make_x_ascending(args.slabStep);
    const Quality quality = static_cast<Quality>(args.quality);
    if (quality == Quality::Nearest) return scan_nearest(args);
    const bool fast = quality == Quality::LinearFast;
    const bool wide = g_cpuFeatures.hasAvx2();  // both forms make the same bits
    if (walks_mainly_along_x(args.slabStep)) {
        return wide ? scan_max_pixel_major_avx2(args, fast) : scan_max_pixel_major(args, fast);
    }
    return wide ? scan_max_plane_major_avx2(args, fast) : scan_max_plane_major(args, fast);
}

void scan_min_12(const scan_args_16& args, const short*** /*fastIndex*/) {
    make_x_ascending(args.slabStep);
    const Quality quality = static_cast<Quality>(args.quality);
    if (quality == Quality::Nearest) return scan_nearest(args);
    const bool fast = quality == Quality::LinearFast;
    const bool wide = g_cpuFeatures.hasAvx2();  // both forms make the same bits
    if (walks_mainly_along_x(args.slabStep)) {
        return wide ? scan_min_pixel_major_avx2(args, fast) : scan_min_pixel_major(args, fast);
    }
    return wide ? scan_min_plane_major_avx2(args, fast) : scan_min_plane_major(args, fast);
}

}  // namespace rz_obl
