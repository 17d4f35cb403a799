#include <vtkFloatArray.h>
#include <vtkImageReslice.h>
#include <vtkMatrix4x4.h>
#include <vtkNew.h>

#include "bench/harness/peers_vtk.h"
#include "bench/jobs/resample/resample.h"

namespace rz_bench {

Contender resample_vtk(Volume& volume) {
    const TurnedGrid grid(volume);
    const auto image = vtk_image(volume);
    const auto reslice = vtkSmartPointer<vtkImageReslice>::New();
    reslice->SetInputData(image);
    vtkNew<vtkMatrix4x4> axes;
    for (int k = 0; k < 3; ++k) {
        const auto i = static_cast<std::size_t>(k);
        for (int axis = 0; axis < 3; ++axis)
            axes->SetElement(k, axis, grid.directions[static_cast<std::size_t>(axis)][i]);
        axes->SetElement(k, 3, grid.origin[i]);
    }
    reslice->SetResliceAxes(axes);
    reslice->SetInterpolationModeToLinear();
    reslice->SetOutputScalarType(VTK_FLOAT);
    reslice->SetOutputSpacing(grid.spacing.data());
    reslice->SetOutputOrigin(0.0, 0.0, 0.0);
    reslice->SetOutputExtent(0, grid.size[0] - 1, 0, grid.size[1] - 1, 0, grid.size[2] - 1);
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
