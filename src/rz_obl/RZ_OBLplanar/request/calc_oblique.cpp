#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLplanar/request/slice_table.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"

int RZ_CalcOblique(RZ_ShortSlice** slices, const RZ_Box& volumeBox, const RZ_BoxParams& volumeParams,
                   RZ_PlaneParams plane, const RZ_BoxParams* clipParams, short* output,
                   const RZ_Box& outputBox, int* firstRow, int* lastRow, int* firstColumn, int* lastColumn,
                   int first, int last, RZ_OBL_RenditionQuality quality, float halfThickness,
                   RZ_OBL_RenditionType type, bool isSigned, int bitDepth) {
    using namespace rz_obl;
    // By the base: a slice that shares another's raster may be a bare one.
    const auto rasterOf = [slices](std::ptrdiff_t i) {
        const RZ_Slice* slice = slices[i];
        return static_cast<short*>(slice->MappedRaster());
    };
    short** const table = make_slice_table<short>(volumeBox.zDim, first, last, rasterOf);
    int result = 0;
    try {
        result = RZ_NewCalcOblique(table, nullptr, volumeBox, volumeParams, plane, clipParams, output,
                                   outputBox, firstRow, lastRow, firstColumn, lastColumn, quality,
                                   halfThickness, type, isSigned, bitDepth);
    } catch (WKR_CANCEL_EXCEPTION&) {
        release_slice_table(table + 1);  // required: one entry above the block; dormant, no kernel throws
        throw;
    }
    release_slice_table(table);
    return result;
}
