#pragma once

#include <cstdint>
#include <vector>

#include "lower/geometry/box_params.h"
#include "lower/geometry/plane.h"
#include "rz_obl/export.h"

class RZ_Spline;

// Combination and subtraction of slice rasters that were already computed. No geometry, no state; each call
// depends only on its arguments. Threads: free, as long as outputs are disjoint.

/// How the slices of a range become one raster. The numbers are part of the interface.
enum class RZ_OBL_SlabbingType : std::int32_t {
    SlabMinimum = 0,
    SlabAverage = 1,
    SlabMaximum = 2,
};

/// Combines slices first_slice to last_slice (inclusive) into output, sample by sample.
///
/// slices: rasters of rows x columns 16-bit samples by slice number. Every raster and output must be
/// readable, output also writable, 7 samples past the end: the last block is taken whole. previous_output,
/// previous_first_slice, previous_last_slice: the mean of an earlier range, or null. Where the ranges overlap
/// enough a mean starts from it and touches only the slices that came or went; it keeps the earlier rounding.
/// previous_output may be output.
/// A mean takes samples by their 16-bit pattern, also signed ones: it is the arithmetic mean of samples of
/// one sign. Result: 1, or -1 with output untouched for no slices, a null slice 0 or first slice, fewer than
/// one sample or a reversed range. Another type gives 1 and changes nothing. Throws std::bad_alloc.
RZ_OBL_API int RZ_GetMultiSlicePlane(const std::vector<short*>& slices, int rows, int columns, bool is_signed,
                                     RZ_OBL_SlabbingType type, short* output, unsigned short first_slice,
                                     unsigned short last_slice, short* previous_output,
                                     unsigned short previous_first_slice, unsigned short previous_last_slice);

/// The two slice ranges of a subtraction (inclusive), the shift of the subtrahend and the value added to
/// unsigned results.
struct RZ_SubOpParams {
    unsigned short subtrahend_first = 0;
    unsigned short subtrahend_last = 0;
    unsigned short minuend_first = 0;
    unsigned short minuend_last = 0;
    /// Samples: along the columns, where only the fraction counts, and along the rows.
    float pixel_shift[2] = {0.0F, 0.0F};
    /// 8-bit samples use its low byte.
    short offset = 0;
};

/// output = mean of the minuend's slices - mean of the subtrahend's slices, shifted, row by row.
///
/// slices: rasters of rows x columns samples by slice number, 1 byte each for bitdepth 8, 2 bytes for 9
/// to 16. output needs 7 samples (8-bit: 15) of slack behind its last row, and so do the rasters for reading.
/// Rows that the shift moves beyond the raster stay the plain mean of the minuend, without the offset.
/// The last two arguments are not read.
/// Result: 1, or -1 with output untouched for no slices, null first slices, fewer than one sample, a range
/// that is reversed or ends beyond the slices. Another bitdepth gives 1 and changes nothing. Throws
/// std::bad_alloc.
RZ_OBL_API int RZ_GetMultiSliceSubtractionPlane(const std::vector<void*>& slices, int rows, int columns,
                                                int bitdepth, bool is_signed, void* output,
                                                RZ_SubOpParams& parameters, void*, RZ_SubOpParams&);

/// Where a plane cuts a box. polygon receives the points in physical space, at most 6 for a box with depth
/// (room for 20 serves any box), in perimeter order if ordered is non-zero; result receives the flat box
/// about them in the plane's frame. Returns their number, or 0, with result untouched, where the plane misses
/// the box or touches it in one point.
RZ_OBL_API int RZ_GetPlaneBoxPolygon(const RZ_BoxParams& box, const RZ_PlaneParams& plane,
                                     float (*polygon)[3], RZ_BoxParams& result, int ordered);

/// Size of the flat image (millimetres) that holds the part of the surface, swept by the spline's sweep line,
/// inside the box. inside_only: curve points outside the box do not count. Returns 1, or 0 with result
/// untouched for another splineKind than 0 and where there is no such part.
RZ_OBL_API int RZ_GetPlaneBox(const RZ_BoxParams& box, RZ_Spline& spline, RZ_BoxParams& result,
                              int inside_only);
