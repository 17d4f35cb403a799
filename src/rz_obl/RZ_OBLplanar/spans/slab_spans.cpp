#include "rz_obl/RZ_OBLplanar/spans/slab_spans.h"

#include <cstdlib>

#include "rz_obl/RZ_OBLplanar/frame/plane_to_index.h"
#include "rz_obl/RZ_OBLplanar/spans/row_spans.h"

namespace rz_obl {

void cut_row_spans_by_slab(const reslice_request& request, short* spans) {
    const int height = request.outputBox.yDim;
    short* const faceSpans = allocate_row_spans(height);
    RZ_PlaneParams face = request.plane;
    const auto cut = [&] {
        float faceToIndex[4][4];
        make_plane_to_index(face, request, faceToIndex);
        make_row_spans(faceToIndex, request, faceSpans);
        intersect_row_spans(faceSpans, height, spans);
    };
    face.ParallelTranslate(request.halfThickness * 1.01F);
    cut();
    face.ParallelTranslate(request.halfThickness * -2.02F);  // from one face to the other
    cut();
    std::free(faceSpans);
}

}  // namespace rz_obl
