#include "lower/log/log.h"
#include "tests/fuzz/fuzz.h"
#include "tests/slabs/multi_slice_case.h"
#include "tests/slabs/subtraction_case.h"
#include "tests/slabs/wide_forms.h"

// Combination and subtraction of slices: each path and the plain form.

namespace {

using namespace rz_test;

constexpr Seed kSeed = 1;

void combine() {
    Branches unused;
    MultiSliceCase want(kSeed);
    const int expected = want.run_reference(unused);
    for (const bool wide : {false, true}) {
        let_wide_forms(wide);
        MultiSliceCase got(kSeed);
        rz_fuzz::stop_unless(got.run() == expected, "the result of a combination");
        rz_fuzz::stop_at(MultiSliceCase::first_difference(want, got));
    }
}

template <class Sample>
void subtract(int depth) {
    Branches unused;
    const SubtractionOptions options;
    SubtractionCase<Sample> want(kSeed, depth, options);
    const int expected = want.run_reference(unused);
    for (const bool wide : {false, true}) {
        let_wide_forms(wide);
        SubtractionCase<Sample> got(kSeed, depth, options);
        rz_fuzz::stop_unless(got.run() == expected, "the result of a subtraction");
        rz_fuzz::stop_at(SubtractionCase<Sample>::first_difference(want, got));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    JrnGLog.SetThreshold(-1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte() % 16;
    input.put_on_tape(kSeed);
    if (which <= 4) return combine(), 0;
    const int depth = which + 2;  // 7 to 17
    if (depth <= 8) return subtract<std::uint8_t>(depth), 0;
    return subtract<std::uint16_t>(depth), 0;
}
