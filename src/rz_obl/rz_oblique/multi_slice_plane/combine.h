#pragma once

#include <cstdint>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"

namespace rz_obl {

/// output = least or greatest sample of the listed rasters, compared as signed or unsigned 16-bit values.
/// Up to 7 samples past count are read and written.
void combine_extreme(const std::vector<const short*>& rasters, int count, bool greatest, bool isSigned,
                     short* output);

/// output = mean of the listed rasters; factor is 1 / their number. Up to 7 samples past count are read, up
/// to 3 written.
void combine_mean(const std::vector<const short*>& rasters, int count, double factor, short* output);

/// output = (previous x previousCount + entering - leaving) x factor. Overruns as combine_mean.
void update_mean(const short* previous, int previousCount, const std::vector<const short*>& entering,
                 const std::vector<const short*>& leaving, int count, bool isSigned, double factor,
                 short* output);

/// Whether blocks over a raster and over the output touch the same memory, overruns included.
static inline bool overlap(const short* raster, const short* output, std::int64_t count) {
    constexpr std::int64_t kOverrun = 8;
    const auto a = reinterpret_cast<std::uintptr_t>(raster);
    const auto b = reinterpret_cast<std::uintptr_t>(output);
    const auto bytes = static_cast<std::uintptr_t>(count + kOverrun) * sizeof(short);
    return a < b + bytes && b < a + bytes;
}

}  // namespace rz_obl
