#include "rz_obl/RZ_OBLplanar/kernels/wide/placed_cells_avx2.h"
#include "rz_obl/volume_services/resample/resample_rows.h"

// Eight voxels of a row at a time. Positions are worked out for a run of columns before any of its samples is
// loaded: loads then wait for no arithmetic, and the lines of the next run are fetched while one is blended.

namespace rz_obl {
namespace {

/// Columns of a run.
constexpr int kRun = 128;
/// Destination slices side by side: their source slices are the same or next to each other.
constexpr int kPlanesAtOnce = 32;
/// A destination from this size on is written past the caches: they are better used for the source.
constexpr std::size_t kStreamedBytes = std::size_t{8} << 20;

/// A row of the destination, through the matrix.
class Row {
  public:
    Row(const resample_args& args, int y, int z) : args_(args), y_(y), z_(z) {
        for (int k = 0; k < 3; ++k) {
            perColumn_[k] = args.toSource[0][k];
            ofRow_[k] = static_cast<float>(y) * args.toSource[1][k];
            ofPlane_[k] = static_cast<float>(z) * args.toSource[2][k];
            translation_[k] = args.toSource[3][k];
        }
    }

    const resample_args& args() const { return args_; }
    cell_source source() const { return {args_.slices, args_.width}; }
    float* output() const { return args_.output[z_] + static_cast<std::ptrdiff_t>(y_) * args_.columns; }

    /// Products and sums in the order of a single voxel.
    wide_position at(__m256 columns) const {
        return {component(columns, 0), component(columns, 1), component(columns, 2)};
    }

    /// Lanes inside the volume whose neighbours all exist.
    int interior(const wide_position& p) const {
        const __m256 x = within(p.x, 0.0F, static_cast<float>(args_.width) - 1.0F);
        const __m256 y = within(p.y, 0.0F, static_cast<float>(args_.height) - 1.0F);
        const __m256 z = within(p.z, -0.5F, static_cast<float>(args_.depth) - 0.5F);
        return _mm256_movemask_ps(_mm256_and_ps(_mm256_and_ps(x, y), z));
    }

    /// Whether columns first to last are interior: rounded products and sums still rise or fall throughout.
    bool interior(int first, int last) const {
        const auto from = static_cast<float>(first);
        const auto to = static_cast<float>(last);
        return interior(at(_mm256_setr_ps(from, to, from, to, from, to, from, to))) == 0xff;
    }

  private:
    __m256 component(__m256 columns, int k) const {
        const __m256 x = times(columns, _mm256_set1_ps(perColumn_[k]));
        return plus(plus(plus(x, _mm256_set1_ps(ofRow_[k])), _mm256_set1_ps(ofPlane_[k])),
                    _mm256_set1_ps(translation_[k]));
    }
    static __m256 within(__m256 v, float from, float below) {
        return _mm256_and_ps(_mm256_cmp_ps(v, _mm256_set1_ps(from), _CMP_GE_OQ),
                             _mm256_cmp_ps(v, _mm256_set1_ps(below), _CMP_LT_OQ));
    }

    const resample_args& args_;
    int y_;
    int z_;
    float perColumn_[3];
    float ofRow_[3];
    float ofPlane_[3];
    float translation_[3];
};

/// Interior columns of a row.
struct Run {
    cell_places<kRun> places;
    float* output;
    int count = 0;
};

/// count columns from `column`; lanes behind the last one repeat it.
inline void place(const Row& row, int column, int count, Run& run) {
    const __m256 lanes = _mm256_setr_ps(0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F);
    const __m256 last = _mm256_set1_ps(static_cast<float>(column + count - 1));
    run.output = row.output() + column;
    run.count = count;
    for (int i = 0; i < count; i += 8) {
        const __m256 from = _mm256_set1_ps(static_cast<float>(column + i));
        const __m256 columns = _mm256_min_ps(plus(from, lanes), last);  // whole numbers: exact
        place_cells(row.source(), row.at(columns), run.places, i);
    }
}

inline void store_some(float* output, __m256 values, int count) {
    const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
    _mm256_maskstore_ps(output, _mm256_cmpgt_epi32(_mm256_set1_epi32(count), lanes), values);
}

inline void store_past_caches(float* output, __m256 values) {
    const auto address = reinterpret_cast<std::uintptr_t>(output);
    if (address % 32 == 0) {
        _mm256_stream_ps(output, values);
    } else if (address % 16 == 0) {
        _mm_stream_ps(output, _mm256_castps256_ps128(values));
        _mm_stream_ps(output + 4, _mm256_extractf128_ps(values, 1));
    } else {
        _mm256_storeu_ps(output, values);
    }
}

/// Draws a run, and fetches what the next one will load.
template <class Samples>
inline void draw(const cell_source& source, const Run& run, const Run& next, bool streamed) {
    for (int i = 0; i < run.count; i += 8) {
        if (i < next.count) {
            fetch_cell<Samples>(source, next.places, i);
            fetch_cell<Samples>(source, next.places, i + 4);
        }
        const __m256 values = samples_at<Samples>(source, run.places, i);
        if (run.count - i < 8) {
            store_some(run.output + i, values, run.count - i);
        } else if (streamed) {
            store_past_caches(run.output + i, values);
        } else {
            _mm256_storeu_ps(run.output + i, values);
        }
    }
}

/// Two runs in turn: one is blended when the next one has been placed.
template <class Samples>
class Runs {
  public:
    explicit Runs(const resample_args& args)
        : source_{args.slices, args.width},
          streamed_(static_cast<std::size_t>(args.columns) * static_cast<std::size_t>(args.rows) *
                        static_cast<std::size_t>(args.planes) * sizeof(float) >=
                    kStreamedBytes) {}

    void add(const Row& row, int column, int count) {
        place(row, column, count, runs_[newest_ ^ 1]);
        draw<Samples>(source_, runs_[newest_], runs_[newest_ ^ 1], streamed_);
        newest_ ^= 1;
    }
    void finish() {
        runs_[newest_ ^ 1].count = 0;
        draw<Samples>(source_, runs_[newest_], runs_[newest_ ^ 1], streamed_);
        if (streamed_) _mm_sfence();  // whoever is handed the volume sees it whole
    }

  private:
    cell_source source_;
    bool streamed_;
    Run runs_[2];
    int newest_ = 0;
};

/// Columns not all of which are interior.
template <class Samples>
inline void draw_rim(const Row& row, int column, int end, Runs<Samples>& runs) {
    const __m256 lanes = _mm256_setr_ps(0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F);
    const resample_args& args = row.args();
    float* const output = row.output();
    for (; column < end; column += 8) {
        const wide_position p = row.at(plus(_mm256_set1_ps(static_cast<float>(column)), lanes));
        if (end - column >= 8 && row.interior(p) == 0xff) {
            runs.add(row, column, 8);
            continue;
        }
        alignas(32) float at[3][8];
        _mm256_store_ps(at[0], p.x);
        _mm256_store_ps(at[1], p.y);
        _mm256_store_ps(at[2], p.z);
        for (int lane = 0; lane < 8 && column + lane < end; ++lane) {
            output[column + lane] = args.sample(args.source, at[0][lane], at[1][lane], at[2][lane]);
        }
    }
}

template <class Samples>
inline void resample(const resample_args& args) {
    Runs<Samples> runs(args);
    for (int block = 0; block < args.planes; block += kPlanesAtOnce) {
        const int endPlane = block + kPlanesAtOnce < args.planes ? block + kPlanesAtOnce : args.planes;
        for (int y = 0; y < args.rows; ++y) {
            for (int column = 0; column < args.columns; column += kRun) {
                const int end = column + kRun < args.columns ? column + kRun : args.columns;
                for (int z = block; z < endPlane; ++z) {
                    const Row row(args, y, z);
                    if (row.interior(column, end - 1)) {
                        runs.add(row, column, end - column);
                    } else {
                        draw_rim(row, column, end, runs);
                    }
                }
            }
        }
    }
    runs.finish();
}

}  // namespace

void resample_16_avx2(const resample_args& args) {
    resample<word_cells>(args);
}

void resample_float_avx2(const resample_args& args) {
    resample<float_cells>(args);
}

}  // namespace rz_obl
