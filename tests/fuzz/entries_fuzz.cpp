#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/fuzz/fuzz.h"
#include "tests/kernels/entry_scan.h"
#include "tests/support/whole_source_case.h"

// Scans by the entries that choose a kernel, so that the form of this processor runs whatever its name, over
// whole sources and along any plane, and their plain forms.

namespace {

using namespace rz_test;

constexpr Seed kSeed = 1;

template <class Case, class Scan>
void compare(const std::vector<Scan>& scans, std::size_t which, bool whole) {
    const Scan& scan = scans[which % scans.size()];
    auto c =
        whole ? make_whole_source_case<Case>(kSeed, scan.options) : make_scan_case<Case>(kSeed, scan.options);
    c.quality = scan.quality;
    const std::string difference = first_difference(c, run(scan.reference, c), run(scan.entry, c));
    if (!difference.empty()) rz_fuzz::stop_at(scan.name + ": " + difference);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static const auto scans16 = entry_scans_16();
    static const auto scans8 = entry_scans_8();
    static const auto scans32 = entry_scans_32();
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte();
    const int flags = input.byte();
    const bool whole = (flags & 1) != 0;
    const auto index = static_cast<std::size_t>(flags >> 1);
    input.put_on_tape(kSeed);
    if (which % 8 < 5) compare<ScanCase16>(scans16, index, whole);
    if (which % 8 == 5 || which % 8 == 6) compare<ScanCase8>(scans8, index, whole);
    if (which % 8 == 7) compare<ScanCase32>(scans32, index, whole);
    return 0;
}
