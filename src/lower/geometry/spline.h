#pragma once

#include <memory>

#include "lower/definitions/coord.h"
#include "lower/export.h"

namespace rz_obl {
class arc_curve;
}

/// What a curve is used for. The numbers are part of the interface; both kinds interpolate alike.
enum SPLINE_TYPE : int {
    SPLINE_CURVE = 0,   ///< a curve to reformat along
    SPLINE_HELPER = 1,  ///< a curve that only lends its tangents (a thinned one); reformats refuse it
};

/// How a curve ends. The numbers are part of the interface.
enum EDGE_TYPE : int {
    EDGE_OPEN = 0,    ///< at its first and last point
    EDGE_CLOSED = 1,  ///< where it began: a smooth loop. Fewer than three different points stay open
};

/// A smooth curve through points in physical space (millimetres), and the direction in which a line sweeps a
/// surface along it.
///
/// Centripetal Catmull-Rom (Yuksel, Schaefer, Keyser, "Parameterization and applications of Catmull-Rom
/// curves", 2011): it passes every point, has a continuous tangent, and neither loops nor cusps between two
/// points. The end pieces are parabolas; two points give a straight line. A point that repeats its
/// predecessor (within 1e-5 mm) or is not finite has no part in the curve.
///
/// Positions along the curve are arc lengths, to 1e-6 of the length or better. All members but GetLength are
/// const, the curve never changes once it is made, and GetLength writes nothing: any number of threads may
/// use one object.
class RZ_LOWER_API RZ_Spline {
  public:
    /// The SPLINE_TYPE that the spline was made with.
    int splineKind;
    /// Direction of the sweep line, of length 1. The caller's to change.
    RZ_3Coord sweepDirection;

    /// An empty curve, of length 0 at the physical origin, that sweeps along z. May be assigned to, or filled
    /// by ThinSpline.
    RZ_Spline(SPLINE_TYPE type, EDGE_TYPE edge);
    /// The curve through count points, with this sweep direction (normalised here; one without direction
    /// becomes one across the curve). Copies the points. A curve with one point stays there.
    RZ_Spline(const RZ_3Coord* points, int count, const RZ_3Coord& sweep, SPLINE_TYPE type = SPLINE_CURVE,
              EDGE_TYPE edge = EDGE_OPEN);
    RZ_Spline(const RZ_Spline& other);
    RZ_Spline& operator=(const RZ_Spline& other);
    virtual ~RZ_Spline();

    /// Arc length of the whole curve. The argument is always 0.
    float GetLength(int);
    /// From the first point to the last; from the first point to the farthest where the ends meet. Not of
    /// length 1; zero for a curve without extent.
    RZ_3Coord GetLineDirection() const;
    /// Points that were given, repeated ones included. The argument is always 1.
    int NumOfPoints(int) const;

    /// Divides the curve into count points at equal arc distance, the first at its start and the last at its
    /// end, and stores the length points from index first on into points[0], points[1]...; all count points
    /// if first and length are both 0. An index before the first or past the last point stands for that
    /// point. count < 1 stores nothing. accuracy is not used, every result is as exact as the class says;
    /// extraPoints is always null.
    void InterpolateEDCurve(RZ_3Coord* points, int count, int accuracy, RZ_3Coord* extraPoints, int first,
                            int length) const;

    /// As above, and stores the unit tangent at each stored point. directions may be null; else directions[0]
    /// holds on entry the sweep direction at the start of the run (any length; without direction: one across
    /// the curve), and directions[k] receives it carried along the curve to point k: of length 1, at the same
    /// angle to the tangent, and without turning about it (rotation-minimising frame by double reflection:
    /// Wang, Juettler, Zheng, Liu, "Computation of rotation minimizing frames", 2008). The result does not
    /// depend on the density of points.
    void InterpolateEDCurveWithTangents(RZ_3Coord* points, RZ_3Coord* tangents, int count, int accuracy,
                                        int tangentAccuracy, RZ_3Coord* directions, int first,
                                        int length) const;

    /// out = a spline through every factor-th point of this one and through its last point, with the same
    /// sweep direction and edge. out keeps its splineKind. A factor below 2 takes every point.
    void ThinSpline(RZ_Spline& out, int factor);

  private:
    EDGE_TYPE edge_;
    std::unique_ptr<const rz_obl::arc_curve> curve_;
};
