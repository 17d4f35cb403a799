#include <vtkImageReslice.h>

#include "bench/harness/peers_vtk.h"
#include "bench/jobs/restack/restack.h"

namespace rz_bench {

Contender restack_vtk(Volume& volume) {
    const auto image = vtk_image(volume);
    const auto reslice = vtkSmartPointer<vtkImageReslice>::New();
    reslice->SetInputData(image);
    reslice->SetInterpolationModeToLinear();
    const double* const spacing = volume.spacing;
    reslice->SetOutputSpacing(spacing[0], spacing[1], spacing[2] * (restacked_index(1) - restacked_index(0)));
    reslice->SetOutputOrigin(0.0, 0.0, spacing[2] * restacked_index(0));
    reslice->SetOutputExtent(0, volume.size[0] - 1, 0, volume.size[1] - 1, 0, kMade - 1);
    vtk_single_thread(*reslice);

    Contender vtk;
    vtk.name = vtk_name();
    vtk.run = [reslice, image](int) {
        reslice->Modified();
        reslice->Update();
    };
    vtk.picture = [reslice](int) { return vtk_picture(*reslice->GetOutput(), Kind::kInt16); };
    vtk.refresh = [&volume] { volume.refreshBlock(); };
    return vtk;
}

}  // namespace rz_bench
