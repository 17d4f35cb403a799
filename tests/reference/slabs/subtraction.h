#pragma once

#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// RZ_GetMultiSliceSubtractionPlane without its log lines and the two arguments that it does not read, one
/// statement per step. Writes nothing behind the last row of output. branches: what the cases met.
int get_multi_slice_subtraction_plane(const std::vector<void*>& slices, int rows, int columns, int bitdepth,
                                      bool is_signed, void* output, const RZ_SubOpParams& parameters,
                                      rz_test::Branches& branches);

}  // namespace rz_reference
