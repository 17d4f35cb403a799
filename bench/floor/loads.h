#pragma once

#include <cstddef>
#include <cstdint>

// Probes: only the loads of a job, in its order. What they take is what no kernel with these loads can beat.
// Each returns a number made of everything it loaded, so that no load is left out. No raster is read outside.

namespace rz_bench {

/// A walk over pixels and slab planes, in Q18 (one sample is 262144): row, column, plane, as scans go.
struct LoadWalk {
    int rows;
    int columns;
    int planes;
    std::int32_t first[3];
    std::int32_t columnStep[3];
    std::int32_t rowStep[3];
    std::int32_t planeStep[3];
    /// Raster pointers by slice number, with a guard at each end.
    const void* const* slices;
    int sourceWidth;
};

/// Per linear sample four loads of two neighbours each, from two rows of two slices; T is as wide as the two
/// (32 bits for 16-bit samples).
std::uint64_t linear_loads_16(const LoadWalk& walk);
std::uint64_t linear_loads_8(const LoadWalk& walk);
std::uint64_t linear_loads_32(const LoadWalk& walk);
/// The same loads of 16-bit samples with the addresses of eight columns made at once, plane by plane: more
/// cache misses overlap. Needs AVX2 and eight columns.
std::uint64_t linear_loads_16_wide(const LoadWalk& walk);
/// Per cubic sample 16 loads of four samples and an entry of 128 bytes from a table of 64 x 64 x 64 entries.
std::uint64_t cubic_loads_16(const LoadWalk& walk, const short* table);
std::uint64_t cubic_loads_32(const LoadWalk& walk, const short* table);
/// The same loads, each prefetched 64 samples before.
std::uint64_t cubic_loads_16_ahead(const LoadWalk& walk, const short* table);
std::uint64_t cubic_loads_32_ahead(const LoadWalk& walk, const short* table);
/// The neighbourhoods alone: cubic polynomials instead of a table.
std::uint64_t tricubic_loads(const LoadWalk& walk);
/// Per semi-cubic sample 8 loads of 8 bytes, four rows of each of two slices.
std::uint64_t semicubic_loads(const LoadWalk& walk);

/// Bytes of a row of samples, read in order.
std::uint64_t stream(const void* bytes, std::size_t count);
/// A part of a volume: rows of `bytes` bytes at `offset` of rasters, `rows` of them `stride` bytes apart.
std::uint64_t stream_rows(const void* const* slices, int sliceCount, std::size_t offset, std::size_t bytes,
                          int rows, std::size_t stride);

/// Rasters side by side, 256 bytes of each by turns, asked for ahead of time: more loads are under way than
/// in one raster after the other. Needs AVX2.
std::uint64_t stream_together(const void* const* slices, int sliceCount, std::size_t bytes);

/// A plane whose pixels are samples: each row copied, or where columns do not run along x sample by sample.
std::uint64_t copy_plane_16(const LoadWalk& walk, short* output);

/// Takes a probe's number, so that the probe is not left out.
void keep(std::uint64_t number);

}  // namespace rz_bench
