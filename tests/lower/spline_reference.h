#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "tests/lower/geometry_cases.h"

// The curve of RZ_Spline the slow way: Barry and Goldman's pyramid of straight blends per segment, drawn as a
// fine polygon whose chords are added up.

namespace rz_test {

class FineCurve {
  public:
    FineCurve(const std::vector<Vec3>& points, bool closed, int per_segment) {
        const auto n = static_cast<int>(points.size());
        const int segments = closed ? n : n - 1;
        for (int i = 0; i < segments; ++i) {
            for (int k = i == 0 ? 0 : 1; k <= per_segment; ++k) {
                const double u = static_cast<double>(k) / per_segment;
                add(on_segment(points, i, u, closed));
            }
        }
    }

    double length() const { return arc_.back(); }
    const std::vector<Vec3>& polygon() const { return polygon_; }
    double arc(std::size_t i) const { return arc_[i]; }

    Vec3 at(double arc) const {
        std::size_t i = 1;
        std::size_t high = arc_.size() - 1;
        while (i < high) {
            const std::size_t middle = (i + high) / 2;
            if (arc_[middle] < arc) {
                i = middle + 1;
            } else {
                high = middle;
            }
        }
        const double step = arc_[i] - arc_[i - 1];
        const double f = step > 0.0 ? (arc - arc_[i - 1]) / step : 0.0;
        return along(polygon_[i - 1], f, along(polygon_[i], -1.0, polygon_[i - 1]));
    }

  private:
    void add(const Vec3& p) {
        arc_.push_back(polygon_.empty() ? 0.0
                                        : arc_.back() + rz_test::length(along(p, -1.0, polygon_.back())));
        polygon_.push_back(p);
    }

    static Vec3 blend(const Vec3& a, const Vec3& b, double ta, double tb, double t) {
        Vec3 r{};
        for (std::size_t i = 0; i < 3; ++i) r[i] = (a[i] * (tb - t) + b[i] * (t - ta)) / (tb - ta);
        return r;
    }

    static Vec3 on_segment(const std::vector<Vec3>& points, int segment, double u, bool closed) {
        const auto n = static_cast<int>(points.size());
        const auto point = [&](int i) { return points[static_cast<std::size_t>((i + n) % n)]; };
        const auto gap = [&](int i) {
            return std::sqrt(rz_test::length(along(point(i + 1), -1.0, point(i))));
        };
        const bool has_before = closed || segment > 0;
        const bool has_after = closed || segment < n - 2;
        const Vec3 p1 = point(segment);
        const Vec3 p2 = point(segment + 1);
        const double t1 = 0.0;
        const double t2 = gap(segment);
        const double t = u * t2;
        const Vec3 straight = blend(p1, p2, t1, t2, t);
        const auto parabola_before = [&] {
            const double t0 = -gap(segment - 1);
            return blend(blend(point(segment - 1), p1, t0, t1, t), straight, t0, t2, t);
        };
        const auto parabola_after = [&] {
            const double t3 = t2 + gap(segment + 1);
            return blend(straight, blend(p2, point(segment + 2), t2, t3, t), t1, t3, t);
        };
        if (has_before && has_after) return blend(parabola_before(), parabola_after(), t1, t2, t);
        if (has_before) return parabola_before();
        if (has_after) return parabola_after();
        return straight;
    }

    std::vector<Vec3> polygon_;
    std::vector<double> arc_;
};

}  // namespace rz_test
