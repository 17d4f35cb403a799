#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// The sample at the truncated coordinate, one plane whatever slabSteps says. What maximum and minimum do at
/// quality Nearest; the output's previous content takes no part.
void scan_nearest(const scan_args_16& args);

}  // namespace rz_obl
