#include "tests/reference/frame.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "lower/definitions/coord.h"
#include "lower/definitions/matrix.h"
#include "lower/geometry/clip_bounds.h"

namespace rz_reference {
namespace {

constexpr float kMarginOfSpans = 0.01F;
constexpr float kFaceToSpare = 1.01F;
constexpr float kFaceToFace = -2.02F;

int truncated(float x) {
    if (x >= -2147483648.0F && x < 2147483648.0F) return static_cast<int>(x);
    return INT32_MIN;
}

int q18_saturate(float x) {
    if (512.0F > std::fabs(x)) return truncated(x * 262144.0F);
    if (0.0F > x) return static_cast<int>(0xf8000000U);
    return 0x8000000;
}

float saturate(float x) {
    if (512.0F > std::fabs(x)) return x;
    if (0.0F > x) return -512.0F;
    return 512.0F;
}

/// product = outer frame of the output raster to index-from-corner coordinates of the source.
void compose(const RZ_Box& outputBox, const float planeFrame[4][4], const RZ_Box& volumeBox,
             float product[4][4]) {
    float a[4][4];
    float b[4][4];
    float c[4][4];
    outputBox.GetIndexToPhysicalFromCorner(a);
    RZ_Mmul(a, planeFrame, b);
    volumeBox.GetPhysicalToIndexFromCorner(c);
    RZ_Mmul(b, c, product);
}

void centre(float m[4][4], int quality) {
    float v[3] = {0.5F, 0.5F, 0.5F};
    RZ_vectrans_no_translation(v, m);
    const float s = quality != 0 ? 0.5F : 0.0F;
    for (int j = 0; j < 3; ++j) m[3][j] = (v[j] - s) + m[3][j];
}

int dominant_axis(const RZ_PlaneParams& plane, const RZ_Box& volumeBox) {
    float n[4];
    plane.GetPlaneEq(n);
    float c[4][4];
    volumeBox.GetPhysicalToIndexFromCorner(c);
    RZ_vectrans_no_translation(n, c);
    for (float& component : n) component = std::fabs(component);
    if (n[2] > n[0] && n[2] > n[1]) return 2;
    if (n[1] > n[2] && n[1] > n[0]) return 1;
    return 0;
}

std::vector<short> row_spans(const FrameRequest& request, const float M[4][4], float margin) {
    const int width = request.outputBox->xDim;
    const int height = request.outputBox->yDim;
    std::vector<short> spans;
    for (int row = 0; row < height; ++row) {
        spans.push_back(0);
        spans.push_back(static_cast<short>(width - 1));
    }

    float size[3];
    float boxSize[3];
    int dims[3];
    float T[4][4];
    float start[3];
    float p[3];
    request.volumeParams->GetSize(size);
    request.volumeBox->params.GetSize(boxSize);
    request.volumeBox->GetDims(dims);
    request.volumeBox->params.GetNormTrans(T);
    request.volumeParams->GetStart(start);
    RZ_vec3mlt(start, T, p);
    float lo[3];
    float hi[3];
    for (int k = 0; k < 3; ++k) {
        lo[k] = static_cast<float>(dims[k]) * p[k];
        hi[k] = (static_cast<float>(dims[k]) * size[k]) / boxSize[k] + lo[k];
    }

    const float m = margin + kMarginOfSpans;
    short* s = spans.data();
    RZ_update_clip_bounds(-M[0][0], -M[1][0], (-m - lo[0]) + M[3][0], width, height, s);
    RZ_update_clip_bounds(M[0][0], M[1][0], (hi[0] - (m + 1.0F)) - M[3][0], width, height, s);
    RZ_update_clip_bounds(-M[0][1], -M[1][1], (-m - lo[1]) + M[3][1], width, height, s);
    RZ_update_clip_bounds(M[0][1], M[1][1], (hi[1] - (m + 1.0F)) - M[3][1], width, height, s);
    RZ_update_clip_bounds(-M[0][2], -M[1][2], (-(m - 1.0F) - lo[2]) + M[3][2], width, height, s);
    RZ_update_clip_bounds(M[0][2], M[1][2], (hi[2] - m) - M[3][2], width, height, s);
    return spans;
}

void clip(const FrameRequest& request, std::vector<short>& spans) {
    float N[4][4];
    float P[4][4];
    float T[4][4];
    request.clipParams->GetNormTrans(N);
    request.outputBox->GetIndexToPhysicalTrans(P);
    RZ_Mmul(P, N, T);
    for (int i = 0; i < 4; ++i) {
        const float s = i % 2 == 1 ? 1.0F : -1.0F;
        const float d = s > 0.0F ? -1.01F : -0.01F;
        float e[4] = {0.0F, 0.0F, 0.0F, d};
        e[i >> 1] = s;
        RZ_eqtrans(e, T);
        RZ_update_clip_bounds(e[0], e[1], -e[3], request.outputBox->xDim, request.outputBox->yDim,
                              spans.data());
    }
}

void intersect(std::vector<short>& spans, const std::vector<short>& other) {
    for (std::size_t i = 0; i < spans.size(); i += 2) {
        spans[i] = std::max(spans[i], other[i]);
        spans[i + 1] = std::min(spans[i + 1], other[i + 1]);
    }
}

void face_spans(const FrameRequest& request, const RZ_PlaneParams& face, float planeFrame[4][4],
                std::vector<short>& spans) {
    face.GetOrigin(planeFrame[3]);
    float m[4][4];
    compose(*request.outputBox, planeFrame, *request.volumeBox, m);
    centre(m, request.quality);
    intersect(spans, row_spans(request, m, 0.0F));
}

void slab_steps(const FrameRequest& request, Frame& frame) {
    float T[4][4];
    request.volumeBox->params.GetNormTrans(T);
    RZ_3Coord A(0.0F, 0.0F, 0.0F);
    RZ_3Coord B(0.0F, 0.0F, 0.0F);
    request.plane.GetPlaneEq(A);
    RZ_vec3mlt(A, T, B);
    B -= RZ_3Coord(T[3]);
    int dims[3];
    request.volumeBox->GetDims(dims);
    float V[3];
    for (int k = 0; k < 3; ++k) V[k] = static_cast<float>(dims[k]) * B[k];
    const float L = std::max(std::max(std::fabs(V[0]), std::fabs(V[1])), std::fabs(V[2]));
    A *= 1.0F / L;
    const float squares = A.x * A.x + A.y * A.y + A.z * A.z;
    const float length = std::sqrt(squares);
    const int steps = truncated(std::floor(request.halfThickness / length));
    frame.slabSteps = static_cast<short>(static_cast<std::uint32_t>(steps) & 0xffffU);

    for (std::size_t k = 0; k < 3; ++k) {
        frame.slabStepQ18[k] = q18_saturate(V[k] / L);
        frame.slabStepFloat[k] = saturate(V[k] / L);
    }
    if (0.0F > frame.slabStepFloat[0]) {
        for (float& step : frame.slabStepFloat) step = -step;
    }
    for (std::size_t k = 0; k < 3; ++k)
        frame.slabStepFloatQ18[k] = truncated(frame.slabStepFloat[k] * 262144.0F);
}

}  // namespace

Frame make_frame(const FrameRequest& request) {
    Frame frame{};
    frame.width = request.outputBox->xDim;
    frame.height = request.outputBox->yDim;

    float planeFrame[4][4];
    RZ_Midnt(planeFrame);
    planeFrame[2][2] = 0.0F;
    request.plane.GetOrigin(planeFrame[3]);
    request.plane.GetUnits(planeFrame[0], planeFrame[1]);
    compose(*request.outputBox, planeFrame, *request.volumeBox, frame.planeToIndex);
    centre(frame.planeToIndex, request.quality);

    frame.dominantAxis = dominant_axis(request.plane, *request.volumeBox);

    frame.spans = row_spans(request, frame.planeToIndex, request.quality == 0 ? 1.0F : 0.0F);
    if (request.clipParams != nullptr) clip(request, frame.spans);

    const bool slab = request.halfThickness != 0.0F && request.quality != 0;
    if (slab) {
        RZ_PlaneParams face = request.plane;
        face.ParallelTranslate(request.halfThickness * kFaceToSpare);
        face_spans(request, face, planeFrame, frame.spans);
        face.ParallelTranslate(request.halfThickness * kFaceToFace);
        face_spans(request, face, planeFrame, frame.spans);
    }

    for (std::size_t k = 0; k < 3; ++k) {
        frame.columnStepQ18[k] = q18_saturate(frame.planeToIndex[0][k]);
        frame.columnStepFloat[k] = saturate(frame.planeToIndex[0][k]);
    }
    if (slab) slab_steps(request, frame);
    return frame;
}

}  // namespace rz_reference
