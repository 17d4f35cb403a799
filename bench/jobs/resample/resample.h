#pragma once

#include <array>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"

// 512 x 512 x 400 samples of 16 bits to 256 x 256 x 200 floats on a turned grid that lies wholly inside.

namespace rz_bench {

struct TurnedGrid {
    explicit TurnedGrid(const Volume& source);

    std::array<int, 3> size;
    std::array<double, 3> spacing;
    /// Physical position of voxel (0, 0, 0), and the unit direction of each axis.
    std::array<double, 3> origin;
    std::array<std::array<double, 3>, 3> directions;
};

std::vector<Case> resample_cases(Volume& volume);

Contender resample_ours(Volume& volume);
std::string resample_reference(Volume& volume, const Picture& ours);
Contender resample_vtk(Volume& volume);
Contender resample_itk(Volume& volume);
Contender resample_floor(Volume& volume);

}  // namespace rz_bench
