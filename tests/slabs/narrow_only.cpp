#include "tests/slabs/wide_forms.h"

// In a program with this unit the narrow forms do everything, whatever the processor.

namespace {

[[maybe_unused]] const bool kNarrow = [] {
    rz_test::let_wide_forms(false);
    return true;
}();

}  // namespace
