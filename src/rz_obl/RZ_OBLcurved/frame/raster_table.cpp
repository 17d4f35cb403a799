#include "rz_obl/RZ_OBLcurved/frame/raster_table.h"

rz_obl::RasterTable::RasterTable(RZ_Slice** slices, int first, int last, int depth)
    : entries_(new const void*[static_cast<std::size_t>(depth) + 2]()) {
    const void** table = entries_.get() + 1;
    for (int i = first; i <= last; ++i) table[i] = slices[i]->MappedRaster();
    // required: the guards come before the ends are filled up
    table[-1] = table[0];
    table[depth] = table[depth - 1];
    for (int i = 0; i < first; ++i) table[i] = table[first];
    for (int i = last + 1; i < depth; ++i) table[i] = table[last];
}
