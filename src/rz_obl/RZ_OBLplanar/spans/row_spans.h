#pragma once

#include "rz_obl/RZ_OBLplanar/frame/reslice_request.h"

namespace rz_obl {

/// Room for height pairs, from malloc; null, untested, if there is none.
short* allocate_row_spans(int height);

/// Per output row the columns whose neighbourhood lies in the sampled part of the volume: the whole row,
/// narrowed by the six half planes of that part.
void make_row_spans(const float planeToIndex[4][4], const reslice_request& request, short* spans);

/// Keeps in each row what both hold.
void intersect_row_spans(const short* other, int height, short* spans);

}  // namespace rz_obl
