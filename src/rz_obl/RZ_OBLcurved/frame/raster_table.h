#pragma once

#include <cstddef>
#include <memory>

#include "lower/volume/slice.h"

namespace rz_obl {

/// Raster pointers by slice number from -1 to depth. Slices first to last are read; those beyond repeat them.
/// The guards at -1 and depth are copied before that, so that they hold a raster only where first is 0 and
/// last is depth - 1.
class RasterTable {
  public:
    /// Throws std::bad_alloc.
    RasterTable(RZ_Slice** slices, int first, int last, int depth);

    const void* const* bySlice() const { return entries_.get() + 1; }

  private:
    std::unique_ptr<const void*[]> entries_;
};

}  // namespace rz_obl
