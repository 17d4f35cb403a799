#pragma once

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "toolkit/core/image.h"
#include "toolkit/core/report.h"
#include "toolkit/core/slice_range.h"
#include "toolkit/core/volume.h"

// Whole slices of a volume combined sample by sample. Results are 16-bit; 8-bit volumes are widened, colours
// refused. A mean is the arithmetic one of the stored samples, whatever their signs, rounded to the nearest.

namespace rzobl {

/// One slice, as thick as the range and in its middle. Throws Error.
Image slab(const Volume& volume, const SliceRange& range, RZ_OBL_SlabbingType type);

enum class Slide {
    /// A mean starts from that of the place before where the slab is thick enough for that to pay. Such a
    /// mean
    /// keeps the rounding of those before it.
    Incremental,
    /// Every slab from its own slices.
    Afresh,
};

/// The slab of range and of every range of as many slices behind it: slice i of the result is the slab that
/// starts i slices on, in its middle. Throws Error.
Volume sliding_slab(const Volume& volume, const SliceRange& range, RZ_OBL_SlabbingType type, Slide slide,
                    const Report& progress = {});

}  // namespace rzobl
