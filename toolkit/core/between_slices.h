#pragma once

#include <vector>

#include "toolkit/core/volume.h"

namespace rzobl {

/// Draws slices between those of a volume, pixel on sample. A scan needs neighbours on all sides of a pixel,
/// so that it works on copies of two slices at a time with their outermost samples repeated once.
class BetweenSlices {
  public:
    /// Throws Error where slices are too narrow or too wide to scan.
    explicit BetweenSlices(const Volume& volume);

    /// The slice at this index, strictly between two slices of the volume, into a raster of the volume's
    /// kind.
    void draw(double index, void* raster);

  private:
    /// Number of slice k among the two copies, filled if it is another's.
    int copy_of(int k);

    const Volume& volume_;
    Volume copies_;
    int held_[2] = {-1, -1};
    std::vector<RZ_Slice*> table_;
    Grid padded_;
};

}  // namespace rzobl
