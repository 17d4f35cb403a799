#include <gtest/gtest.h>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/kernels/entry_scan.h"
#include "tests/support/whole_source_case.h"

// Scans over sources of exactly the readable size (see SourceBlock), from the first sample to the last one,
// by the entries that choose a kernel: whatever form this processor gets may read what the plain form may,
// not a byte more.

namespace {

using namespace rz_test;

template <class Case, class Scan>
void compare(const std::vector<Scan>& scans) {
    constexpr int kCases = 300;
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    for (const Scan& scan : scans) {
        SCOPED_TRACE(scan.name);
        int drawn = 0;
        for (const Seed seed : seeds(kCases)) {
            for (const bool whole : {true, false}) {
                auto c = whole ? make_whole_source_case<Case>(seed, scan.options)
                               : make_scan_case<Case>(seed, scan.options);
                c.quality = scan.quality;
                const auto want = run(scan.reference, c);
                ASSERT_EQ(first_difference(c, want, run(scan.entry, c)), "")
                    << (whole ? "whole source" : "any plane");
                if (!want.output.untouched()) ++drawn;
            }
        }
        if (!is_replay()) {
            EXPECT_GT(drawn, kCases);
        }
    }
}

TEST(SourceEdges, bits_16) {
    compare<ScanCase16>(entry_scans_16());
}

TEST(SourceEdges, bits_8) {
    compare<ScanCase8>(entry_scans_8());
}

TEST(SourceEdges, bits_32) {
    compare<ScanCase32>(entry_scans_32());
}

}  // namespace
