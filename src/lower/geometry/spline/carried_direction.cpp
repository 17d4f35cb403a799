#include "lower/geometry/spline/carried_direction.h"

namespace rz_obl {
namespace {

// Mirrors v in the plane through the origin across axis; a vanishing axis mirrors nothing.
point3 mirrored(const point3& v, const point3& axis) {
    const double square = dot(axis, axis);
    if (!(square > 1e-24)) return v;
    return v - (2.0 * dot(axis, v) / square) * axis;
}

}  // namespace

carried_direction::carried_direction(const arc_curve& curve, double arc, const point3& direction)
    : curve_(curve), place_(curve.at(arc)), direction_(direction), piece_(curve.piece_at(arc)) {
    shortest_step_ = 1e-9 * curve.length();
    if (!normalize3(direction_.v)) any_orthogonal(place_.tangent.v, direction_.v);
}

void carried_direction::carry_to(double arc, const curve_place& place) {
    for (; piece_ < curve_.pieces() && curve_.arc_end(piece_) < arc; ++piece_)
        reflect_to(curve_.end_of(piece_));
    reflect_to(place);
}

void carried_direction::reflect_to(const curve_place& next) {
    point3 step = next.position - place_.position;
    // A step of nothing has no direction to mirror along: the frame waits for the next one.
    const double square = dot(step, step);
    if (!(square > shortest_step_ * shortest_step_)) return;
    normalize3(step.v);
    const point3 tangent = mirrored(place_.tangent, step);
    direction_ = mirrored(mirrored(direction_, step), next.tangent - tangent);
    normalize3(direction_.v);
    place_ = next;
}

}  // namespace rz_obl
