#pragma once

#include <vtkImageData.h>
#include <vtkSmartPointer.h>
#include <vtkThreadedImageAlgorithm.h>

#include <string>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

namespace rz_bench {

/// "VTK 9.1.0"
std::string vtk_name();
/// An image over the volume's block. Pixels have four components.
vtkSmartPointer<vtkImageData> vtk_image(const Volume& volume);
void vtk_single_thread(vtkThreadedImageAlgorithm& filter);
Picture vtk_picture(vtkImageData& image, Kind kind);

}  // namespace rz_bench
