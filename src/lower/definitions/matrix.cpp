#include "lower/definitions/matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "lower/geometry/affine.h"

namespace {

// Gauss-Jordan with row scaling and partial pivoting, for matrices with a projective column. False: singular.
bool invert_general(const float matrix[4][4], double inverse[4][4]) {
    constexpr double kSingular = 1e-12;
    double work[4][8] = {};
    for (int i = 0; i < 4; ++i) {
        double largest = 0.0;
        for (int j = 0; j < 4; ++j) largest = std::max(largest, std::abs(static_cast<double>(matrix[i][j])));
        if (!(largest > 0.0) || !std::isfinite(largest)) return false;
        for (int j = 0; j < 4; ++j) work[i][j] = static_cast<double>(matrix[i][j]) / largest;
        work[i][4 + i] = 1.0 / largest;
    }
    for (int column = 0; column < 4; ++column) {
        int pivot = column;
        for (int i = column + 1; i < 4; ++i) {
            if (std::abs(work[i][column]) > std::abs(work[pivot][column])) pivot = i;
        }
        if (!(std::abs(work[pivot][column]) > kSingular)) return false;
        std::swap(work[pivot], work[column]);
        const double scale = 1.0 / work[column][column];
        for (double& value : work[column]) value *= scale;
        for (int i = 0; i < 4; ++i) {
            if (i == column) continue;
            const double factor = work[i][column];
            for (int j = 0; j < 8; ++j) work[i][j] -= factor * work[column][j];
        }
    }
    for (int i = 0; i < 4; ++i) std::copy_n(&work[i][4], 4, inverse[i]);
    return true;
}

bool is_affine(const float matrix[4][4]) {
    return matrix[0][3] == 0.0F && matrix[1][3] == 0.0F && matrix[2][3] == 0.0F && matrix[3][3] == 1.0F;
}

}  // namespace

void RZ_Midnt(float matrix[4][4]) {
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) matrix[i][j] = i == j ? 1.0F : 0.0F;
    }
}

void RZ_Mmul(const float a[4][4], const float b[4][4], float product[4][4]) {
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            product[i][j] = a[i][0] * b[0][j] + a[i][1] * b[1][j] + a[i][2] * b[2][j] + a[i][3] * b[3][j];
        }
    }
}

void RZ_Minv(const float matrix[4][4], float inverse[4][4]) {
    double wide[4][4];
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) wide[i][j] = static_cast<double>(matrix[i][j]);
    }
    if (is_affine(matrix)) {
        if (rz_obl::is_regular(wide)) {
            rz_obl::invert_rounded(wide, inverse);
            return;
        }
    } else if (double inverted[4][4]; invert_general(matrix, inverted)) {
        rz_obl::round_affine(inverted, inverse);
        return;
    }
    RZ_Midnt(inverse);
}

void RZ_eqtrans(float* equation, const float transform[4][4]) {
    const float e[4] = {equation[0], equation[1], equation[2], equation[3]};
    for (int i = 0; i < 4; ++i) {
        equation[i] =
            transform[i][0] * e[0] + transform[i][1] * e[1] + transform[i][2] * e[2] + transform[i][3] * e[3];
    }
}

void RZ_vectrans(float* v, const float matrix[4][4]) {
    const float source[3] = {v[0], v[1], v[2]};
    RZ_vec3mlt(source, matrix, v);
}

void RZ_vectrans_no_translation(float* v, const float matrix[4][4]) {
    const float s[3] = {v[0], v[1], v[2]};
    for (int j = 0; j < 3; ++j) v[j] = s[0] * matrix[0][j] + s[1] * matrix[1][j] + s[2] * matrix[2][j];
}

void RZ_vec3mlt(const float* v, const float matrix[4][4], float* result) {
    for (int j = 0; j < 3; ++j) {
        result[j] = v[0] * matrix[0][j] + v[1] * matrix[1][j] + v[2] * matrix[2][j] + matrix[3][j];
    }
}

float RZ_dot(const float* a, const float* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void RZ_cross(const float* a, const float* b, float* result) {
    result[0] = a[1] * b[2] - a[2] * b[1];
    result[1] = a[2] * b[0] - a[0] * b[2];
    result[2] = a[0] * b[1] - a[1] * b[0];
}

void RZ_normalize(float* v) {
    float square = RZ_dot(v, v);
    // Outside this range squares lose bits or overflow: bring the largest component to 1 first.
    if (!(square > 1e-24F && square < 1e36F)) {
        const float largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
        if (!(largest > 0.0F) || !std::isfinite(largest)) return;
        for (int i = 0; i < 3; ++i) v[i] /= largest;
        square = RZ_dot(v, v);
    }
    const float length = std::sqrt(square);
    for (int i = 0; i < 3; ++i) v[i] /= length;
}
