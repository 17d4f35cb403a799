#pragma once

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/slice.h"
#include "rz_obl/export.h"
#include "rz_obl/rendition.h"

// Planar reformats: one plane, or a slab about it, from a volume into one raster.
//
// Common to the three reformats:
//   volumeBox      dimensions and physical extent of the source grid; at most 8191 samples along an axis.
//   volumeParams   the part of it that may be sampled; pass volumeBox.params for all of it.
//   plane          physical plane of the image.
//   clipParams     null, or a box in the plane's frame that clips the image, with 1 % to spare.
//   output         height x width samples of outputBox, row stride = width, at most 32767 wide. Columns that
//                  the volume does not reach keep their content, as does a row with only one column left.
//   outputBox      box of the raster in the plane's frame (RZ_PlaneParams::Get2Projection), millimetres.
//   firstRow ...   bounds of what was written, inclusive; accumulated, seeded by the caller. An image without
//                  any row still lowers firstRow to 0 and firstColumn to the width, and raises the other two
//                  to 0.
//   halfThickness  millimetres from the plane to each face of the slab; 0 for none. A column is drawn only
//                  where both faces, with 1 % to spare, lie in the volume.
// Nothing is checked, nothing is logged but the kernel's name at level 7, and the result is always 1.
// Threads: free, as long as each call has its own output and bounds. Slices must be mapped and stay so.

/// Samples a table of 16-bit rasters. slices: raster pointers by slice number, readable from -2 to depth + 1.
/// fastIndex is not read. isSigned and bitDepth limit the result of the semi-cubic kernels (quality Cubic).
RZ_OBL_API int RZ_NewCalcOblique(short** slices, const short*** fastIndex, const RZ_Box& volumeBox,
                                 const RZ_BoxParams& volumeParams, RZ_PlaneParams plane,
                                 const RZ_BoxParams* clipParams, short* output, const RZ_Box& outputBox,
                                 int* firstRow, int* lastRow, int* firstColumn, int* lastColumn,
                                 RZ_OBL_RenditionQuality quality, float halfThickness,
                                 RZ_OBL_RenditionType type, bool isSigned, int bitDepth);

/// Samples 16-bit slice objects, of which first to last (inclusive) are read; they must cover what the plane
/// reaches. The guard entries beyond the volume repeat its end slices. Throws std::bad_alloc.
RZ_OBL_API int RZ_CalcOblique(RZ_ShortSlice** slices, const RZ_Box& volumeBox,
                              const RZ_BoxParams& volumeParams, RZ_PlaneParams plane,
                              const RZ_BoxParams* clipParams, short* output, const RZ_Box& outputBox,
                              int* firstRow, int* lastRow, int* firstColumn, int* lastColumn, int first,
                              int last, RZ_OBL_RenditionQuality quality, float halfThickness,
                              RZ_OBL_RenditionType type, bool isSigned, int bitDepth);

/// Samples slice objects of any layout: RZ_ShortSlice for 16-bit and 8-bit samples, RZ_LongSlice for pixels
/// of three 8-bit channels (Average only; bytes 0 and 2 change places between source and output). slices[0]
/// says depth, sign and layout for all; no other layout than these three is allowed. output: samples as wide
/// as the source's, rows of outputBox's width. first to last (inclusive) are read; they must cover what the
/// plane reaches. Quality Cubic builds a table of 32 MiB on its first use in the process and becomes
/// SemiCubic where slices lie more than four pixels apart; on 32-bit pixels it reads one row and one pixel
/// before and behind each raster, which must be readable memory (rasters of our pager are). Throws
/// std::bad_alloc.
RZ_OBL_API int RZ_PlanarObliqueProjection(RZ_Slice** slices, const RZ_Box& volumeBox,
                                          const RZ_BoxParams& volumeParams, RZ_PlaneParams plane,
                                          const RZ_BoxParams* clipParams, char* output,
                                          const RZ_Box& outputBox, int* firstRow, int* lastRow,
                                          int* firstColumn, int* lastColumn, int first, int last,
                                          RZ_OBL_RenditionQuality quality, float halfThickness,
                                          RZ_OBL_RenditionType type);

/// Warms the interpolation table of the definitions library.
RZ_OBL_API void RZ_InitOblique();

/// Sets the overshoot clamp of the cubic kernels from the whiteboard key "truncate_interpolation_overshoot";
/// a missing key keeps the earlier answer (off at first). Call it before scans start.
RZ_OBL_API void RZ_InitCubicOblique();

/// Stores a number that no image depends on. Any value.
RZ_OBL_API void RZ_SetStretchedMethod(int method);

// The same with a clip box by reference.

inline int RZ_NewCalcOblique(short** slices, const short*** fastIndex, const RZ_Box& volumeBox,
                             const RZ_BoxParams& volumeParams, const RZ_PlaneParams& plane,
                             const RZ_BoxParams& clipParams, short* output, const RZ_Box& outputBox,
                             int* firstRow, int* lastRow, int* firstColumn, int* lastColumn,
                             RZ_OBL_RenditionQuality quality, float halfThickness, RZ_OBL_RenditionType type,
                             bool isSigned, int bitDepth) {
    return RZ_NewCalcOblique(slices, fastIndex, volumeBox, volumeParams, plane, &clipParams, output,
                             outputBox, firstRow, lastRow, firstColumn, lastColumn, quality, halfThickness,
                             type, isSigned, bitDepth);
}

inline int RZ_CalcOblique(RZ_ShortSlice** slices, const RZ_Box& volumeBox, const RZ_BoxParams& volumeParams,
                          const RZ_PlaneParams& plane, const RZ_BoxParams& clipParams, short* output,
                          const RZ_Box& outputBox, int* firstRow, int* lastRow, int* firstColumn,
                          int* lastColumn, int first, int last, RZ_OBL_RenditionQuality quality,
                          float halfThickness, RZ_OBL_RenditionType type, bool isSigned, int bitDepth) {
    return RZ_CalcOblique(slices, volumeBox, volumeParams, plane, &clipParams, output, outputBox, firstRow,
                          lastRow, firstColumn, lastColumn, first, last, quality, halfThickness, type,
                          isSigned, bitDepth);
}

inline int RZ_PlanarObliqueProjection(RZ_Slice** slices, const RZ_Box& volumeBox,
                                      const RZ_BoxParams& volumeParams, const RZ_PlaneParams& plane,
                                      const RZ_BoxParams& clipParams, char* output, const RZ_Box& outputBox,
                                      int* firstRow, int* lastRow, int* firstColumn, int* lastColumn,
                                      int first, int last, RZ_OBL_RenditionQuality quality,
                                      float halfThickness, RZ_OBL_RenditionType type) {
    return RZ_PlanarObliqueProjection(slices, volumeBox, volumeParams, plane, &clipParams, output, outputBox,
                                      firstRow, lastRow, firstColumn, lastColumn, first, last, quality,
                                      halfThickness, type);
}
