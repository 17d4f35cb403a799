#pragma once

#include <array>

#include "toolkit/core/grid.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// Samples of a made-up head about the physical origin, some 150 x 190 x 200 mm, at the positions of grid,
/// which may lie anywhere in any orientation. It has what a reformat is judged by: a shell of bone, soft
/// tissue, air-filled passages, spheres, a cross of rods, a vessel that winds round the body axis as a helix,
/// and marks that tell left from right (three beads on the patient's left, one on the right). Int16:
/// Hounsfield units. UInt8: grey as in an MR picture. Rgb: tissue by colour. Throws Error if grid is bad.
Volume make_phantom(const Grid& grid, SampleKind kind);

/// The grid that shows all of it at this spacing, along the axes of the patient.
Grid phantom_grid(double spacing);

/// Centre line of the helix vessel: three points in space per turn are enough to draw it; t from 0 to 1.
Vec3 phantom_helix(double t);
/// Its inner radius in mm.
inline constexpr double kPhantomHelixRadius = 4;

}  // namespace rzobl
