#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/cubic/border_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/table_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

// The walk that both cubic kernels share. `static inline`, and nothing of the standard library that leaves a
// function behind, since the wide kernel includes this too.

namespace rz_obl {

/// What a result may be.
struct depth_limits {
    std::int32_t least;
    std::int32_t greatest;
};

static inline std::int32_t power_of_two(int exponent) {
    return static_cast<std::int32_t>(1U << (static_cast<unsigned>(exponent) & 31U));
}

static inline depth_limits limits_of_depth(bool isSigned, int bitDepth) {
    if (!isSigned) return {0, wrap_sub(power_of_two(bitDepth), 1)};
    const std::int32_t half = power_of_two(wrap_sub(bitDepth, 1));
    return {wrap_sub(0, half), wrap_sub(half, 1)};
}

/// Where the samples of a plane come from. x and y decide, z never: guard slices serve it.
enum class sample_source { none, border, table };

static inline sample_source source_at(const q18_point& p, int sourceWidth, int sourceHeight) {
    const std::int32_t xi = p.x >> 18;
    const std::int32_t yi = p.y >> 18;
    if (xi < 0 || yi < 0) return sample_source::none;
    if (xi >= 1 && yi >= 1 && xi < sourceWidth - 2 && yi < sourceHeight - 2) return sample_source::table;
    if (xi >= sourceWidth || yi >= sourceHeight) return sample_source::none;
    return sample_source::border;
}

/// Asks for what a later sample needs. turn: which slice of its neighbourhood.
[[gnu::always_inline]] static inline void prefetch_at(const q18_point& p, unsigned turn,
                                                      const scan_args_16& args, const short* weights) {
    if (source_at(p, args.sourceWidth, args.sourceHeight) != sample_source::table) return;
    const std::ptrdiff_t row = wrap_mul((p.y >> 18) - 1, args.sourceWidth);
    const short* raster = args.slices[(p.z >> 18) - 1 + static_cast<int>(turn % 4U)];
    prefetch_table_sample(weight_entry(weights, p), raster + row + (p.x >> 18) - 1, args.sourceWidth);
}

/// Columns between a prefetch and its use: about sixteen samples, within the run.
static inline int columns_ahead(int planes) {
    return planes > 0 && planes < 16 ? 16 / planes : 1;
}

template <class MultiplyAdd>
static inline void walk_cubic(const scan_args_16& args) {
    const int planes = 2 * args.slabSteps + 1;
    const q18_point slabStep = q18_step(args.slabStep);
    const q18_point toNextPixel = q18_step(args.columnStep) - planes * slabStep;
    const int ahead = columns_ahead(planes);
    const q18_point toAhead = ahead * q18_step(args.columnStep);
    const depth_limits limits = limits_of_depth(args.isSigned, args.bitDepth);
    const short* weights = g_cubicWeightTable.weights;
    unsigned turn = 0;

    dirty_bounds seen = no_rows_seen(args.rowStride);
    const short* span = args.rowSpans;
    short* outputRow = args.output;
    for (int row = 0; row < args.rowCount; ++row, span += 2, outputRow += args.rowStride) {
        const int first = span[0];
        const int last = span[1];
        if (first >= last) continue;
        visit_row(seen, row, first, last);

        q18_point p = run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep);
        for (int column = first; column <= last; ++column) {
            std::int32_t sum = 0;
            int used = 0;
            for (int plane = 0; plane < planes; ++plane) {
                if (column <= last - ahead) prefetch_at(p + toAhead, turn++, args, weights);
                const sample_source source = source_at(p, args.sourceWidth, args.sourceHeight);
                if (source == sample_source::table) {
                    sum += table_sample<MultiplyAdd>(args.slices, p, args.sourceWidth, weights, args.isSigned,
                                                     OvershootClamp);
                    ++used;
                } else if (source == sample_source::border) {
                    sum += border_sample(args.slices, p, args.sourceWidth, args.sourceHeight);
                    ++used;
                }
                p = p + slabStep;
            }
            // required: the mean of the planes used, not of all; without any the pixel keeps its content
            if (used > 0) {
                std::int32_t mean = rounded_mean(sum, static_cast<float>(used));
                mean = mean < limits.greatest ? mean : limits.greatest;
                mean = mean > limits.least ? mean : limits.least;
                outputRow[column] = static_cast<short>(low16(mean));
            }
            p = p + toNextPixel;
        }
    }
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
