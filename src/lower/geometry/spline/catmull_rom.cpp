#include "lower/geometry/spline/catmull_rom.h"

#include <cmath>
#include <cstddef>

namespace rz_obl {
namespace {

// From knot to knot: the step in parameter (centripetal: root of the distance) and the mean derivative.
struct step {
    double length;
    point3 slope;
};

step step_between(const point3& a, const point3& b) {
    const point3 chord = b - a;
    const double length = std::sqrt(std::sqrt(dot(chord, chord)));
    return {length, (1.0 / length) * chord};
}

// Derivative, where two steps meet, of the parabola through their three knots.
point3 joint_derivative(const step& before, const step& after) {
    const double sum = before.length + after.length;
    return (after.length / sum) * before.slope + (before.length / sum) * after.slope;
}

cubic_segment hermite(const point3& from, const point3& to, const point3& leaving, const point3& arriving,
                      double length) {
    const point3 a = length * leaving;
    const point3 b = length * arriving;
    const point3 chord = to - from;
    return {from, a, 3.0 * chord - 2.0 * a - b, a + b - 2.0 * chord};
}

}  // namespace

std::vector<cubic_segment> catmull_rom(const std::vector<point3>& knots, bool closed) {
    const std::size_t count = knots.size();
    std::vector<cubic_segment> segments;
    if (count < 2) return segments;

    const std::size_t steps = closed ? count : count - 1;
    std::vector<step> step_from;
    for (std::size_t i = 0; i < steps; ++i)
        step_from.push_back(step_between(knots[i], knots[(i + 1) % count]));

    std::vector<point3> derivative(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (closed || (i > 0 && i < steps)) {
            derivative[i] = joint_derivative(step_from[(i + steps - 1) % steps], step_from[i]);
        }
    }
    if (!closed && count == 2) {
        derivative[0] = derivative[1] = step_from[0].slope;
    } else if (!closed) {
        // The end segment continues the parabola of its joint.
        derivative[0] = 2.0 * step_from[0].slope - derivative[1];
        derivative[count - 1] = 2.0 * step_from[steps - 1].slope - derivative[count - 2];
    }

    for (std::size_t i = 0; i < steps; ++i) {
        const std::size_t next = (i + 1) % count;
        segments.push_back(
            hermite(knots[i], knots[next], derivative[i], derivative[next], step_from[i].length));
    }
    return segments;
}

}  // namespace rz_obl
