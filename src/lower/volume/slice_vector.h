#pragma once

#include "lower/export.h"
#include "lower/pager/mem_pager.h"
#include "lower/volume/slice.h"

/// Mapping of many slices at once. Thread-safe, also on the same slices.
class RZ_LOWER_API RZ_SliceVector {
  public:
    /// Makes the rasters of count slices addressable. False, with nothing mapped, if a slice is null or has
    /// no raster, or for a negative count. infos may be null; otherwise infos[i] is mapped as well where it
    /// holds a block. The two flags are not read.
    static bool MapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool, bool);
    /// Undoes it. Rasters of this library stay in place; the pages of file-backed ones may be written out.
    /// Slices that are null or have no raster are passed over. False for a negative count. The flag is not
    /// read.
    static bool UnMapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool);
};
