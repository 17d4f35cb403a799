#pragma once

#include "lower/export.h"
#include "lower/pager/mem_pager.h"
#include "lower/volume/slice.h"

/// Mapping of many slices at once.
class RZ_LOWER_API RZ_SliceVector {
  public:
    /// Makes the rasters of count slices addressable. False, with nothing mapped, if a slice is null or has
    /// no raster. infos may be null; otherwise infos[i] is mapped as well where it holds a block.
    static bool MapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool, bool);
    /// Undoes it. Rasters of this library stay in place; the pages of file-backed ones may be written out.
    static bool UnMapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool);
};
