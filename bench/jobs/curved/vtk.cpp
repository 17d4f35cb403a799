#include <vtkImageInterpolator.h>

#include "bench/harness/peers_vtk.h"
#include "bench/jobs/curved/curved.h"

namespace rz_bench {

Contender curved_vtk(Volume& volume, float halfThickness, RZ_OBL_RenditionType type) {
    const auto sheet = std::make_shared<Sheet>(volume, halfThickness, type);
    const auto image = vtk_image(volume);
    const auto interpolator = vtkSmartPointer<vtkImageInterpolator>::New();
    interpolator->SetInterpolationModeToLinear();
    interpolator->Initialize(image);
    interpolator->Update();
    const auto raster = std::make_shared<Picture>(std::size_t{Sheet::kPixels} * Sheet::kPixels);

    Contender vtk;
    vtk.name = vtk_name();
    vtk.run = [sheet, image, interpolator, raster](int) {
        vtkImageInterpolator* const at = interpolator;
        unroll(*sheet, raster->data(), [at](double x, double y, double z) {
            const double index[3] = {x, y, z};
            double value = 0.0;
            at->InterpolateIJK(index, &value);
            return value;
        });
    };
    vtk.picture = [raster](int) { return *raster; };
    vtk.refresh = [&volume] { volume.refreshBlock(); };
    return vtk;
}

}  // namespace rz_bench
