#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/branches.h"
#include "tests/support/rasters.h"

namespace rz_test {

/// What to leave out of a made case.
struct SubtractionOptions {
    int leastBitDepth = 7;
    int greatestBitDepth = 17;
    /// Of each range; up to 300 to make sums of bytes saturate.
    int mostSlices = 12;
    int mostRows = 40;
};

/// A call of RZ_GetMultiSliceSubtractionPlane, all of it from the seed. Sample: std::uint8_t for 8 bits,
/// std::uint16_t otherwise. Two of the same seed are equal.
template <class Sample>
struct SubtractionCase {
    /// Samples that block stores may write behind the last row of output.
    static constexpr std::size_t kWriteSlack = sizeof(Sample) == 1 ? 15 : 7;

    SubtractionCase(Seed caseSeed, int depth, const SubtractionOptions& options);

    int run();
    int run_reference(Branches& branches);
    /// Where two runs first differ, in words; empty if they are equal. The slack behind the last row of
    /// output is left out, the fence behind the slack is not.
    static std::string first_difference(const SubtractionCase& want, const SubtractionCase& got);

    std::size_t samples() const { return static_cast<std::size_t>(rows * columns); }
    /// Samples behind the last row of a slice that the copies of a single slice fetch: they take two blocks
    /// at the places of one.
    std::size_t readSlack() const;

    Seed seed = 0;
    int rows = 0;
    int columns = 0;
    int bitDepth = 0;
    bool isSigned = false;
    RZ_SubOpParams parameters;
    std::vector<std::unique_ptr<SourceRaster<Sample>>> rasters;
    std::vector<void*> slices;
    std::vector<Sample> output;
};

/// Runs the case of a seed in both forms, on the samples that its bit depth asks for, and says where they
/// differ; empty if nowhere.
std::string compare_subtraction(Seed seed, const SubtractionOptions& options, Branches& branches);

}  // namespace rz_test
