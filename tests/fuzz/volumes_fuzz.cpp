#include "lower/log/log.h"
#include "rz_obl/volume_services/volume_services.h"
#include "tests/fuzz/fuzz.h"
#include "tests/services/fast_index_case.h"
#include "tests/services/voldata_case.h"

// New volumes of oblique and re-spaced slices, and the index of rows, and their plain forms.

namespace {

using namespace rz_test;

constexpr Seed kSeed = 1;

void plane() {
    Branches unused;
    VoldataPlane c(kSeed);
    const auto want = rz_reference::calc_oblique_voldata(*c.source->volume, c.plane, c.type, c.thickness, 0);
    const std::unique_ptr<RZ_VolData> got(
        RZ_OBLUtils::CalcObliqueVoldata(*c.source->volume, c.plane, c.type, c.thickness));
    rz_fuzz::stop_at(first_difference(*c.source, want, got.get(), 0, unused));
}

void range() {
    Branches unused;
    const VoldataRange c(kSeed);
    const auto want = rz_reference::calc_oblique_voldata(*c.source->volume, c.first, c.last, c.spacing, 0);
    const std::unique_ptr<RZ_VolData> got(
        RZ_OBLUtils::CalcObliqueVoldata(*c.source->volume, c.first, c.last, c.spacing));
    rz_fuzz::stop_at(first_difference(*c.source, want, got.get(), 0, unused));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    JrnGLog.SetThreshold(-1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte() % 5;
    input.put_on_tape(kSeed);
    if (which <= 1) plane();
    if (which == 2 || which == 3) range();
    if (which == 4) rz_fuzz::stop_at(compare_fast_index(kSeed));
    return 0;
}
