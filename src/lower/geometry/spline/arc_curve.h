#pragma once

#include <cstddef>
#include <vector>

#include "lower/geometry/spline/cubic_segment.h"

namespace rz_obl {

/// A place on a curve.
struct curve_place {
    point3 position;
    point3 tangent;  // unit
};

/// A curve made of cubic segments, addressed by arc length. Immutable. A curve without segments is one point.
///
/// The segments are cut, by bisection, into pieces so short that a five-point Gauss rule gives the length of
/// any part of one, and that the tangent turns little within one. Positions are found by Newton steps inside
/// a piece.
class arc_curve {
  public:
    /// given: the points as the caller gave them. Repeated and non-finite ones take no part in the curve.
    arc_curve(std::vector<point3> given, bool closed);

    const std::vector<point3>& given() const { return given_; }
    double length() const { return length_; }
    /// Arc length is clamped to the curve.
    curve_place at(double arc) const;
    point3 position_at(double arc) const;

    /// Pieces follow each other without gaps; index of the one that holds an arc length, 0 on an empty curve.
    std::size_t piece_at(double arc) const;
    std::size_t pieces() const { return pieces_.size(); }
    /// The far end of a piece.
    double arc_end(std::size_t index) const { return pieces_[index].arc + pieces_[index].length; }
    curve_place end_of(std::size_t index) const;

  private:
    struct piece {
        std::size_t segment;
        double from, to;  // parameters on the segment
        double arc;       // arc length where it begins
        double length;
    };
    struct parameter {
        std::size_t segment;
        double u;
    };

    void cut(std::size_t segment, double from, double to, double whole, int depth, double tolerance);
    parameter find(double arc) const;
    point3 tangent_at(const parameter& place) const;

    std::vector<point3> given_;
    std::vector<cubic_segment> segments_;
    std::vector<piece> pieces_;
    point3 only_point_{};
    double length_ = 0.0;
};

}  // namespace rz_obl
