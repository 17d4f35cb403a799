#include "lower/geometry/box_params.h"

#include <algorithm>
#include <cmath>

#include "lower/geometry/affine.h"

const int RZ_BoxParams::c_edges[12][2] = {{0, 1}, {2, 3}, {4, 5}, {6, 7},   // along side 0
                                          {0, 2}, {1, 3}, {4, 6}, {5, 7},   // along side 1
                                          {0, 4}, {1, 5}, {2, 6}, {3, 7}};  // along side 2

RZ_BoxParams::RZ_BoxParams() : RZ_BoxParams(1.0F, 1.0F, 1.0F) {}

RZ_BoxParams::RZ_BoxParams(float width, float height, float depth) : start_{}, sides_{} {
    sides_[0][0] = static_cast<double>(width);
    sides_[1][1] = static_cast<double>(height);
    sides_[2][2] = static_cast<double>(depth);
}

RZ_BoxParams::RZ_BoxParams(const double start[3], const double side0[3], const double side1[3],
                           const double side2[3]) {
    std::copy_n(start, 3, start_);
    std::copy_n(side0, 3, sides_[0]);
    std::copy_n(side1, 3, sides_[1]);
    std::copy_n(side2, 3, sides_[2]);
}

RZ_BoxParams::~RZ_BoxParams() = default;

int RZ_BoxParams::ApplyTransform(const float matrix[4][4]) {
    const auto transform = [matrix](double v[3], double w) {
        const double s[3] = {v[0], v[1], v[2]};
        for (int j = 0; j < 3; ++j) {
            v[j] = s[0] * static_cast<double>(matrix[0][j]) + s[1] * static_cast<double>(matrix[1][j]) +
                   s[2] * static_cast<double>(matrix[2][j]) + w * static_cast<double>(matrix[3][j]);
        }
    };
    transform(start_, 1.0);
    for (double* side : sides_) transform(side, 0.0);
    return 1;
}

void RZ_BoxParams::SetStart(float x, float y, float z) {
    start_[0] = static_cast<double>(x);
    start_[1] = static_cast<double>(y);
    start_[2] = static_cast<double>(z);
}

void RZ_BoxParams::GetStart(float out[3]) const {
    for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(start_[i]);
}

void RZ_BoxParams::GetMiddle(float out[3]) const {
    for (int i = 0; i < 3; ++i) {
        out[i] = static_cast<float>(start_[i] + 0.5 * (sides_[0][i] + sides_[1][i] + sides_[2][i]));
    }
}

void RZ_BoxParams::GetSize(float out[3]) const {
    for (int k = 0; k < 3; ++k) out[k] = static_cast<float>(std::sqrt(rz_obl::dot3(sides_[k], sides_[k])));
}

float RZ_BoxParams::GetWidth() const {
    float size[3];
    GetSize(size);
    return size[0];
}

float RZ_BoxParams::GetHeight() const {
    float size[3];
    GetSize(size);
    return size[1];
}

float RZ_BoxParams::GetDepth() const {
    float size[3];
    GetSize(size);
    return size[2];
}

void RZ_BoxParams::GetSideVec(float out[3], RZ_Axis axis) const {
    for (int i = 0; i < 3; ++i) out[i] = static_cast<float>(sides_[axis][i]);
}

void RZ_BoxParams::GetVertex(int vertex, float out[3]) const {
    for (int i = 0; i < 3; ++i) {
        double position = start_[i];
        for (int k = 0; k < 3; ++k) {
            if ((vertex >> k & 1) != 0) position += sides_[k][i];
        }
        out[i] = static_cast<float>(position);
    }
}

void RZ_BoxParams::GetNormTrans(float matrix[4][4]) const {
    double forward[4][4];
    GetPhysicalFromNorm(forward);
    rz_obl::invert_rounded(forward, matrix);
}

void RZ_BoxParams::TScale(float scaleX, float scaleY, float scaleZ, const float* centre) {
    const double scale[3] = {static_cast<double>(scaleX), static_cast<double>(scaleY),
                             static_cast<double>(scaleZ)};
    const rz_obl::affine_basis basis = rz_obl::complete_basis(sides_);
    double offset[3];
    for (int i = 0; i < 3; ++i) offset[i] = start_[i] - static_cast<double>(centre[i]);
    for (int k = 0; k < 3; ++k) {
        const double along = rz_obl::dot3(offset, basis.dual[k]) * (scale[k] - 1.0);
        for (int i = 0; i < 3; ++i) {
            start_[i] += along * basis.side[k][i];
            sides_[k][i] *= scale[k];
        }
    }
}

void RZ_BoxParams::GetPhysicalFromNorm(double matrix[4][4]) const {
    for (int k = 0; k < 3; ++k) {
        std::copy_n(sides_[k], 3, matrix[k]);
        matrix[k][3] = 0.0;
    }
    std::copy_n(start_, 3, matrix[3]);
    matrix[3][3] = 1.0;
}
