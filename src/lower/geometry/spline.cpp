#include "lower/geometry/spline.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "lower/geometry/affine.h"
#include "lower/geometry/spline/arc_curve.h"
#include "lower/geometry/spline/carried_direction.h"

using rz_obl::arc_curve;
using rz_obl::curve_place;
using rz_obl::point3;

namespace {

point3 to_point(const RZ_3Coord& coord) {
    return {{static_cast<double>(coord.x), static_cast<double>(coord.y), static_cast<double>(coord.z)}};
}

RZ_3Coord to_coord(const point3& p) {
    return RZ_3Coord(static_cast<float>(p.v[0]), static_cast<float>(p.v[1]), static_cast<float>(p.v[2]));
}

std::unique_ptr<const arc_curve> make_curve(std::vector<point3> points, EDGE_TYPE edge) {
    return std::make_unique<const arc_curve>(std::move(points), edge == EDGE_CLOSED);
}

// Arc lengths of a run of equally spaced points.
class run {
  public:
    run(double length, int count, int first, int stored)
        : length_(length),
          count_(count),
          first_(first),
          stored_(first == 0 && stored == 0 ? count : stored) {}

    int stored() const { return count_ < 1 ? 0 : stored_; }
    double arc(int k) const {
        const long long index = std::clamp<long long>(static_cast<long long>(first_) + k, 0, count_ - 1);
        if (index == count_ - 1) return count_ == 1 ? 0.0 : length_;
        return static_cast<double>(index) * length_ / (count_ - 1);
    }

  private:
    double length_;
    int count_;
    int first_;
    int stored_;
};

}  // namespace

RZ_Spline::RZ_Spline(SPLINE_TYPE type, EDGE_TYPE edge)
    : splineKind(type), sweepDirection(0.0F, 0.0F, 1.0F), edge_(edge), curve_(make_curve({}, edge)) {}

RZ_Spline::RZ_Spline(const RZ_3Coord* points, int count, const RZ_3Coord& sweep, SPLINE_TYPE type,
                     EDGE_TYPE edge)
    : splineKind(type), sweepDirection(), edge_(edge) {
    std::vector<point3> given;
    for (int i = 0; i < count; ++i) given.push_back(to_point(points[i]));
    curve_ = make_curve(std::move(given), edge);

    point3 direction = to_point(sweep);
    if (!rz_obl::normalize3(direction.v)) {
        point3 line = to_point(GetLineDirection());
        if (!rz_obl::normalize3(line.v)) line = {{1.0, 0.0, 0.0}};
        rz_obl::any_orthogonal(line.v, direction.v);
    }
    sweepDirection = to_coord(direction);
}

RZ_Spline::RZ_Spline(const RZ_Spline& other)
    : splineKind(other.splineKind),
      sweepDirection(other.sweepDirection),
      edge_(other.edge_),
      curve_(std::make_unique<const arc_curve>(*other.curve_)) {}

RZ_Spline& RZ_Spline::operator=(const RZ_Spline& other) {
    curve_ = std::make_unique<const arc_curve>(*other.curve_);
    splineKind = other.splineKind;
    sweepDirection = other.sweepDirection;
    edge_ = other.edge_;
    return *this;
}

RZ_Spline::~RZ_Spline() = default;

float RZ_Spline::GetLength(int) {
    return static_cast<float>(curve_->length());
}

RZ_3Coord RZ_Spline::GetLineDirection() const {
    const double length = curve_->length();
    const point3 start = curve_->position_at(0.0);
    point3 line = curve_->position_at(length) - start;
    if (!(rz_obl::dot(line, line) > 1e-12 * length * length)) {
        for (std::size_t i = 0; i < curve_->pieces(); ++i) {
            const point3 reach = curve_->end_of(i).position - start;
            if (rz_obl::dot(reach, reach) > rz_obl::dot(line, line)) line = reach;
        }
    }
    return to_coord(line);
}

int RZ_Spline::NumOfPoints(int) const {
    return static_cast<int>(curve_->given().size());
}

void RZ_Spline::InterpolateEDCurve(RZ_3Coord* points, int count, int /*accuracy*/, RZ_3Coord* /*extraPoints*/,
                                   int first, int length) const {
    const run wanted(curve_->length(), count, first, length);
    for (int k = 0; k < wanted.stored(); ++k) points[k] = to_coord(curve_->position_at(wanted.arc(k)));
}

void RZ_Spline::InterpolateEDCurveWithTangents(RZ_3Coord* points, RZ_3Coord* tangents, int count,
                                               int /*accuracy*/, int /*tangentAccuracy*/,
                                               RZ_3Coord* directions, int first, int length) const {
    const run wanted(curve_->length(), count, first, length);
    const auto store = [&](int k) {
        const curve_place place = curve_->at(wanted.arc(k));
        points[k] = to_coord(place.position);
        tangents[k] = to_coord(place.tangent);
        return place;
    };
    if (directions == nullptr) {
        for (int k = 0; k < wanted.stored(); ++k) store(k);
    } else if (wanted.stored() > 0) {
        rz_obl::carried_direction carried(*curve_, wanted.arc(0), to_point(directions[0]));
        for (int k = 0; k < wanted.stored(); ++k) {
            carried.carry_to(wanted.arc(k), store(k));
            directions[k] = to_coord(carried.direction());
        }
    }
}

void RZ_Spline::ThinSpline(RZ_Spline& out, int factor) {
    const std::vector<point3>& given = curve_->given();
    const std::size_t step = factor < 2 ? 1 : static_cast<std::size_t>(factor);
    std::vector<point3> kept;
    for (std::size_t i = 0; i < given.size(); i += step) kept.push_back(given[i]);
    if (!given.empty() && (given.size() - 1) % step != 0) kept.push_back(given.back());
    out.curve_ = make_curve(std::move(kept), edge_);
    out.sweepDirection = sweepDirection;
    out.edge_ = edge_;
}
