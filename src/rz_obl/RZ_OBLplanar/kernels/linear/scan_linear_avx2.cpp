#include "rz_obl/RZ_OBLplanar/kernels/dirty_bounds.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

namespace rz_obl {
namespace {

// Blocks of eight columns by four rows, plane by plane inside a block: neighbouring rows of a steep plane
// share cache lines.
constexpr int kLanes = 8;
constexpr int kRows = 4;

/// One row of a block.
struct block_run {
    q18_point position;  // of the next column
    short* output;       // of the next column
    int columns;         // left
};

/// Means of eight sums, halves away from zero, in 32-bit lanes.
inline __m256i rounded_means(__m256i sums, __m256 count) {
    const __m256 means = _mm256_div_ps(_mm256_cvtepi32_ps(sums), count);
    const __m256 half = _mm256_or_ps(_mm256_and_ps(means, _mm256_set1_ps(-0.0F)), _mm256_set1_ps(0.5F));
    return _mm256_cvttps_epi32(_mm256_add_ps(means, half));
}

/// Stores the low 16 bits of the first `columns` lanes.
inline void store_pixels(__m256i values, int columns, short* output) {
    const __m128i pixels =
        _mm_packs_epi32(_mm256_castsi256_si128(values), _mm256_extracti128_si256(values, 1));
    if (columns >= kLanes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), pixels);
        return;
    }
    alignas(16) short pixel[kLanes];
    _mm_store_si128(reinterpret_cast<__m128i*>(pixel), pixels);
    for (int lane = 0; lane < columns; ++lane) output[lane] = pixel[lane];
}

class linear_scan {
  public:
    explicit linear_scan(const scan_args_16& args)
        : slices_(args.slices),
          width_(args.sourceWidth),
          planes_(2 * args.slabSteps + 1),
          columnStep_(q18_step(args.columnStep)),
          offsetFactors_(wide_offset_factors(args.sourceWidth)),
          lanes_(multiples(lane_numbers(kLanes), columnStep_)),
          toNextPlane_(in_all_lanes(q18_step(args.slabStep))) {}

    /// Draws up to four rows to their ends.
    void draw(block_run* runs, int rows) const {
        for (bool more = true; more;) {
            more = false;
            draw_block(runs, rows);
            for (int r = 0; r < rows; ++r) {
                runs[r].position = runs[r].position + kLanes * columnStep_;
                runs[r].output += kLanes;
                runs[r].columns -= kLanes;
                more = more || runs[r].columns > 0;
            }
        }
    }

  private:
    void draw_block(const block_run* runs, int rows) const {
        wide_point position[kRows];
        __m256i sum[kRows];
        for (int r = 0; r < rows; ++r) {
            if (runs[r].columns <= 0) continue;
            const wide_point lanes =
                runs[r].columns >= kLanes ? lanes_ : multiples(lane_numbers(runs[r].columns), columnStep_);
            position[r] = in_all_lanes(runs[r].position) + lanes;
            sum[r] = _mm256_setzero_si256();
        }
        for (int plane = 0; plane < planes_; ++plane) {
            for (int r = 0; r < rows; ++r) {
                if (runs[r].columns <= 0) continue;
                const wide_cells cells = gather_cells(slices_, position[r], offsetFactors_, width_);
                sum[r] = _mm256_add_epi32(sum[r], interpolate_cells(cells, position[r]));
                position[r] = position[r] + toNextPlane_;
            }
        }
        const __m256 count = _mm256_set1_ps(static_cast<float>(planes_));
        for (int r = 0; r < rows; ++r) {
            if (runs[r].columns <= 0) continue;
            // the mean of one plane is its sample
            const __m256i pixels = planes_ == 1 ? sum[r] : rounded_means(sum[r], count);
            store_pixels(pixels, runs[r].columns, runs[r].output);
        }
    }

    const short* const* slices_;
    int width_;
    int planes_;  // not positive for negative slabSteps: every pixel is 0 then
    q18_point columnStep_;
    __m256i offsetFactors_;
    wide_point lanes_;
    wide_point toNextPlane_;
};

}  // namespace

void scan_linear_avx2(const scan_args_16& args) {
    const linear_scan scan(args);
    dirty_bounds seen = no_rows_seen(args.rowStride);
    block_run runs[kRows];
    int rows = 0;
    for (int row = 0; row < args.rowCount; ++row) {
        const int first = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row)];
        const int last = args.rowSpans[2 * static_cast<std::ptrdiff_t>(row) + 1];
        if (first >= last) continue;  // required: a span of one column is skipped, too
        visit_row(seen, row, first, last);
        runs[rows].position = run_start(args.planeToIndex, row, first, args.slabSteps, args.slabStep);
        runs[rows].output = args.output + static_cast<std::ptrdiff_t>(row) * args.rowStride + first;
        runs[rows].columns = last - first + 1;
        if (++rows == kRows) {
            scan.draw(runs, rows);
            rows = 0;
        }
    }
    if (rows > 0) scan.draw(runs, rows);
    merge_bounds(seen, args.firstRow, args.lastRow, args.firstColumn, args.lastColumn);
}

}  // namespace rz_obl
