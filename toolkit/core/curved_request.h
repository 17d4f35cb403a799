#pragma once

#include <array>
#include <functional>
#include <optional>
#include <vector>

#include "lower/tasks/runnable.h"
#include "rz_obl/rendition.h"
#include "toolkit/core/image.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// A curved picture: the surface that a straight line sweeps as it moves along a smooth curve, unrolled. One
/// axis of the picture runs along the curve, equal steps being equal lengths of curve; the other along the
/// sweep. Everything in LPS millimetres.
struct CurvedRequest {
    /// The curve passes all of them in this order; 2 to kMostCurvePoints. A repeated point has no effect.
    std::vector<Vec3> points;
    /// Direction of the sweep; any length. Default: the normal of the plane that fits the curve best, which
    /// for a straight curve is the patient's left or the head, whichever lies across it.
    std::optional<Vec3> sweep;
    /// Whether the sweep turns with the curve (without twisting about it), or stays the same all along.
    bool localFrames = false;
    /// Columns and rows. Default: the whole curve by the whole volume, or by the band.
    std::optional<std::array<int, 2>> size;
    /// Side of the square pixels in mm. Default: the finest spacing of the volume, or with a given size
    /// whatever shows the whole curve.
    std::optional<double> spacing;
    /// Whole thickness of the slab about the surface in mm; 0 for the surface alone. Drawn where both of its
    /// faces lie inside the volume.
    double thickness = 0;
    /// With localFrames: draw only this width in mm about the curve, more than 0.1.
    std::optional<double> band;
    RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average;
    /// Value (after rescale) of pixels that the volume does not reach. Default: the volume's padding value,
    /// or else its least value.
    std::optional<double> background;
};

inline constexpr std::size_t kMostCurvePoints = 100000;

/// Where one line of pixels across the curve lies.
struct CurveLine {
    /// Millimetres of curve from its start.
    double arcLength;
    /// On the curve, and the step in space from one pixel of the line to the next.
    Vec3 point, step;
};

struct CurvedImage {
    /// Its grid is flat: a curved picture lies nowhere in space as a plane does. Origin 0, columns along x,
    /// rows along y, with the true spacings along and across the curve.
    Image image;
    /// False: the curve runs from left to right, and a line of pixels across it is a column. True: it runs
    /// from top to bottom, and a line is a row. A sweep mostly to the left lies along columns with the
    /// patient's right on the left, a sweep mostly to the head along rows with the head up.
    bool curveRunsDown = false;
    /// Millimetres of the whole curve.
    double curveLength = 0;
    /// The sweep at the start of the curve as it was used: unit, in the direction of rising pixels.
    Vec3 sweep{0, 0, 1};
    /// Column or row of lines[0]; further lines follow one by one.
    int firstLine = 0;
    std::vector<CurveLine> lines;
    /// Pixel of every line that lies on the curve; may lie outside the picture.
    int curvePixel = 0;

    /// Position in space of a pixel; nothing beyond the ends of the curve.
    std::optional<Vec3> position(int column, int row) const;
};

struct DrawingControl {
    /// A thread or a signal handler may cancel it; drawing then ends soon with WKR_CANCEL_EXCEPTION.
    WKR_Task* task = nullptr;
    /// Told the share done, 0 to 1, from time to time, on the thread that draws.
    std::function<void(double)> progress;
};

/// Draws it. Throws Error with one sentence for anything that cannot be served, also where no line of pixels
/// meets the volume. Volumes of 16-bit and 8-bit samples only. Threads: free; a volume may be drawn by
/// several at once.
CurvedImage draw_curved(const Volume& volume, const CurvedRequest& request,
                        const DrawingControl& control = {});

}  // namespace rzobl
