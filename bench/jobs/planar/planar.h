#pragma once

#include <array>
#include <string>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"
#include "rz_obl/rendition.h"

// Planes and slabs through a volume, of every sample layout.

namespace rz_bench {

/// A plane in physical space: u runs along its columns, v along its rows; both of length 1, at right angles.
struct Orientation {
    std::array<double, 3> u;
    std::array<double, 3> v;
    std::array<double, 3> normal() const {
        return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    }
};

/// Axial, turned about y by a and then about its own columns by b (degrees).
Orientation turned(double a, double b);
Orientation axial();
Orientation coronal();
Orientation sagittal();

struct PlanarRequest {
    Orientation orientation;
    /// Physical position of the picture's middle.
    std::array<double, 3> centre;
    int width;
    int height;
    /// Millimetres.
    double pixel;
    RZ_OBL_RenditionQuality quality = RZ_OBL_RenditionQuality::Linear;
    RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average;
    /// Planes of the slab, odd; 1 for none.
    int planes = 1;
    /// Every sample that the picture shows is a sample of the source.
    bool onGrid = false;
    /// The kernel that the selection never reaches by itself.
    bool tricubic = false;

    double samples() const { return static_cast<double>(width) * height * planes; }
    /// Physical distance of neighbouring planes of the slab: one sample along the axis nearest the normal.
    double planeDistance(const Volume& volume) const;
    /// Centre of pixel (0, 0) of plane 0 in index space, and the steps per column, row and plane.
    std::array<double, 3> firstIndex(const Volume& volume) const;
    std::array<std::array<double, 3>, 3> indexSteps(const Volume& volume) const;
};

/// What all planar jobs measure on a volume.
std::vector<Case> planar_cases(Volume& volume);
/// 8-bit samples, and pixels of three channels.
std::vector<Case> byte_cases(Volume& volume);
std::vector<Case> colour_cases(Volume& volume);

Contender planar_ours(Volume& volume, const PlanarRequest& request);
/// Compares a picture with the plain kernels of the tests; of a slab every 16th pair of rows.
std::string planar_reference(Volume& volume, const PlanarRequest& request, const Picture& ours);

Contender planar_vtk(Volume& volume, const PlanarRequest& request);
/// Single linear planes of 16-bit or 8-bit samples.
Contender planar_itk(Volume& volume, const PlanarRequest& request);
/// 16-bit slabs on the grid, axial, coronal or sagittal.
Contender planar_opencv(Volume& volume, const PlanarRequest& request);
Contender planar_numpy(Volume& volume, const PlanarRequest& request);

/// The probes of a request: what its loads alone take.
std::vector<Contender> planar_floors(Volume& volume, const PlanarRequest& request);

}  // namespace rz_bench
