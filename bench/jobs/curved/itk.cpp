#include <itkLinearInterpolateImageFunction.h>

#include "bench/harness/peers_itk.h"
#include "bench/jobs/curved/curved.h"

namespace rz_bench {

Contender curved_itk(Volume& volume, float halfThickness, RZ_OBL_RenditionType type) {
    using Image = itk::Image<short, 3>;
    using Interpolator = itk::LinearInterpolateImageFunction<Image>;
    const auto sheet = std::make_shared<Sheet>(volume, halfThickness, type);
    const auto interpolator = Interpolator::New();
    interpolator->SetInputImage(itk_image<short>(volume));
    const auto raster = std::make_shared<Picture>(std::size_t{Sheet::kPixels} * Sheet::kPixels);

    Contender itk;
    itk.name = itk_name();
    itk.run = [sheet, interpolator, raster](int) {
        const Interpolator* const at = interpolator;
        unroll(*sheet, raster->data(), [at](double x, double y, double z) {
            Interpolator::ContinuousIndexType index;
            index[0] = x;
            index[1] = y;
            index[2] = z;
            return at->EvaluateAtContinuousIndex(index);
        });
    };
    itk.picture = [raster](int) { return *raster; };
    itk.refresh = [&volume] { volume.refreshBlock(); };
    return itk;
}

}  // namespace rz_bench
