#include "lower/geometry/spline/arc_curve.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "lower/geometry/spline/catmull_rom.h"

namespace rz_obl {
namespace {

constexpr double kSamePoint = 1e-5;       // mm: below what a float tells apart a metre out
constexpr double kPieceTolerance = 1e-8;  // of the chord length of the curve, shared by its pieces
constexpr double kMostTurn = 0.9976;  // cosine of the largest turn of the tangent within a piece, 4 degrees
constexpr int kDeepest = 24;

// Five-point Gauss-Legendre rule for the arc length of a part of a segment.
double arc_length(const cubic_segment& segment, double from, double to) {
    static constexpr double kNode[2] = {0.5384693101056831, 0.9061798459386640};
    static constexpr double kWeight[3] = {0.5688888888888889, 0.4786286704993665, 0.2369268850561891};
    const double middle = 0.5 * (from + to);
    const double half = 0.5 * (to - from);
    const auto speed = [&](double u) {
        const point3 d = segment.derivative(u);
        return std::sqrt(dot(d, d));
    };
    double sum = kWeight[0] * speed(middle);
    for (int i = 0; i < 2; ++i) {
        sum += kWeight[i + 1] * (speed(middle - half * kNode[i]) + speed(middle + half * kNode[i]));
    }
    return half * sum;
}

point3 unit_tangent(const cubic_segment& segment, double u) {
    point3 tangent = segment.derivative(u);
    // At a turning point the curve has no speed; the change of speed shows where it leaves to or comes from.
    const point3 change = segment.second_derivative(u);
    if (!(dot(tangent, tangent) > 1e-18 * dot(change, change))) tangent = (u > 0.5 ? -1.0 : 1.0) * change;
    if (!normalize3(tangent.v)) tangent = {{1.0, 0.0, 0.0}};
    return tangent;
}

std::vector<point3> distinct(const std::vector<point3>& given, bool closed) {
    const auto apart = [](const point3& a, const point3& b) {
        const point3 d = a - b;
        return dot(d, d) > kSamePoint * kSamePoint;
    };
    std::vector<point3> knots;
    for (const point3& p : given) {
        const bool finite = std::isfinite(p.v[0]) && std::isfinite(p.v[1]) && std::isfinite(p.v[2]);
        if (finite && (knots.empty() || apart(p, knots.back()))) knots.push_back(p);
    }
    while (closed && knots.size() > 1 && !apart(knots.front(), knots.back())) knots.pop_back();
    return knots;
}

}  // namespace

arc_curve::arc_curve(std::vector<point3> given, bool closed) : given_(std::move(given)) {
    const std::vector<point3> knots = distinct(given_, closed);
    if (!knots.empty()) only_point_ = knots.front();
    segments_ = catmull_rom(knots, closed && knots.size() > 2);

    double chords = 0.0;
    for (const cubic_segment& s : segments_) {
        const point3 chord = s.position(1.0) - s.c0;
        chords += std::sqrt(dot(chord, chord));
    }
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        const double tolerance = kPieceTolerance * chords / static_cast<double>(segments_.size());
        cut(i, 0.0, 1.0, arc_length(segments_[i], 0.0, 1.0), 0, tolerance);
    }
}

void arc_curve::cut(std::size_t segment, double from, double to, double whole, int depth, double tolerance) {
    const cubic_segment& s = segments_[segment];
    const double middle = 0.5 * (from + to);
    const double near = arc_length(s, from, middle);
    const double far = arc_length(s, middle, to);
    const bool straight = dot(unit_tangent(s, from), unit_tangent(s, to)) > kMostTurn;
    if (depth == kDeepest || (straight && std::abs(near + far - whole) <= tolerance)) {
        pieces_.push_back({segment, from, to, length_, near + far});
        length_ += near + far;
        return;
    }
    cut(segment, from, middle, near, depth + 1, 0.5 * tolerance);
    cut(segment, middle, to, far, depth + 1, 0.5 * tolerance);
}

std::size_t arc_curve::piece_at(double arc) const {
    const auto after = std::upper_bound(pieces_.begin(), pieces_.end(), arc,
                                        [](double value, const piece& p) { return value < p.arc; });
    return after == pieces_.begin() ? 0 : static_cast<std::size_t>(after - pieces_.begin()) - 1;
}

arc_curve::parameter arc_curve::find(double arc) const {
    const piece& p = pieces_[piece_at(arc)];
    const cubic_segment& s = segments_[p.segment];
    const double wanted = arc - p.arc;
    if (!(wanted > 0.0)) return {p.segment, p.from};
    if (wanted >= p.length) return {p.segment, p.to};

    double low = p.from;
    double high = p.to;
    double u = p.from + (p.to - p.from) * (wanted / p.length);
    for (int i = 0; i < 40; ++i) {
        const double excess = arc_length(s, p.from, u) - wanted;
        if (std::abs(excess) <= 1e-10 * length_) break;
        (excess > 0.0 ? high : low) = u;
        const point3 d = s.derivative(u);
        const double newton = u - excess / std::sqrt(dot(d, d));
        u = newton > low && newton < high ? newton : 0.5 * (low + high);
    }
    return {p.segment, u};
}

point3 arc_curve::tangent_at(const parameter& place) const {
    return unit_tangent(segments_[place.segment], place.u);
}

point3 arc_curve::position_at(double arc) const {
    if (pieces_.empty()) return only_point_;
    const parameter place = find(arc);
    return segments_[place.segment].position(place.u);
}

curve_place arc_curve::at(double arc) const {
    if (pieces_.empty()) return {only_point_, {{1.0, 0.0, 0.0}}};
    const parameter place = find(arc);
    return {segments_[place.segment].position(place.u), tangent_at(place)};
}

curve_place arc_curve::end_of(std::size_t index) const {
    const parameter place = {pieces_[index].segment, pieces_[index].to};
    return {segments_[place.segment].position(place.u), tangent_at(place)};
}

}  // namespace rz_obl
