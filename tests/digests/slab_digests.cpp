#include <cstdint>

#include "tests/digests/digest.h"
#include "tests/slabs/multi_slice_case.h"
#include "tests/slabs/subtraction_case.h"
#include "tests/slabs/wide_forms.h"

namespace rz_digests {
namespace {

using namespace rz_test;

constexpr int kCalls = 1000;

template <class Sample>
void subtraction(const char* name, int leastDepth, int greatestDepth) {
    Digest digest;
    SubtractionOptions options;
    options.mostSlices = sizeof(Sample) == 1 ? 40 : 12;
    for (Seed seed = 1; seed <= kCalls; ++seed) {
        const int depths = greatestDepth - leastDepth + 1;
        SubtractionCase<Sample> c(seed, leastDepth + static_cast<int>(seed) % depths, options);
        digest.add(c.run());
        // The slack behind the last row holds what a block left there: no part of the result.
        const std::size_t fence = (c.output.size() - c.samples() - c.kWriteSlack) / 2;
        digest.add(c.output.data(), fence + c.samples());
    }
    print_line(name, digest);
}

}  // namespace

void slab_digests(Forms forms) {
    let_wide_forms(forms == Forms::kWide);
    Digest digest;
    for (Seed seed = 1; seed <= kCalls; ++seed) {
        MultiSliceCase c(seed);
        digest.add(c.run());
        digest.add(c.output->data(), c.output->size());
        for (const auto& raster : c.rasters) {
            if (raster) digest.add(raster->data(), raster->size());
        }
    }
    print_line("RZ_GetMultiSlicePlane", digest);
    subtraction<std::uint8_t>("RZ_GetMultiSliceSubtractionPlane/8_bits", 8, 8);
    subtraction<std::uint16_t>("RZ_GetMultiSliceSubtractionPlane/16_bits", 9, 16);
}

}  // namespace rz_digests
