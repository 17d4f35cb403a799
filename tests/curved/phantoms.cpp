#include "tests/curved/phantoms.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tests/curved/simple_curve.h"

namespace rz_test {

double distance(const Place& a, const Place& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

Place Helix::at(double angle) const {
    return {centre.x + radius * std::cos(angle), centre.y + radius * std::sin(angle),
            centre.z + pitch * angle / (2.0 * M_PI)};
}

double Helix::speed() const {
    return std::hypot(radius, pitch / (2.0 * M_PI));
}

double Helix::end_angle() const {
    return turns * 2.0 * M_PI;
}

double Helix::distance_to(const Place& p) const {
    // Far from the cylinder that the helix lies on, the distance to it will do.
    const double fromCylinder = std::fabs(std::hypot(p.x - centre.x, p.y - centre.y) - radius);
    if (fromCylinder > 0.5 * radius) return fromCylinder;
    double best = 1e30;
    double bestAngle = 0.0;
    const int steps = static_cast<int>(turns * 48.0);
    for (int i = 0; i <= steps; ++i) {
        const double angle = end_angle() * i / steps;
        const double d = distance(p, at(angle));
        if (d < best) {
            best = d;
            bestAngle = angle;
        }
    }
    // Halving about the best step.
    for (double reach = end_angle() / steps; reach > 1e-6; reach *= 0.5) {
        for (const double angle : {bestAngle - reach, bestAngle + reach}) {
            const double inside = std::clamp(angle, 0.0, end_angle());
            const double d = distance(p, at(inside));
            if (d < best) {
                best = d;
                bestAngle = inside;
            }
        }
    }
    return best;
}

Place sample_place(const RZ_Box& box, int x, int y, int z) {
    double m[4][4];
    box.params.GetPhysicalFromNorm(m);
    const double n[3] = {(x + 0.5) / box.xDim, (y + 0.5) / box.yDim, (z + 0.5) / box.zDim};
    double p[3];
    for (int j = 0; j < 3; ++j) p[j] = n[0] * m[0][j] + n[1] * m[1][j] + n[2] * m[2][j] + m[3][j];
    return {p[0], p[1], p[2]};
}

void fill_by_distance(CurvedVolume& volume, double blur,
                      const std::function<double(const Place&)>& distance) {
    fill_volume(volume, [&](int x, int y, int z) {
        const double d = distance(sample_place(volume.box, x, y, z));
        return std::lround(1000.0 * std::clamp(0.5 - 0.5 * d / blur, 0.0, 1.0));
    });
}

CurvedRequest whole_curve_request(CurvedVolume volume, RZ_Spline spline, double pixel, int rows) {
    CurvedRequest r;
    r.seed = 1;
    r.frame = volume.box.params;
    r.crop = volume.box.params;
    r.lastSlice = volume.box.zDim - 1;
    r.volume = std::move(volume);
    r.spline = std::move(spline);
    const auto length = static_cast<double>(r.spline.GetLength(0));
    const int columns = static_cast<int>(length / pixel);
    const double width = columns * pixel;
    r.imageBox = image_box(columns, rows, -width / 2, -rows * pixel / 2, width, rows * pixel);
    r.transposedIn = false;
    return r;
}

}  // namespace rz_test
