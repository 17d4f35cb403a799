#pragma once

#include "lower/volume/tvolume.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// RZ_OBLUtils::Resample for T `short` and `float`, one statement per step. branches: what the voxels met.
template <class T>
int resample(const RZ_TVolume<T>& source, const RZ_TVolume<float>& destination, float outside_value,
             rz_test::Branches& branches);

}  // namespace rz_reference
