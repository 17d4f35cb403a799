#pragma once

#include <cstddef>
#include <cstdint>

// Row means for processors with AVX2. They store nothing behind the row, and return false without doing
// anything where it is too short for them.

namespace rz_obl {

/// One row of several rasters, which starts `offset` samples after their starts.
struct raster_rows {
    const void* const* rasters;
    std::size_t size;
    std::ptrdiff_t offset;
};

bool row_mean_16_avx2(const raster_rows& rows, int columns, std::int16_t* destination, bool isSigned);
bool row_mean_8_avx2(const raster_rows& rows, int columns, std::uint8_t* destination, bool isSigned);

}  // namespace rz_obl
