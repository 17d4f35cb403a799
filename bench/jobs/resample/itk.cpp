#include <itkLinearInterpolateImageFunction.h>
#include <itkResampleImageFilter.h>

#include "bench/harness/peers_itk.h"
#include "bench/jobs/resample/resample.h"

namespace rz_bench {

Contender resample_itk(Volume& volume) {
    using Source = itk::Image<short, 3>;
    using Output = itk::Image<float, 3>;
    using Filter = itk::ResampleImageFilter<Source, Output>;
    const TurnedGrid grid(volume);
    const auto filter = Filter::New();
    filter->SetInput(itk_image<short>(volume));
    filter->SetInterpolator(itk::LinearInterpolateImageFunction<Source>::New());
    Output::DirectionType direction;
    Output::PointType origin;
    Output::SpacingType spacing;
    Output::SizeType size;
    for (unsigned k = 0; k < 3; ++k) {
        for (unsigned axis = 0; axis < 3; ++axis) direction(k, axis) = grid.directions[axis][k];
        origin[k] = grid.origin[k];
        spacing[k] = grid.spacing[k];
        size[k] = static_cast<itk::SizeValueType>(grid.size[k]);
    }
    filter->SetOutputDirection(direction);
    filter->SetOutputOrigin(origin);
    filter->SetOutputSpacing(spacing);
    filter->SetSize(size);
    filter->SetNumberOfWorkUnits(1);

    Contender itk;
    itk.name = itk_name();
    itk.run = [filter](int) {
        filter->Modified();
        filter->Update();
    };
    itk.picture = [filter](int) {
        const float* const voxels = filter->GetOutput()->GetBufferPointer();
        return Picture(voxels, voxels + filter->GetOutput()->GetLargestPossibleRegion().GetNumberOfPixels());
    };
    itk.refresh = [&volume] { volume.refreshBlock(); };
    return itk;
}

}  // namespace rz_bench
