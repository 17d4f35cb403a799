#include "tests/support/whole_source_case.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace rz_test {
namespace {

/// Steps and fractions that floats hold exactly, so that the last column of a run is known beforehand.
template <class Step>
Step exact_step(float samples) {
    return static_cast<Step>(std::is_same_v<Step, int> ? samples * 262144.0F : samples);
}

}  // namespace

template <class Case>
Case make_whole_source_case(Seed seed, const ScanOptions& options) {
    using Sample = std::decay_t<decltype(*std::declval<Case>().slices()[0])>;
    using Step = std::decay_t<decltype(std::declval<Case>().columnStep[0])>;
    Random random(seed);
    const int width = random.once_in(3) ? random.between(2, 9) : random.between(10, 90);
    const int height = random.once_in(3) ? random.between(2, 9) : random.between(10, 40);
    const int depth = random.between(1, 9);
    const int axis = random.between(0, 2);
    const int rowAxis = (axis + random.between(1, 2)) % 3;
    const int axes[3] = {axis, rowAxis, 3 - axis - rowAxis};

    // Positions from low to below high, on each axis.
    float low[3] = {0.0F, 0.0F, static_cast<float>(options.slicesBelow - 2)};
    float high[3] = {static_cast<float>(width - 1), static_cast<float>(height - 1),
                     static_cast<float>(depth + 2 - options.slicesAbove)};
    for (int k = 0; k < 2; ++k) {
        if (options.reach == Reach::kAnywhere) low[k] -= 3.0F;
        if (options.reach == Reach::kAnywhere || options.limitsAbove) high[k] += 3.0F;
    }
    const float fraction = random.pick({0.0F, 0.0F, 1.0F / 64, 0.5F, 63.0F / 64});
    float step[3];
    float start[3];
    int count[3];
    for (int i = 0; i < 3; ++i) {
        const int k = axes[i];
        step[i] = random.pick({1.0F, 1.0F, 1.0F, 0.5F, 0.75F, 1.5F, 2.0F});
        count[i] = 0;
        while (low[k] + fraction + static_cast<float>(count[i]) * step[i] < high[k]) ++count[i];
        start[i] = low[k] + fraction;
        const bool down = random.once_in(3);
        if (down) start[i] += static_cast<float>(count[i] - 1) * step[i];
        if (down) step[i] = -step[i];
    }
    const int columns = count[0];
    const int rows = std::min(count[1], 24);
    auto c = blank_scan_case<Case>(width, height, depth, rows, columns + random.between(0, 3));
    c.seed = seed;
    c.isSigned = random.once_in(2);
    c.bitDepth = random.pick({8, 12, 16});
    const auto neighbours = static_cast<std::size_t>(width) + 1;
    const Readable about{static_cast<std::size_t>(options.neighboursBefore) * neighbours,
                         static_cast<std::size_t>(options.neighboursBehind) * neighbours};
    for (std::size_t z = 0; z < c.rasters.size(); ++z) {
        // the kernel must come to a fence on either side
        SourceRaster<Sample> raster(c.rasters[z].size(), about, random.bits());
        for (auto& entry : c.table) {
            if (entry == c.rasters[z].data()) entry = raster.data();
        }
        if constexpr (sizeof(Sample) == 4) {
            fill_nasty_pixels(random, raster.data(), raster.size());
        } else {
            fill_nasty(random, raster.data(), raster.size(), c.isSigned,
                       sizeof(Sample) == 1 ? 8 : c.bitDepth);
        }
        c.rasters[z] = std::move(raster);
    }
    for (int k = 0; k < 3; ++k) c.planeToIndex[0][k] = c.planeToIndex[1][k] = 0.0F;
    c.columnStep = {};
    c.planeToIndex[0][axes[0]] = step[0];
    c.planeToIndex[1][axes[1]] = step[1];
    c.columnStep[static_cast<std::size_t>(axes[0])] = exact_step<Step>(step[0]);
    // The slab lies along the third axis and takes as many planes of it as are wanted.
    c.slabSteps = random.once_in(3) ? 0 : random.between(0, (count[2] - 1) / 2);
    c.slabSteps = std::min(c.slabSteps, options.maxSlabSteps);
    c.slabStep = {};
    c.slabStep[static_cast<std::size_t>(axes[2])] = exact_step<Step>(step[2]);
    const int middle = random.between(c.slabSteps, count[2] - 1 - c.slabSteps);
    c.planeToIndex[3][axes[0]] = start[0];
    c.planeToIndex[3][axes[1]] = start[1];
    c.planeToIndex[3][axes[2]] = start[2] + static_cast<float>(middle) * step[2];
    if (rows < count[1] && random.once_in(2)) {  // the last rows instead of the first
        c.planeToIndex[3][axes[1]] += static_cast<float>(count[1] - rows) * step[1];
    }
    for (std::size_t row = 0; row < static_cast<std::size_t>(rows); ++row) {
        c.spans[2 * row] = static_cast<short>(random.once_in(4) ? random.between(0, columns - 1) : 0);
        c.spans[2 * row + 1] = static_cast<short>(columns - 1);
    }
    return c;
}

template ScanCase16 make_whole_source_case(Seed, const ScanOptions&);
template ScanCase8 make_whole_source_case(Seed, const ScanOptions&);
template ScanCase32 make_whole_source_case(Seed, const ScanOptions&);

}  // namespace rz_test
