#pragma once

#include <cstddef>
#include <cstring>

namespace rz_obl {

/// Entry 0 of a new table of depth + 4 pointers: two guards lie before it, two after the volume. Not cleared.
/// Throws std::bad_alloc.
void* allocate_slice_table(int depth);

/// Takes entry 0.
void release_slice_table(void* table);

/// Raster pointers by slice number, of which first to last (inclusive) are set. The guards repeat entries 0
/// and depth - 1, whether these are set or not: a range must cover every slice that the plane reaches.
/// rasterOf(i) gives the raster of slice i. An exception from it loses the table.
template <class Sample, class RasterOf>
Sample** make_slice_table(int depth, int first, int last, RasterOf rasterOf) {
    Sample** const table = static_cast<Sample**>(allocate_slice_table(depth));
    for (std::ptrdiff_t i = first; i <= last; ++i) table[i] = rasterOf(i);
    const std::ptrdiff_t end = static_cast<unsigned>(depth);
    // bytewise, since a guard may repeat an entry that was never set
    const auto repeat = [table](std::ptrdiff_t from, std::ptrdiff_t guard) {
        std::memcpy(table + guard, table + from, sizeof *table);
    };
    repeat(0, -1);
    repeat(0, -2);
    repeat(end - 1, end);
    repeat(end - 1, end + 1);
    return table;
}

}  // namespace rz_obl
