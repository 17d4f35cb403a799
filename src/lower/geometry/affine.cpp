#include "lower/geometry/affine.h"

#include <algorithm>
#include <cmath>

namespace rz_obl {
namespace {

constexpr double kFlat = 1e-12;       // of the longest side
constexpr double kDependent = 1e-10;  // sine of the angle to the span of the earlier sides

// Takes from v its part along the unit vector axis.
void remove_part(double v[3], const double axis[3]) {
    const double part = dot3(v, axis);
    for (int i = 0; i < 3; ++i) v[i] -= part * axis[i];
}

}  // namespace

double dot3(const double a[3], const double b[3]) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void cross3(const double a[3], const double b[3], double result[3]) {
    result[0] = a[1] * b[2] - a[2] * b[1];
    result[1] = a[2] * b[0] - a[0] * b[2];
    result[2] = a[0] * b[1] - a[1] * b[0];
}

bool normalize3(double v[3]) {
    const double length = std::sqrt(dot3(v, v));
    if (!(length > 0.0) || !std::isfinite(length)) return false;
    for (int i = 0; i < 3; ++i) v[i] /= length;
    return true;
}

void any_orthogonal(const double v[3], double result[3]) {
    int axis = 0;
    for (int i = 1; i < 3; ++i) {
        if (std::abs(v[i]) < std::abs(v[axis])) axis = i;
    }
    for (int i = 0; i < 3; ++i) result[i] = i == axis ? 1.0 : 0.0;
    remove_part(result, v);
    normalize3(result);
}

affine_basis complete_basis(const double sides[3][3]) {
    affine_basis basis{};
    double longest = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double length = std::sqrt(dot3(sides[k], sides[k]));
        if (std::isfinite(length)) longest = std::max(longest, length);
    }

    double span[3][3];  // orthonormal vectors that span the sides so far
    int spanned = 0;
    for (int k = 0; k < 3; ++k) {
        double unit[3] = {sides[k][0], sides[k][1], sides[k][2]};
        const double length = std::sqrt(dot3(unit, unit));
        basis.flat[k] = !(length > kFlat * longest) || !normalize3(unit);
        if (basis.flat[k]) continue;
        for (int i = 0; i < spanned; ++i) remove_part(unit, span[i]);
        const double rest = std::sqrt(dot3(unit, unit));
        basis.flat[k] = !(rest > kDependent);
        if (basis.flat[k]) continue;
        normalize3(unit);
        std::copy_n(unit, 3, span[spanned++]);
        std::copy_n(sides[k], 3, basis.side[k]);
    }

    for (int k = 0; k < 3; ++k) {
        if (!basis.flat[k]) continue;
        if (spanned == 2) {
            cross3(span[0], span[1], span[2]);
        } else if (spanned == 1) {
            any_orthogonal(span[0], span[1]);
        } else {
            for (int i = 0; i < 3; ++i) span[0][i] = i == k ? 1.0 : 0.0;
        }
        std::copy_n(span[spanned++], 3, basis.side[k]);
    }

    for (int k = 0; k < 3; ++k) {
        cross3(basis.side[(k + 1) % 3], basis.side[(k + 2) % 3], basis.dual[k]);
        const double volume = dot3(basis.side[k], basis.dual[k]);
        for (int i = 0; i < 3; ++i) basis.dual[k][i] /= volume;
    }
    return basis;
}

void round_affine(const double matrix[4][4], float rounded[4][4]) {
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) rounded[i][j] = static_cast<float>(matrix[i][j]);
    }
}

void invert_rounded(const double forward[4][4], float inverse[4][4]) {
    float seen[4][4];
    round_affine(forward, seen);
    double rows[3][3];
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) rows[i][j] = static_cast<double>(seen[i][j]);
    }
    const affine_basis basis = complete_basis(rows);
    for (int k = 0; k < 3; ++k) {
        double origin = 0.0;
        for (int i = 0; i < 3; ++i) {
            // + 0.0 turns -0.0 into 0.0
            inverse[i][k] = basis.flat[k] ? 0.0F : static_cast<float>(basis.dual[k][i] + 0.0);
            origin += static_cast<double>(seen[3][i]) * static_cast<double>(inverse[i][k]);
        }
        inverse[3][k] = static_cast<float>(0.0 - origin);
        inverse[k][3] = 0.0F;
    }
    inverse[3][3] = 1.0F;
}

bool is_regular(const double matrix[4][4]) {
    const double rows[3][3] = {{matrix[0][0], matrix[0][1], matrix[0][2]},
                               {matrix[1][0], matrix[1][1], matrix[1][2]},
                               {matrix[2][0], matrix[2][1], matrix[2][2]}};
    const affine_basis basis = complete_basis(rows);
    return !basis.flat[0] && !basis.flat[1] && !basis.flat[2];
}

}  // namespace rz_obl
