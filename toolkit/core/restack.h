#pragma once

#include <optional>

#include "toolkit/core/plane_request.h"
#include "toolkit/core/report.h"
#include "toolkit/core/slice_range.h"
#include "toolkit/core/volume.h"

// New volumes of parallel slices. Everything in millimetres; every function throws Error.

namespace rzobl {

/// Slices along those of the volume: slice i lies exactly i x spacing behind the first of the range (default:
/// all slices), up to the last one. A slice that falls on a stored one, to a millionth of the slice spacing,
/// is that one; the others are interpolated between their two neighbours, to their outermost pixels.
Volume restack(const Volume& volume, double spacing, const std::optional<SliceRange>& range,
               const Report& progress = {});

/// The same by RZ_OBLUtils::CalcObliqueVoldata, which counts its slices by the whole depth of the range,
/// takes the stored slice wherever i x spacing is exactly one, and puts every other at its place in an even
/// division of that depth, whose spacing the result states: the two kinds of slices do not lie evenly.
/// Computed slices hold 0 in the outermost pixels. 16-bit volumes.
Volume restack_shared(const Volume& volume, double spacing, const std::optional<SliceRange>& range);

/// Pictures of the plane, spacing apart along its normal, as many as cover the whole volume; its centre is
/// not looked at. Default size and pixels: those of one picture that shows the whole volume.
Volume oblique_stack(const Volume& volume, const PlaneRequest& plane, double spacing,
                     const Report& progress = {});

}  // namespace rzobl
