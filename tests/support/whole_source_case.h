#pragma once

#include "tests/support/scan_case.h"

namespace rz_test {

/// A walk along two source axes over the whole of a source, as far as a kernel of these options may go at
/// both ends, with sides and runs longer than those of make_scan_case: whole and broken steps, rows that meet
/// wide forms' ways for runs along a source row and for blocks of rows. Instantiated for the three scan
/// cases.
template <class Case>
Case make_whole_source_case(Seed seed, const ScanOptions& options);

}  // namespace rz_test
