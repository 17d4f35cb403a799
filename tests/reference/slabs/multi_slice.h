#pragma once

#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// RZ_GetMultiSlicePlane without its log line, one statement per step. branches: what the cases met.
int get_multi_slice_plane(const std::vector<short*>& slices, int rows, int columns, bool is_signed,
                          RZ_OBL_SlabbingType type, short* output, unsigned short first_slice,
                          unsigned short last_slice, short* previous_output,
                          unsigned short previous_first_slice, unsigned short previous_last_slice,
                          rz_test::Branches& branches);

}  // namespace rz_reference
