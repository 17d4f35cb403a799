#pragma once

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "lower/geometry/spline.h"
#include "lower/volume/slice.h"
#include "rz_obl/export.h"
#include "rz_obl/rendition.h"

// Curved reformats: the surface that a straight line sweeps as it moves along a spline, unrolled into an
// image.
//
// The curve axis of the image runs along the curve by arc length, the cross axis along the sweep line.
// Without `transposed` the curve axis is image x, with it image y. N and M are the image's pixels along curve
// and cross axis, W and H its extents (millimetres). A box that starts at -W / 2 along the curve axis shows
// the curve centred. splineKind 1 is refused throughout. Nothing else is checked. Threads: free, as long as
// outputs are disjoint.

/// Curve samples of an image: filled by RZ_PrepareCurveData, read by RZ_CalcCurved. Owns its arrays. Each
/// holds 2 x sampleCount + 1 coordinates, of which the first sampleCount are the result.
class RZ_OBL_API RZ_CurveProjectData {
  public:
    RZ_CurveProjectData() = default;
    ~RZ_CurveProjectData();
    RZ_CurveProjectData(const RZ_CurveProjectData&) = delete;
    /// Deep. Where this object has to grow, an array that other lacks is released and keeps its address: set
    /// it to null before the object goes or is assigned to again.
    RZ_CurveProjectData& operator=(const RZ_CurveProjectData& other);

    /// Samples into which the whole curve is divided; even.
    int curveColumns = 0;
    /// Curve index at image position 0 of the curve axis, and at N; may lie outside the curve.
    int viewStart = 0;
    int viewEnd = 0;
    /// The two, clipped to the curve; lastSample is exclusive.
    int firstSample = 0;
    int lastSample = 0;
    /// lastSample - firstSample + 1.
    int sampleCount = 0;
    /// Physical position of curve index firstSample + i at element i.
    RZ_3Coord* points = nullptr;
    /// Physical step per cross pixel there.
    RZ_3Coord* directions = nullptr;
    /// Unit normal of the swept surface there.
    RZ_3Coord* normals = nullptr;
};

/// Orients the sweep: negates it where its dominant component points the wrong way (*sign = -1, else 1).
/// Returns `transposed`, 0 or 1. line is only read.
RZ_OBL_API int RZ_FlipCurved(RZ_3Coord& sweep, RZ_3Coord& line, int* sign);

/// Number of curve points for an image of this box that shows the whole curve; at most its pixels. 0 for an
/// empty box.
RZ_OBL_API int RZ_GetWpixels(RZ_Spline& spline, const RZ_Box& box);

/// Fills data with the curve samples of an image of box. margin pixels are taken from each end of the curve
/// axis, at every call; secondBox (may be null) shrinks likewise. localFrames carries the sweep direction
/// along the curve. transposedIn, signIn: null, or the orientation to use. Returns 1, or 0 for a refused
/// spline, an empty image or a curve of less than two samples. Throws std::bad_alloc.
RZ_OBL_API int RZ_PrepareCurveData(RZ_Spline& spline, RZ_Box& box, bool localFrames, bool* transposedIn,
                                   int* signIn, int margin, RZ_CurveProjectData* data, RZ_Box* secondBox);

/// Renders a curved image of trilinear samples, or with a null raster only works out where it lies.
///
/// - slices: by slice number, all of one pixelKind, 16-bit or 8-bit (unsigned); mapped. An image reaches half
///   a sample beyond the last column and row: a row and a sample behind each raster must be readable memory
///   (rasters of our pager are).
/// - frameParams: sets the range of cross indices. cropParams: what of it is drawn. May be the same box.
/// - raster: of the slices' type, row stride imageBox.rowStride. Pixels without a sample keep their value.
/// - curveData: for the same spline, box and localFrames.
/// - firstRow, lastRow: rows of the whole image, inclusive. columnBounds: its columns.
/// - firstSlice, lastSlice: slices to read; those beyond repeat them.
/// - maxWidth: with localFrames, the band about the curve that is drawn, in millimetres; 0.1 or less: all.
/// - thickness: half thickness of the slab in millimetres; 0 for none.
/// - requireInside: non-zero drops the columns whose curve point lies outside cropParams.
/// - rangeStart, rangeEnd: the part of the curve columns to draw, 0 to 1; parts together draw the whole.
/// - columnBounds, cornerPoint, startFraction, endFraction, transposedOut and signOut may be null; the
///   remainders and crossFirst may not.
///
/// Returns 1, or 0 for a refused spline, an empty image or a curve of less than two samples. Throws
/// std::bad_alloc, and WKR_CANCEL_EXCEPTION if the calling thread's task was cancelled; columns already drawn
/// stay.
RZ_OBL_API int RZ_CalcCurved(RZ_Slice** slices, const RZ_Box& ignoredBox, const RZ_BoxParams& frameParams,
                             const RZ_Box& volumeBox, const RZ_BoxParams& cropParams, RZ_Spline& spline,
                             void* raster, const RZ_Box& imageBox, RZ_CurveProjectData* curveData,
                             int* firstRow, int* lastRow, int firstSlice, int lastSlice,
                             RZ_OBL_RenditionQuality quality, bool localFrames, float maxWidth,
                             float thickness, int requireInside, int columnOffset, int* columnBounds,
                             RZ_3Coord* cornerPoint, float* startFraction, float* endFraction,
                             RZ_OBL_RenditionType type, bool* transposedIn, int* signIn, bool* transposedOut,
                             int* signOut, float* alongRemainder, float* crossRemainder, int* crossFirst,
                             float rangeStart, float rangeEnd);

/// Where the unrolled curve stands, centred, in an image that shows all of it: offsets and points for the
/// long forms below. points has room for N coordinates; RZ_GetWpixels of them are written. Returns
/// `transposed`; a failure also returns 0 and leaves the offsets unwritten. params is not read.
RZ_OBL_API int RZ_PrepareSplineTrans(const RZ_Box& box, const RZ_BoxParams& params, RZ_Spline& spline,
                                     const RZ_Box& imageBox, int* alongOffset, int* acrossOffset, int* sign,
                                     RZ_3Coord* points);

// Between raster (x, y) of that image and physical space (three floats). 1, or 0 with the output untouched.
// The long forms take what RZ_PrepareSplineTrans gave; the short forms do its work at each call, against
// params.

/// Fractions of a pixel are dropped. The position along the curve must lie within the points.
RZ_OBL_API int RZ_CurvedRasterToPhysical(float* physical, const RZ_Box& box, const RZ_BoxParams& params,
                                         RZ_Spline& spline, const RZ_Box& imageBox, int transposed,
                                         int alongOffset, int acrossOffset, int sign, RZ_3Coord* points,
                                         const float* raster);
RZ_OBL_API int RZ_CurvedRasterToPhysical(float* physical, const RZ_Box& box, const RZ_BoxParams& params,
                                         RZ_Spline& spline, const RZ_Box& imageBox, const float* raster);

/// curveFraction: position on the curve, 0 to 1. originPoint: where the distance along the sweep starts.
RZ_OBL_API int RZ_CurvedPhysicalToRaster(const float* physical, const RZ_Box& box, const RZ_BoxParams& params,
                                         RZ_Spline& spline, const RZ_Box& imageBox, float curveFraction,
                                         int transposed, int alongOffset, int acrossOffset, int sign,
                                         RZ_3Coord* originPoint, float* raster);
/// Finds the nearest sweep line; a point exactly on a curve point settles on a neighbouring line.
RZ_OBL_API int RZ_CurvedPhysicalToRaster(const float* physical, const RZ_Box& box, const RZ_BoxParams& params,
                                         RZ_Spline& spline, const RZ_Box& imageBox, float* raster);
