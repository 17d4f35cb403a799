#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

// Between frame and kernels: each entry normalises the sign of the slab step, in place, picks one kernel and
// hands the arguments on. args.quality is the quality of the request here, and dominantAxis the source axis
// nearest the normal.

namespace rz_obl {

/// For RZ_NewCalcOblique. fastIndex is dropped.
void scan_avg_12(const scan_args_16& args, const short*** fastIndex, int dominantAxis);
/// For RZ_PlanarObliqueProjection.
void scan_avg_12_2(const scan_args_16& args, int dominantAxis);
void scan_max_12(const scan_args_16& args, const short*** fastIndex);
void scan_min_12(const scan_args_16& args, const short*** fastIndex);
void scan_avg_8bits(const scan_args_8& args);
void scan_max_8bits(const scan_args_8& args);
void scan_min_8bits(const scan_args_8& args);
/// dominantAxis is not read.
void scan_avg_32bits(const scan_args_32& args, int dominantAxis);

}  // namespace rz_obl
