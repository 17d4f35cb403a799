#include <algorithm>
#include <cmath>

#include "bench/jobs/planar/planar.h"

namespace rz_bench {

Orientation turned(double a, double b) {
    const double degree = std::acos(-1.0) / 180.0;
    const double ca = std::cos(a * degree), sa = std::sin(a * degree);
    const double cb = std::cos(b * degree), sb = std::sin(b * degree);
    return {{ca, 0.0, -sa}, {sa * sb, cb, ca * sb}};
}

Orientation axial() {
    return {{1, 0, 0}, {0, 1, 0}};
}

Orientation coronal() {
    return {{1, 0, 0}, {0, 0, 1}};
}

Orientation sagittal() {
    return {{0, 1, 0}, {0, 0, 1}};
}

double PlanarRequest::planeDistance(const Volume& volume) const {
    const auto n = orientation.normal();
    double longest = 0.0;
    for (std::size_t k = 0; k < 3; ++k) longest = std::max(longest, std::fabs(n[k]) / volume.spacing[k]);
    return 1.0 / longest;
}

std::array<std::array<double, 3>, 3> PlanarRequest::indexSteps(const Volume& volume) const {
    const auto n = orientation.normal();
    std::array<std::array<double, 3>, 3> steps{};
    for (std::size_t k = 0; k < 3; ++k) {
        steps[0][k] = orientation.u[k] * pixel / volume.spacing[k];
        steps[1][k] = orientation.v[k] * pixel / volume.spacing[k];
        steps[2][k] = n[k] * planeDistance(volume) / volume.spacing[k];
    }
    return steps;
}

std::array<double, 3> PlanarRequest::firstIndex(const Volume& volume) const {
    const auto steps = indexSteps(volume);
    std::array<double, 3> first{};
    for (std::size_t k = 0; k < 3; ++k) {
        first[k] = centre[k] / volume.spacing[k] - steps[0][k] * (width - 1) * 0.5 -
                   steps[1][k] * (height - 1) * 0.5 - steps[2][k] * (planes - 1) * 0.5;
    }
    return first;
}

}  // namespace rz_bench
