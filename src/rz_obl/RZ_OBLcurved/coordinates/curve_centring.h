#pragma once

#include <vector>

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "lower/geometry/spline.h"

namespace rz_obl {

/// Sizes of an image of the whole curve. points is 0 if there is none; the reason has been logged then.
struct WholeCurve {
    float curveExtent;
    float crossExtent;
    int curvePixels;
    int crossPixels;
    int points;
};

/// function: the exported function that asks, for the log.
WholeCurve whole_curve(RZ_Spline& spline, const RZ_Box& imageBox, bool transposed, const char* function);

/// Where the unrolled curve stands, centred, in an image of all of it.
struct CurveCentring {
    bool valid = false;
    bool transposed = false;
    WholeCurve curve{};
    /// Physical step per cross pixel, and the same in the normalised box.
    RZ_3Coord step;
    RZ_3Coord normalisedStep;
    float toNormalised[4][4];
    int lowest = 0;
    /// Image position of curve point 0 and of cross index `lowest`.
    int along = 0;
    int across = 0;
};

/// params: the box that the sweep is measured against. Writes *sign unless the spline is refused, and the
/// points of the curve into what room(n) gives for n of them.
template <class Room>
CurveCentring centre_curve(const RZ_BoxParams& params, RZ_Spline& spline, const RZ_Box& imageBox, int* sign,
                           const char* function, const Room& room);

/// The same in steps: orientation and sizes, then placement once the points are there.
CurveCentring begin_centring(const RZ_BoxParams& params, RZ_Spline& spline, const RZ_Box& imageBox, int* sign,
                             const char* function);
void finish_centring(CurveCentring& centring, RZ_Spline& spline, RZ_3Coord* points);

template <class Room>
CurveCentring centre_curve(const RZ_BoxParams& params, RZ_Spline& spline, const RZ_Box& imageBox, int* sign,
                           const char* function, const Room& room) {
    CurveCentring centring = begin_centring(params, spline, imageBox, sign, function);
    if (centring.valid) finish_centring(centring, spline, room(centring.curve.points));
    return centring;
}

}  // namespace rz_obl
