#include "rz_obl/RZ_OBLplanar/frame/reslice_frame.h"

#include "rz_obl/RZ_OBLplanar/frame/dominant_axis.h"
#include "rz_obl/RZ_OBLplanar/frame/plane_to_index.h"
#include "rz_obl/RZ_OBLplanar/spans/clip_spans.h"
#include "rz_obl/RZ_OBLplanar/spans/row_spans.h"
#include "rz_obl/RZ_OBLplanar/spans/slab_spans.h"

namespace rz_obl {

reslice_frame make_reslice_frame(const reslice_request& request) {
    reslice_frame frame;
    make_plane_to_index(request.plane, request, frame.planeToIndex);
    frame.dominantAxis = dominant_axis(request.plane, request.volumeBox);
    frame.rowSpans = allocate_row_spans(request.outputBox.yDim);
    make_row_spans(frame.planeToIndex, request, frame.rowSpans);
    if (request.clipParams != nullptr) clip_row_spans(*request.clipParams, request.outputBox, frame.rowSpans);
    if (has_slab(request)) cut_row_spans_by_slab(request, frame.rowSpans);
    return frame;
}

}  // namespace rz_obl
