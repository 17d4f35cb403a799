#pragma once

#include "lower/export.h"
#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/vol_data.h"

/// Boxes for images that are cut from a volume. Thread-safe: no state.
class RZ_LOWER_API RZ_TypesUtils {
  public:
    /// out = the bounding box of the volume in the orientation of the plane: its sides run along the plane's
    /// two units and its normal, it contains every corner of the volume, and it has the volume's centre.
    /// Samples are cubes of the finest spacing of the volume, or wider where a side would have more than
    /// 32767 of them; counts are rounded up.
    static void CalcSwiveledBoundingBox(const RZ_VolData& volume, RZ_PlaneParams& plane, RZ_Box& out);
    /// out = the box one sample deep that the plane cuts from a box turned to the plane: in-plane extent and
    /// samples are those of box (at most 32767 a side), its middle lies on the plane, and its depth, along
    /// the plane's normal, is the spacing of its columns. A box whose first two sides leave the plane is
    /// bounded along the plane's units.
    static void CalcPlanarCutBox(const RZ_Box& box, RZ_PlaneParams& plane, RZ_Box& out);
    /// out = box reduced to count slices from slice first on; spacing and position of those slices stay, and
    /// so does the row stride.
    static void CalcCutBox(const RZ_Box& box, int first, int count, RZ_Box& out);
};
