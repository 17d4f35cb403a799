#include "tests/fuzz/fuzz.h"
#include "tests/services/resample_case.h"

// Resampling from 16-bit and float volumes, and its plain form.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const bool fromFloats = input.byte() % 2 == 1;
    constexpr rz_test::Seed kSeed = 1;
    input.put_on_tape(kSeed);
    rz_test::Branches unused;
    rz_fuzz::stop_at(fromFloats ? rz_test::compare_resample<float>(kSeed, unused)
                                : rz_test::compare_resample<short>(kSeed, unused));
    return 0;
}
