#include "toolkit/core/curve_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numeric>
#include <utility>

#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

using Matrix = std::array<Vec3, 3>;

Matrix covariance(const std::vector<Vec3>& points, const Vec3& middle) {
    Matrix sum{};
    for (const Vec3& point : points) {
        const Vec3 d = added(point, scaled(middle, -1));
        for (std::size_t r = 0; r < 3; ++r)
            for (std::size_t c = 0; c < 3; ++c) sum[r][c] += d[r] * d[c];
    }
    for (Vec3& row : sum) row = scaled(row, 1 / static_cast<double>(points.size()));
    return sum;
}

/// Turns rows p and q of both so that matrix[p][q] becomes 0.
void rotate(Matrix& matrix, Matrix& axes, std::size_t p, std::size_t q) {
    if (matrix[p][q] == 0) return;
    const double angle = 0.5 * std::atan2(2 * matrix[p][q], matrix[q][q] - matrix[p][p]);
    const double c = std::cos(angle), s = std::sin(angle);
    const auto turn = [c, s](double& a, double& b) {
        const double before = a;
        a = c * before - s * b;
        b = s * before + c * b;
    };
    for (std::size_t k = 0; k < 3; ++k) turn(matrix[k][p], matrix[k][q]);
    for (std::size_t k = 0; k < 3; ++k) turn(matrix[p][k], matrix[q][k]);
    for (std::size_t k = 0; k < 3; ++k) turn(axes[p][k], axes[q][k]);
}

}  // namespace

CurveFit fit_curve(const std::vector<Vec3>& points) {
    CurveFit fit;
    for (const Vec3& point : points) fit.middle = added(fit.middle, point);
    fit.middle = scaled(fit.middle, 1 / static_cast<double>(points.size()));

    // Jacobi's method; for three rows a few sweeps reach the last bit.
    Matrix matrix = covariance(points, fit.middle);
    Matrix axes{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    for (int round = 0; round < 12; ++round)
        for (const auto& [p, q] : {std::pair<std::size_t, std::size_t>{0, 1}, {0, 2}, {1, 2}})
            rotate(matrix, axes, p, q);

    std::array<std::size_t, 3> order{0, 1, 2};
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return matrix[a][a] > matrix[b][b]; });
    for (std::size_t k = 0; k < 3; ++k) {
        fit.axis[k] = axes[order[k]];
        fit.spread[k] = std::sqrt(std::max(0.0, matrix[order[k]][order[k]]));
    }
    return fit;
}

Vec3 default_sweep(const CurveFit& fit) {
    if (!fit.straight()) return fit.axis[2];
    const Vec3& line = fit.axis[0];
    const bool alongBody = std::abs(line[2]) > std::sqrt(0.5);
    const Vec3 wanted = alongBody ? Vec3{1, 0, 0} : Vec3{0, 0, 1};
    const Vec3 across = added(wanted, scaled(line, -dot(wanted, line)));
    return scaled(across, 1 / length(across));
}

}  // namespace rzobl
