#pragma once

#include "rz_obl/RZ_OBLplanar/frame/reslice_request.h"

namespace rz_obl {

/// Narrows the spans to the columns where both faces of the slab, with 1 % to spare, lie in the volume.
void cut_row_spans_by_slab(const reslice_request& request, short* spans);

}  // namespace rz_obl
