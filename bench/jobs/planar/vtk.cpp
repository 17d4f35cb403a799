#include <vtkImageData.h>
#include <vtkImageReslice.h>
#include <vtkMatrix4x4.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkSmartPointer.h>

#include <algorithm>
#include <cmath>

#include "bench/harness/peers_vtk.h"
#include "bench/jobs/planar/planar.h"

namespace rz_bench {

Contender planar_vtk(Volume& volume, const PlanarRequest& request) {
    const auto image = vtk_image(volume);
    const auto reslice = vtkSmartPointer<vtkImageReslice>::New();
    reslice->SetInputData(image);
    vtkNew<vtkMatrix4x4> axes;
    const auto n = request.orientation.normal();
    // slabs along the axes of the volume lie half a plane before the others in this version
    const bool alongAxis = std::max({std::fabs(n[0]), std::fabs(n[1]), std::fabs(n[2])}) > 0.999999;
    const double early = request.planes > 1 && alongAxis ? 0.5 * request.planeDistance(volume) : 0.0;
    for (int k = 0; k < 3; ++k) {
        const auto i = static_cast<std::size_t>(k);
        axes->SetElement(k, 0, request.orientation.u[i]);
        axes->SetElement(k, 1, request.orientation.v[i]);
        axes->SetElement(k, 2, n[i]);
        axes->SetElement(k, 3, request.centre[i] + early * n[i]);
    }
    reslice->SetResliceAxes(axes);
    const bool cubic = request.quality == RZ_OBL_RenditionQuality::Cubic ||
                       request.quality == RZ_OBL_RenditionQuality::SemiCubic || request.tricubic;
    if (cubic) {
        reslice->SetInterpolationModeToCubic();
    } else {
        reslice->SetInterpolationModeToLinear();
    }
    if (request.type == RZ_OBL_RenditionType::Average) reslice->SetSlabModeToMean();
    if (request.type == RZ_OBL_RenditionType::Maximum) reslice->SetSlabModeToMax();
    if (request.type == RZ_OBL_RenditionType::Minimum) reslice->SetSlabModeToMin();
    reslice->SetSlabNumberOfSlices(request.planes);
    reslice->SetOutputSpacing(request.pixel, request.pixel, request.planeDistance(volume));
    reslice->SetOutputOrigin(-0.5 * (request.width - 1) * request.pixel,
                             -0.5 * (request.height - 1) * request.pixel, 0.0);
    reslice->SetOutputExtent(0, request.width - 1, 0, request.height - 1, 0, 0);
    vtk_single_thread(*reslice);

    Contender vtk;
    vtk.name = vtk_name();
    vtk.run = [reslice, image](int) {
        reslice->Modified();
        reslice->Update();
    };
    const Kind kind = volume.kind;
    vtk.picture = [reslice, kind](int) { return vtk_picture(*reslice->GetOutput(), kind); };
    vtk.refresh = [&volume] { volume.refreshBlock(); };
    return vtk;
}

}  // namespace rz_bench
