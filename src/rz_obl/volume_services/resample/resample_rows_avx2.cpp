#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

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

inline __m256 times(__m256 a, __m256 b) {
    return _mm256_mul_ps(a, b);
}

inline __m256 plus(__m256 a, __m256 b) {
    return _mm256_add_ps(a, b);
}

/// Left and right neighbour of eight places, widened.
struct wide_pairs {
    __m256 left;
    __m256 right;
};

struct WordSamples {
    using Sample = short;
    /// Left and right neighbour of four places.
    using Pairs = __m128i;

    static int pair_at(const Sample* at) {
        int pair = 0;
        std::memcpy(&pair, at, sizeof pair);
        return pair;
    }
    static Pairs first(const Sample* at) { return _mm_cvtsi32_si128(pair_at(at)); }
    template <int Lane>
    static void insert(Pairs& pairs, const Sample* at) {
        pairs = _mm_insert_epi32(pairs, pair_at(at), Lane);
    }
    static wide_pairs widened(const Pairs& low, const Pairs& high) {
        const __m256i pairs = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
        return {_mm256_cvtepi32_ps(_mm256_srai_epi32(_mm256_slli_epi32(pairs, 16), 16)),
                _mm256_cvtepi32_ps(_mm256_srai_epi32(pairs, 16))};
    }
};

struct FloatSamples {
    using Sample = float;
    struct Pairs {
        __m128 a;  // left 0, right 0, left 1, right 1
        __m128 b;  // left 2, right 2, left 3, right 3
    };

    static const __m64* pair_at(const Sample* at) { return reinterpret_cast<const __m64*>(at); }
    static Pairs first(const Sample* at) {
        return {_mm_loadl_pi(_mm_setzero_ps(), pair_at(at)), _mm_setzero_ps()};
    }
    template <int Lane>
    static void insert(Pairs& pairs, const Sample* at) {
        __m128& half = Lane < 2 ? pairs.a : pairs.b;
        half = Lane % 2 == 0 ? _mm_loadl_pi(half, pair_at(at)) : _mm_loadh_pi(half, pair_at(at));
    }
    static wide_pairs widened(const Pairs& low, const Pairs& high) {
        return {_mm256_set_m128(_mm_shuffle_ps(high.a, high.b, 0x88), _mm_shuffle_ps(low.a, low.b, 0x88)),
                _mm256_set_m128(_mm_shuffle_ps(high.a, high.b, 0xdd), _mm_shuffle_ps(low.a, low.b, 0xdd))};
    }
};

struct wide_position {
    __m256 x;
    __m256 y;
    __m256 z;
};

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

/// Interior columns of a row: where their cells are, and where in them.
struct Run {
    alignas(32) float fx[kRun];
    alignas(32) float fy[kRun];
    alignas(32) float fz[kRun];
    alignas(32) std::int32_t offset[kRun];
    alignas(32) std::int32_t slice[kRun];
    float* output;
    int count = 0;
};

/// count columns from `column`; lanes behind the last one repeat it.
inline void place(const Row& row, int column, int count, Run& run) {
    const __m256 lanes = _mm256_setr_ps(0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F);
    const __m256 last = _mm256_set1_ps(static_cast<float>(column + count - 1));
    const __m256i width = _mm256_set1_epi32(row.args().width);
    run.output = row.output() + column;
    run.count = count;
    for (int i = 0; i < count; i += 8) {
        const __m256 from = _mm256_set1_ps(static_cast<float>(column + i));
        const wide_position p = row.at(_mm256_min_ps(plus(from, lanes), last));  // whole numbers: exact
        const __m256i ix = _mm256_cvttps_epi32(p.x);
        const __m256i iy = _mm256_cvttps_epi32(p.y);
        const __m256i iz = _mm256_cvttps_epi32(p.z);
        _mm256_store_ps(run.fx + i, _mm256_sub_ps(p.x, _mm256_cvtepi32_ps(ix)));
        _mm256_store_ps(run.fy + i, _mm256_sub_ps(p.y, _mm256_cvtepi32_ps(iy)));
        _mm256_store_ps(run.fz + i, _mm256_sub_ps(p.z, _mm256_cvtepi32_ps(iz)));
        _mm256_store_si256(reinterpret_cast<__m256i*>(run.offset + i),
                           _mm256_add_epi32(_mm256_mullo_epi32(iy, width), ix));
        _mm256_store_si256(reinterpret_cast<__m256i*>(run.slice + i), iz);
    }
}

template <class Samples>
inline void fetch(const resample_args& args, const Run& run, int i) {
    using Sample = typename Samples::Sample;
    const void* const* const slices = args.slices + run.slice[i];
    for (int k = 0; k < 2; ++k) {
        const Sample* const at = static_cast<const Sample*>(slices[k]) + run.offset[i];
        _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T1);
        _mm_prefetch(reinterpret_cast<const char*>(at + args.width), _MM_HINT_T1);
    }
}

/// The neighbours of four columns: slices p and q, rows y and y + 1.
template <class Samples>
struct four_cells {
    typename Samples::Pairs p0;
    typename Samples::Pairs p1;
    typename Samples::Pairs q0;
    typename Samples::Pairs q1;
};

template <class Samples, int Lane>
inline void load_cell(const resample_args& args, const Run& run, int i, four_cells<Samples>& cells) {
    using Sample = typename Samples::Sample;
    const void* const* const slices = args.slices + run.slice[i + Lane];
    const std::ptrdiff_t offset = run.offset[i + Lane];
    const Sample* const p = static_cast<const Sample*>(slices[0]) + offset;
    const Sample* const q = static_cast<const Sample*>(slices[1]) + offset;
    const std::ptrdiff_t width = args.width;
    if (Lane == 0) {
        cells = {Samples::first(p), Samples::first(p + width), Samples::first(q), Samples::first(q + width)};
        return;
    }
    Samples::template insert<Lane>(cells.p0, p);
    Samples::template insert<Lane>(cells.p1, p + width);
    Samples::template insert<Lane>(cells.q0, q);
    Samples::template insert<Lane>(cells.q1, q + width);
}

template <class Samples>
inline four_cells<Samples> load_cells(const resample_args& args, const Run& run, int i) {
    four_cells<Samples> cells;
    load_cell<Samples, 0>(args, run, i, cells);
    load_cell<Samples, 1>(args, run, i, cells);
    load_cell<Samples, 2>(args, run, i, cells);
    load_cell<Samples, 3>(args, run, i, cells);
    return cells;
}

/// a (1 - f) + b f
inline __m256 blend(__m256 a, __m256 b, __m256 f) {
    return plus(times(a, _mm256_sub_ps(_mm256_set1_ps(1.0F), f)), times(b, f));
}

inline __m256 blend_pairs(const wide_pairs& pairs, __m256 fx) {
    return blend(pairs.left, pairs.right, fx);
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

/// Blends columns i to i + 7 of a run.
template <class Samples>
inline __m256 blend_cells(const resample_args& args, const Run& run, int i) {
    const four_cells<Samples> low = load_cells<Samples>(args, run, i);
    const four_cells<Samples> high = load_cells<Samples>(args, run, i + 4);
    const __m256 fx = _mm256_load_ps(run.fx + i);
    const __m256 fy = _mm256_load_ps(run.fy + i);
    const __m256 p = blend(blend_pairs(Samples::widened(low.p0, high.p0), fx),
                           blend_pairs(Samples::widened(low.p1, high.p1), fx), fy);
    const __m256 q = blend(blend_pairs(Samples::widened(low.q0, high.q0), fx),
                           blend_pairs(Samples::widened(low.q1, high.q1), fx), fy);
    return blend(p, q, _mm256_load_ps(run.fz + i));
}

/// Draws a run, and fetches what the next one will load.
template <class Samples>
inline void draw(const resample_args& args, const Run& run, const Run& next, bool streamed) {
    for (int i = 0; i < run.count; i += 8) {
        if (i < next.count) {
            fetch<Samples>(args, next, i);
            fetch<Samples>(args, next, i + 4);
        }
        const __m256 values = blend_cells<Samples>(args, run, i);
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
        : args_(args),
          streamed_(static_cast<std::size_t>(args.columns) * static_cast<std::size_t>(args.rows) *
                        static_cast<std::size_t>(args.planes) * sizeof(float) >=
                    kStreamedBytes) {}

    void add(const Row& row, int column, int count) {
        place(row, column, count, runs_[newest_ ^ 1]);
        draw<Samples>(args_, runs_[newest_], runs_[newest_ ^ 1], streamed_);
        newest_ ^= 1;
    }
    void finish() {
        runs_[newest_ ^ 1].count = 0;
        draw<Samples>(args_, runs_[newest_], runs_[newest_ ^ 1], streamed_);
        if (streamed_) _mm_sfence();  // whoever is handed the volume sees it whole
    }

  private:
    const resample_args& args_;
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
    resample<WordSamples>(args);
}

void resample_float_avx2(const resample_args& args) {
    resample<FloatSamples>(args);
}

}  // namespace rz_obl
