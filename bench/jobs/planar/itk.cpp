#include <itkImage.h>
#include <itkLinearInterpolateImageFunction.h>
#include <itkResampleImageFilter.h>

#include "bench/harness/peers_itk.h"
#include "bench/jobs/planar/planar.h"

namespace rz_bench {
namespace {

template <class Sample>
Contender contender(Volume& volume, const PlanarRequest& request) {
    using Image = itk::Image<Sample, 3>;
    using Filter = itk::ResampleImageFilter<Image, Image>;
    const auto filter = Filter::New();
    filter->SetInput(itk_image<Sample>(volume));
    filter->SetInterpolator(itk::LinearInterpolateImageFunction<Image>::New());
    typename Image::DirectionType direction;
    typename Image::PointType origin;
    const auto n = request.orientation.normal();
    for (unsigned k = 0; k < 3; ++k) {
        const double u = request.orientation.u[k];
        const double v = request.orientation.v[k];
        direction(k, 0) = u;
        direction(k, 1) = v;
        direction(k, 2) = n[k];
        origin[k] =
            request.centre[k] - 0.5 * request.pixel * (u * (request.width - 1) + v * (request.height - 1));
    }
    filter->SetOutputDirection(direction);
    filter->SetOutputOrigin(origin);
    typename Image::SpacingType spacing;
    spacing.Fill(request.pixel);
    filter->SetOutputSpacing(spacing);
    filter->SetSize(
        {static_cast<itk::SizeValueType>(request.width), static_cast<itk::SizeValueType>(request.height), 1});
    filter->SetNumberOfWorkUnits(1);

    Contender itk;
    itk.name = itk_name();
    itk.run = [filter](int) {
        filter->Modified();
        filter->Update();
    };
    itk.picture = [filter](int) {
        const Sample* const samples = filter->GetOutput()->GetBufferPointer();
        return Picture(samples,
                       samples + filter->GetOutput()->GetLargestPossibleRegion().GetNumberOfPixels());
    };
    itk.refresh = [&volume] { volume.refreshBlock(); };
    return itk;
}

}  // namespace

Contender planar_itk(Volume& volume, const PlanarRequest& request) {
    if (volume.kind == Kind::kUInt8) return contender<unsigned char>(volume, request);
    return contender<short>(volume, request);
}

}  // namespace rz_bench
