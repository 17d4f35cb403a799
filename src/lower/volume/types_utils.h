#pragma once

#include "lower/export.h"
#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/vol_data.h"

/// Boxes for images that are cut from a volume. Thread-safe: no state.
class RZ_LOWER_API RZ_TypesUtils {
  public:
    /// out = the bounding box of the volume in the orientation of the plane: its sides run along the plane's
    /// two units and its normal, it contains every corner of the volume, and its in-plane samples are square
    /// with the finest spacing of the volume. Dimensions are rounded up, about the volume's centre.
    static void CalcSwiveledBoundingBox(const RZ_VolData& volume, RZ_PlaneParams& plane, RZ_Box& out);
    /// out = the box one sample deep that the plane cuts from a box turned to the plane: in-plane extent and
    /// samples are those of box, its centre along the normal lies on the plane.
    static void CalcPlanarCutBox(const RZ_Box& box, RZ_PlaneParams& plane, RZ_Box& out);
    /// out = box reduced to count slices from slice first on; spacing and position of those slices stay.
    static void CalcCutBox(const RZ_Box& box, int first, int count, RZ_Box& out);
};
