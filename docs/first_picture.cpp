#include <cstdio>
#include <vector>

#include "lower/lower.h"
#include "rz_obl/rz_obl.h"

int main() {
    // A volume of 64 x 64 x 32 samples, 1 x 1 x 2 mm, over memory of our own: brighter towards the last
    // slice.
    const double start[3] = {0, 0, 0}, x[3] = {64, 0, 0}, y[3] = {0, 64, 0}, z[3] = {0, 0, 64};
    const RZ_Box volume(64, 64, 32, RZ_BoxParams(start, x, y, z));
    std::vector<std::vector<short>> rasters;
    std::vector<RZ_ShortSlice> slices;
    std::vector<RZ_Slice*> pointers;
    for (short k = 0; k < 32; ++k) rasters.emplace_back(64 * 64, static_cast<short>(100 * k));
    for (auto& raster : rasters) slices.emplace_back(raster.data(), PixelDataAttributes{64, 64, 16, 1});
    for (auto& slice : slices) pointers.push_back(&slice);

    // A plane through the middle, tilted about x; in it a picture of 48 x 48 pixels of 1 mm about its origin.
    const float normal[3] = {0, 0.6F, 0.8F}, middle[3] = {32, 32, 32}, right[3] = {1, 0, 0};
    const RZ_PlaneParams plane(normal, middle, right);
    const double corner[3] = {-24, -24, 0}, across[3] = {48, 0, 0}, down[3] = {0, 48, 0},
                 depth[3] = {0, 0, 1};
    const RZ_Box picture(48, 48, 1, RZ_BoxParams(corner, across, down, depth));

    std::vector<short> pixels(48 * 48, -1000);
    int firstRow = 48, lastRow = -1, firstColumn = 48, lastColumn = -1;
    RZ_PlanarObliqueProjection(pointers.data(), volume, volume.params, plane, nullptr,
                               reinterpret_cast<char*>(pixels.data()), picture, &firstRow, &lastRow,
                               &firstColumn, &lastColumn, 0, 31, RZ_OBL_RenditionQuality::Linear, 0.0F,
                               RZ_OBL_RenditionType::Average);
    std::printf("rows %d to %d, middle pixel %d\n", firstRow, lastRow, pixels[24 * 48 + 24]);
}
