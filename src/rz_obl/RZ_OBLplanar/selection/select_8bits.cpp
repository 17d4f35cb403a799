#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/selection/log_choice.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/selection/sign_of_slab.h"
#include "rz_obl/RZ_OBLplanar/selection/with_quality.h"

namespace rz_obl {

using Quality = RZ_OBL_RenditionQuality;

void scan_avg_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_avg_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MPR");
    scan_linear_8bits(with_quality(args, Quality::Linear));
}

void scan_max_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_max_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MaxPR");
    scan_max_linear_8bits(with_quality(args, Quality::Linear));
}

void scan_min_8bits(const scan_args_8& args) {
    make_x_ascending(args.slabStep);
    if (log_wanted("scan_min_8bits", __LINE__)) JrnGLog.Log("8 bits Linear MinPR");
    scan_min_linear_8bits(with_quality(args, Quality::Linear));
}

}  // namespace rz_obl
