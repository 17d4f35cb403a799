#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/linear/trilinear_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/row_walk.h"
#include "rz_obl/RZ_OBLplanar/kernels/run_start.h"

// Planes outside columns: for slabs that walk mainly across source rows or slices. Each column remembers the
// plane that won last, from row to row.

namespace rz_obl {

template <class Rule>
class plane_major_scan {
  public:
    plane_major_scan(const scan_args_16& args, bool fast)
        : args_(args),
          planes_(plane_count(args.slabSteps)),
          advance_(column_advance(fast)),
          offsetFactors_(offset_factors(args.sourceWidth)),
          columnStep_(position_lanes(q18_step(args.columnStep))),
          slabStep_(position_lanes(q18_step(args.slabStep))) {
        const int columns = args.rowStride < kMostColumns ? args.rowStride : kMostColumns;
        for (int column = 0; column < columns; ++column) winners_[column] = static_cast<winner>(planes_);
    }

    void run(int row, int first, int last, short* outputRow) {
        __m128i start =
            position_lanes(run_start(args_.planeToIndex, row, first, args_.slabSteps, args_.slabStep));
        seed(start, first, last, outputRow);
        for (int plane = planes_; plane >= 1; --plane) {
            scan_plane(start, plane, first, last, outputRow);
            start = _mm_add_epi32(start, slabStep_);
        }
    }

  private:
    /// One for each column that a signed 16-bit span can name.
    static constexpr int kMostColumns = 32768;

    void seed(__m128i position, int first, int last, short* outputRow) const {
        for (int column = first; column <= last; column += advance_) {
            const __m128i stepsToWinner = _mm_set1_epi32(wrap_sub(planes_, winners_[column]));
            const __m128i at = _mm_add_epi32(position, _mm_mullo_epi32(stepsToWinner, slabStep_));
            const int sample = interpolate_cell(cell_at(at), at);
            if (replaces<Rule>(sample, outputRow[column])) outputRow[column] = static_cast<short>(sample);
            position = _mm_add_epi32(position, columnStep_);
        }
    }

    void scan_plane(__m128i position, int plane, int first, int last, short* outputRow) {
        for (int column = first; column <= last; column += advance_) {
            if (winners_[column] != plane) improve(position, plane, outputRow[column], winners_[column]);
            position = _mm_add_epi32(position, columnStep_);
        }
    }

    void improve(__m128i position, int plane, short& current, winner& remembered) const {
        const __m128i cell = cell_at(position);
        if (!Rule::any_beats(cell, current)) return;
        const int sample = interpolate_cell(cell, position);
        if (!Rule::beats(sample, current)) return;
        current = static_cast<short>(sample);
        remembered = static_cast<winner>(plane);
    }

    __m128i cell_at(__m128i position) const {
        return gather_cell(args_.slices, position, offsetFactors_, args_.sourceWidth);
    }

    const scan_args_16& args_;
    int planes_;
    int advance_;
    __m128i offsetFactors_;
    __m128i columnStep_;
    __m128i slabStep_;
    winner winners_[kMostColumns];
};

template <class Rule>
static inline void scan_plane_major(const scan_args_16& args, bool fast) {
    if (fast) double_column_step(args.columnStep);
    plane_major_scan<Rule> scan(args, fast);
    walk_rows<Rule>(args, fast, [&scan](int row, int first, int last, short* outputRow) {
        scan.run(row, first, last, outputRow);
    });
}

}  // namespace rz_obl
