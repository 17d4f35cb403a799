#include "bench/harness/peers_vtk.h"

#include <vtkDataArray.h>
#include <vtkNew.h>
#include <vtkPointData.h>
#include <vtkSMPTools.h>
#include <vtkShortArray.h>
#include <vtkUnsignedCharArray.h>
#include <vtkVersion.h>

namespace rz_bench {

std::string vtk_name() {
    return std::string("VTK ") + vtkVersion::GetVTKVersion();
}

vtkSmartPointer<vtkImageData> vtk_image(const Volume& volume) {
    auto image = vtkSmartPointer<vtkImageData>::New();
    image->SetDimensions(volume.size);
    image->SetSpacing(volume.spacing);
    image->SetOrigin(0.0, 0.0, 0.0);
    const auto samples = static_cast<vtkIdType>(volume.blockBytes() / volume.bytesPerSample());
    if (volume.kind == Kind::kInt16) {
        vtkNew<vtkShortArray> array;
        array->SetArray(static_cast<short*>(volume.block()), samples, 1);
        image->GetPointData()->SetScalars(array);
    } else {
        vtkNew<vtkUnsignedCharArray> array;
        const int components = volume.kind == Kind::kPixels ? 4 : 1;
        array->SetNumberOfComponents(components);
        array->SetArray(static_cast<unsigned char*>(volume.block()), samples * components, 1);
        image->GetPointData()->SetScalars(array);
    }
    return image;
}

void vtk_single_thread(vtkThreadedImageAlgorithm& filter) {
    vtkSMPTools::Initialize(1);
    filter.SetEnableSMP(false);
    filter.SetNumberOfThreads(1);
}

Picture vtk_picture(vtkImageData& image, Kind kind) {
    vtkDataArray* const scalars = image.GetPointData()->GetScalars();
    const int shown = kind == Kind::kPixels ? 3 : 1;
    Picture picture;
    for (vtkIdType i = 0; i < scalars->GetNumberOfTuples(); ++i) {
        for (int c = 0; c < shown; ++c) picture.push_back(static_cast<float>(scalars->GetComponent(i, c)));
    }
    return picture;
}

}  // namespace rz_bench
