#include "rz_obl/RZ_OBLcurved/frame/box_entry_exit.h"

#include <algorithm>
#include <cmath>

rz_obl::RayRange rz_obl::box_entry_exit(const RZ_3Coord& direction, const RZ_3Coord& position) {
    const float d[3] = {direction.x, direction.y, direction.z};
    const float p[3] = {position.x, position.y, position.z};
    float lo = -1e10F;
    float hi = 1e10F;
    for (int k = 0; k < 3; ++k) {
        if (static_cast<double>(std::fabs(d[k])) > 1e-10) {
            const float far = (1.0F - p[k]) / d[k];
            const float near = -p[k] / d[k];
            if (0.0F > d[k]) {
                hi = std::min(hi, near);
                lo = std::max(lo, far);
            } else {
                hi = std::min(hi, far);
                lo = std::max(lo, near);
            }
        } else if (0.0F >= p[k] || p[k] >= 1.0F) {
            lo = 0.1F;
            hi = -1.0F;
            break;
        }
    }
    lo = lo + 0.01F;
    hi = hi - 0.01F;
    if (lo > 0.0F) lo = static_cast<float>(static_cast<double>(lo) + 1.0);
    if (0.0F > hi) hi = static_cast<float>(static_cast<double>(hi) - 1.0);
    return {lo, hi};
}
