#include <cmath>
#include <limits>
#include <stdexcept>

#include "bench/floor/loads.h"
#include "bench/jobs/curved/curved.h"
#include "tests/reference/curved/frame.h"

namespace rz_bench {
namespace {

constexpr short kUntouched = std::numeric_limits<short>::min();
constexpr std::size_t kCount = std::size_t{Sheet::kPixels} * Sheet::kPixels;

Picture as_picture(const std::vector<short>& raster) {
    Picture picture;
    for (const short pixel : raster)
        picture.push_back(pixel == kUntouched ? std::nanf("") : static_cast<float>(pixel));
    return picture;
}

}  // namespace

Contender curved_ours(Volume& volume, float halfThickness, RZ_OBL_RenditionType type) {
    const auto sheet = std::make_shared<Sheet>(volume, halfThickness, type);
    const auto rasters = std::make_shared<std::vector<std::vector<short>>>(2, std::vector<short>(kCount));
    const auto raster = [rasters](int buffer) -> std::vector<short>& {
        return (*rasters)[static_cast<std::size_t>(buffer)];
    };
    Contender ours;
    ours.name = "ours";
    ours.run = [sheet, raster](int buffer) { sheet->draw(raster(buffer).data()); };
    ours.prepare = [raster](int buffer) { raster(buffer).assign(kCount, kUntouched); };
    ours.picture = [raster](int buffer) { return as_picture(raster(buffer)); };
    ours.refresh = [&volume] { volume.refreshRasters(); };
    return ours;
}

std::string curved_reference(Volume& volume, float halfThickness, RZ_OBL_RenditionType type,
                             const Picture& ours) {
    Sheet sheet(volume, halfThickness, type);
    std::vector<short> raster(kCount, kUntouched);
    int firstRow = 0, lastRow = 0, crossFirst = 0;
    float along = 0.0F, cross = 0.0F;
    rz_reference::CurvedCall call;
    call.slices = volume.slices();
    call.ignoredBox = call.volumeBox = &volume.box();
    call.frameParams = call.cropParams = &volume.box().params;
    call.spline = &sheet.spline;
    call.raster = raster.data();
    call.imageBox = &sheet.image;
    call.curveData = &sheet.data;
    call.firstRow = &firstRow;
    call.lastRow = &lastRow;
    call.lastSlice = volume.size[2] - 1;
    call.thickness = halfThickness;
    call.type = type;
    call.alongRemainder = &along;
    call.crossRemainder = &cross;
    call.crossFirst = &crossFirst;
    rz_test::Branches branches;
    rz_reference::calc_curved(call, branches);
    const Picture want = as_picture(raster);
    for (std::size_t i = 0; i < kCount; ++i) {
        if (!(want[i] == ours[i] || (std::isnan(want[i]) && std::isnan(ours[i]))))
            throw std::runtime_error("our picture differs from the plain worker's at pixel " +
                                     std::to_string(i));
    }
    return "equal to the plain workers";
}

Contender curved_floor(Volume& volume, float halfThickness, RZ_OBL_RenditionType type) {
    const auto sheet = std::make_shared<Sheet>(volume, halfThickness, type);
    const auto walks = std::make_shared<std::vector<LoadWalk>>();
    for (const Sheet::Column& c : sheet->columns) {
        LoadWalk walk{};
        walk.rows = 1;
        walk.columns = Sheet::kPixels;
        walk.planes = 2 * c.halfSamples + 1;
        for (int k = 0; k < 3; ++k) {
            const double first = c.origin[k] + sheet->firstCross * c.across[k] - c.halfSamples * c.through[k];
            walk.first[k] = static_cast<std::int32_t>(std::lround(first * 262144.0));
            walk.columnStep[k] = static_cast<std::int32_t>(std::lround(c.across[k] * 262144.0));
            walk.planeStep[k] = static_cast<std::int32_t>(std::lround(c.through[k] * 262144.0));
        }
        walk.slices = volume.rasters();
        walk.sourceWidth = volume.size[0];
        walks->push_back(walk);
    }
    Contender floor;
    floor.name = "floor";
    const bool wide = __builtin_cpu_supports("avx2") != 0;
    floor.run = [walks, wide](int) {
        for (const LoadWalk& walk : *walks) keep(wide ? linear_loads_16_wide(walk) : linear_loads_16(walk));
    };
    floor.refresh = [&volume] { volume.refreshRasters(); };
    return floor;
}

}  // namespace rz_bench
