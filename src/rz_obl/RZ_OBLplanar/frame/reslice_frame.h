#pragma once

#include "rz_obl/RZ_OBLplanar/frame/reslice_request.h"

namespace rz_obl {

/// Where the output raster lies in the source.
struct reslice_frame {
    /// Output (column, row, 0, 1) to source index coordinates. Row 0 is the step per column, row 1 per row,
    /// row 3 the centre of output sample (0, 0).
    float planeToIndex[4][4];
    /// Source axis nearest the plane's normal.
    int dominantAxis;
    /// Height pairs (first, last column), inclusive, 16-bit to stay small. From malloc; the caller of
    /// make_reslice_frame frees them.
    short* rowSpans;
};

reslice_frame make_reslice_frame(const reslice_request& request);

}  // namespace rz_obl
