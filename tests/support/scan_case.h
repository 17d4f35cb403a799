#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/rasters.h"
#include "tests/support/seeded.h"

// Seeded inputs of scan kernels, and the comparison of what two kernels made of one input.

namespace rz_test {

/// Which positions the spans of a case may reach.
enum class Reach {
    /// Columns x and x + 1, rows y and y + 1 lie in the raster: what a frame guarantees.
    kInside,
    /// Memory is safe, but x and y may run over into the neighbouring row.
    kInRaster,
    /// x and y lie anywhere: for kernels that test coordinates themselves. z still stays in the table.
    kAnywhere,
};

struct ScanOptions {
    Reach reach = Reach::kInside;
    /// The kernel limits x and y from above itself, so that they may pass the last column and row.
    bool limitsAbove = false;
    /// Slices that a sample reads below and above its own.
    int slicesBelow = 0;
    int slicesAbove = 1;
    /// Readable before and behind each source raster: so many times a row and a sample.
    int neighboursBefore = 0;
    int neighboursBehind = 0;
    int maxSlabSteps = 20;
    bool negativeSlabSteps = true;
    /// One sample is taken even of a negative number of planes, as maximum and minimum do for their seed; it
    /// stands where either of their two walks puts it.
    bool seedsOnePlane = false;
    /// The first component of the slab step may be negative: for what runs before the sign is settled.
    bool negativeSlabStep = false;
    /// A third of the cases has the 12 bits of a CT; a volume of 8-bit samples always has 8.
    int bitDepthFrom = 8;
    int bitDepthTo = 16;
};

template <class Sample, class Step>
struct ScanCase {
    Seed seed = 0;
    int rowCount = 0;
    int rowStride = 0;
    int slabSteps = 0;
    std::vector<short> spans;
    float planeToIndex[4][4] = {};
    std::array<Step, 3> columnStep{};
    std::array<Step, 3> slabStep{};
    int sourceWidth = 0;
    int sourceHeight = 0;
    int depth = 0;
    std::vector<SourceRaster<Sample>> rasters;
    /// Entries -2 to depth + 1, the guards as copies of the ends.
    std::vector<Sample*> table;
    int quality = 4;
    /// firstRow, lastRow, firstColumn, lastColumn as the caller seeds them.
    std::array<int, 4> bounds{};
    bool isSigned = true;
    int bitDepth = 16;

    Sample* const* slices() const { return table.data() + 2; }
};

using ScanCase16 = ScanCase<short, int>;
using ScanCase8 = ScanCase<unsigned char, float>;
using ScanCase32 = ScanCase<std::uint32_t, float>;

/// Everything that a kernel could change.
template <class Sample, class Step>
struct Outcome {
    Fenced<Sample> output;
    std::array<int, 4> bounds;
    std::array<Step, 3> columnStep;
    std::array<Step, 3> slabStep;
    std::vector<short> spans;

    friend bool operator==(const Outcome& a, const Outcome& b) {
        return a.output == b.output && a.bounds == b.bounds && a.columnStep == b.columnStep &&
               a.slabStep == b.slabStep && a.spans == b.spans;
    }
};

/// A case whose spans obey the options; instantiated for the three scan cases.
template <class Case>
Case make_scan_case(Seed seed, const ScanOptions& options);

/// A small case to be filled in by hand: rasters of nought, spans over whole rows, columns along x, rows
/// along y, the middle of an empty rectangle as bounds.
template <class Case>
Case blank_scan_case(int sourceWidth, int sourceHeight, int depth, int rowCount, int rowStride);

/// Runs a kernel on a fresh raster of the case's noise. kernel: callable with const scan_args<...>&.
template <class Sample, class Step, class Kernel>
Outcome<Sample, Step> run(Kernel&& kernel, const ScanCase<Sample, Step>& c) {
    const auto samples = static_cast<std::size_t>(c.rowCount) * static_cast<std::size_t>(c.rowStride);
    Outcome<Sample, Step> o{Fenced<Sample>(samples, c.seed), c.bounds, c.columnStep, c.slabStep, c.spans};
    rz_obl::scan_args<Sample, Step> args{};
    args.rowCount = c.rowCount;
    args.rowStride = c.rowStride;
    args.slabSteps = c.slabSteps;
    args.rowSpans = o.spans.data();
    args.planeToIndex = c.planeToIndex;
    args.columnStep = o.columnStep.data();
    args.slabStep = o.slabStep.data();
    args.slices = c.slices();
    args.output = o.output.data();
    args.sourceWidth = c.sourceWidth;
    args.sourceHeight = c.sourceHeight;
    args.quality = c.quality;
    args.firstRow = &o.bounds[0];
    args.lastRow = &o.bounds[1];
    args.firstColumn = &o.bounds[2];
    args.lastColumn = &o.bounds[3];
    args.isSigned = c.isSigned;
    args.bitDepth = c.bitDepth;
    kernel(args);
    return o;
}

/// Where two outcomes of a case first differ, in words, with the seed; empty if they are equal.
template <class Sample, class Step>
std::string first_difference(const ScanCase<Sample, Step>& c, const Outcome<Sample, Step>& want,
                             const Outcome<Sample, Step>& got);

}  // namespace rz_test
