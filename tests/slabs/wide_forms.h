#pragma once

// Stands between the slab functions and their wide forms, at link time (link rz_test_wide_forms), so that
// both forms run on one processor and the choice shows.

namespace rz_test {

/// From now on calls of wide forms reach them, as at the start, or find that there is nothing they can do.
void let_wide_forms(bool work);

/// Calls of wide forms since the last call of this function.
int wide_form_calls();

}  // namespace rz_test
