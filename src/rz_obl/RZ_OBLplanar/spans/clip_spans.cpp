#include "rz_obl/RZ_OBLplanar/spans/clip_spans.h"

#include "lower/definitions/matrix.h"
#include "lower/geometry/clip_bounds.h"

namespace rz_obl {

void clip_row_spans(const RZ_BoxParams& clipParams, const RZ_Box& outputBox, short* spans) {
    float toNormalised[4][4];
    clipParams.GetNormTrans(toNormalised);
    float toPhysical[4][4];
    outputBox.GetIndexToPhysicalTrans(toPhysical);
    float indexToClip[4][4];
    RZ_Mmul(toPhysical, toNormalised, indexToClip);

    for (int i = 0; i < 4; ++i) {  // u >= -0.01, u <= 1.01, v >= -0.01, v <= 1.01
        const float s = (i & 1) != 0 ? 1.0F : -1.0F;
        float e[4] = {0.0F, 0.0F, 0.0F, s > 0.0F ? -1.01F : -0.01F};
        e[i >> 1] = s;
        RZ_eqtrans(e, indexToClip);
        RZ_update_clip_bounds(e[0], e[1], -e[3], outputBox.xDim, outputBox.yDim, spans);
    }
}

}  // namespace rz_obl
