#include "rz_obl/RZ_OBLplanar/spans/row_spans.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "lower/definitions/matrix.h"
#include "lower/geometry/clip_bounds.h"

namespace rz_obl {
namespace {

/// The part of the volume that may be sampled, in index coordinates from the corner.
struct index_range {
    float lo[3];
    float hi[3];
};

index_range sampled_range(const RZ_Box& volumeBox, const RZ_BoxParams& volumeParams) {
    float size[3];
    volumeParams.GetSize(size);
    float boxSize[3];
    volumeBox.params.GetSize(boxSize);
    int dims[3];
    volumeBox.GetDims(dims);
    float toNormalised[4][4];
    volumeBox.params.GetNormTrans(toNormalised);
    float start[3];
    volumeParams.GetStart(start);
    float p[3];
    RZ_vec3mlt(start, toNormalised, p);

    index_range range;
    for (int k = 0; k < 3; ++k) {
        const float dim = static_cast<float>(dims[k]);
        range.lo[k] = dim * p[k];
        range.hi[k] = (dim * size[k]) / boxSize[k] + range.lo[k];
    }
    return range;
}

}  // namespace

short* allocate_row_spans(int height) {
    // a negative height becomes more than can be had
    const std::size_t rows = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(height));
    return static_cast<short*>(std::malloc(rows * (2 * sizeof(short))));
}

void make_row_spans(const float planeToIndex[4][4], const reslice_request& request, short* spans) {
    const int width = request.outputBox.xDim;
    const int height = request.outputBox.yDim;
    for (int row = 0; row < height; ++row) {
        spans[2 * row] = 0;
        spans[2 * row + 1] = static_cast<short>(width - 1);
    }

    const index_range range = sampled_range(request.volumeBox, request.volumeParams);
    const float* const lo = range.lo;
    const float* const hi = range.hi;
    const float margin = request.quality == RZ_OBL_RenditionQuality::Nearest ? 1.0F : 0.0F;
    const float m = margin + 0.01F;
    const auto& M = planeToIndex;
    const auto keep = [&](float a, float b, float c) {
        RZ_update_clip_bounds(a, b, c, width, height, spans);
    };
    keep(-M[0][0], -M[1][0], (-m - lo[0]) + M[3][0]);        // x >= lo + m
    keep(M[0][0], M[1][0], (hi[0] - (m + 1.0F)) - M[3][0]);  // x <= hi - 1 - m
    keep(-M[0][1], -M[1][1], (-m - lo[1]) + M[3][1]);        // y >= lo + m
    keep(M[0][1], M[1][1], (hi[1] - (m + 1.0F)) - M[3][1]);  // y <= hi - 1 - m
    // required: one sample lower than x and y, since the slices just outside are readable as guards
    keep(-M[0][2], -M[1][2], (-(m - 1.0F) - lo[2]) + M[3][2]);  // z >= lo + m - 1
    keep(M[0][2], M[1][2], (hi[2] - m) - M[3][2]);              // z <= hi - m
}

void intersect_row_spans(const short* other, int height, short* spans) {
    for (int row = 0; row < height; ++row) {
        spans[2 * row] = std::max(spans[2 * row], other[2 * row]);
        spans[2 * row + 1] = std::min(spans[2 * row + 1], other[2 * row + 1]);
    }
}

}  // namespace rz_obl
