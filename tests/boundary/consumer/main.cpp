#include <cstdio>
#include <vector>

#include "lower/lower.h"
#include "rz_obl/rz_obl.h"

// A project of somebody else: an oblique plane through a constant volume.
int main() {
    constexpr int kSize = 16;
    const RZ_Box volumeBox(kSize, kSize, kSize, RZ_BoxParams(kSize, kSize, kSize));
    std::vector<short> raster(kSize * kSize, 1000);
    const PixelDataAttributes attributes{kSize, kSize, 16, 1};
    RZ_ShortSlice slice(raster.data(), attributes);
    std::vector<RZ_ShortSlice*> slices(kSize, &slice);

    const float normal[3] = {0.0F, 0.6F, 0.8F};
    const float origin[3] = {0.0F, 3.0F, 4.0F};
    const float unit[3] = {1.0F, 0.0F, 0.0F};
    const RZ_Box outputBox(kSize, kSize, 1, RZ_BoxParams(kSize, kSize, 1));
    std::vector<short> image(kSize * kSize, 0);
    int firstRow = kSize;
    int lastRow = -1;
    int firstColumn = kSize;
    int lastColumn = -1;
    RZ_CalcOblique(slices.data(), volumeBox, volumeBox.params, RZ_PlaneParams(normal, origin, unit), nullptr,
                   image.data(), outputBox, &firstRow, &lastRow, &firstColumn, &lastColumn, 0, kSize - 1,
                   RZ_OBL_RenditionQuality::Linear, 0.0F, RZ_OBL_RenditionType::Average, true, 16);
    if (firstRow > lastRow || firstColumn > lastColumn) {
        std::puts("consumer: the image is empty");
        return 1;
    }
    const short pixel = image[static_cast<std::size_t>(firstRow * kSize + firstColumn)];
    std::printf("consumer: rows %d to %d, first pixel %d\n", firstRow, lastRow, pixel);
    return pixel == 997 ? 0 : 1;
}
