#pragma once

#include <cstddef>

// Wide forms, for processors with AVX2: from the first sample on they do whole blocks within count, and
// return the number of samples done. No raster may overlap the output; in the means one may be the output.

namespace rz_obl {

struct raster_list {
    const short* const* rasters;
    std::size_t size;
};

int extreme_blocks_avx2(const raster_list& list, int count, bool greatest, bool isSigned, short* output);
int mean_blocks_avx2(const raster_list& list, int count, double factor, short* output);
int update_blocks_avx2(const short* previous, int previousCount, const raster_list& entering,
                       const raster_list& leaving, int count, bool isSigned, double factor, short* output);

}  // namespace rz_obl
