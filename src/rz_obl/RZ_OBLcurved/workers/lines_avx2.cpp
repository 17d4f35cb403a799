#include "rz_obl/RZ_OBLcurved/workers/line_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/placed_cells_avx2.h"

// Eight lines of a curved image side by side, one in each lane. Positions are sums of single-precision steps,
// so that each lane does its own line's additions, products and comparisons in the line's own order; none is
// fused or reordered.

namespace rz_obl {
namespace {

/// Samples of eight lanes that are placed before the first of them is loaded.
constexpr int kAhead = 16;

using Places = cell_places<8 * kAhead>;

struct wide_line {
    cell_source source;
    __m256i samples;  // per pixel, by lane
    int leastSamples;
    int mostSamples;
    wide_position step;
    wide_position advance;
};

struct Bytes : byte_cells {
    static __m256 least() { return _mm256_setzero_ps(); }
    static __m256 greatest() { return _mm256_set1_ps(255.0F); }
    static void store(Sample* output, __m256i pixels) {
        const __m128i words =
            _mm_packs_epi32(_mm256_castsi256_si128(pixels), _mm256_extracti128_si256(pixels, 1));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(output), _mm_packus_epi16(words, words));
    }
};

struct Words : word_cells {
    static __m256 least() { return _mm256_set1_ps(-32768.0F); }
    static __m256 greatest() { return _mm256_set1_ps(32767.0F); }
    static void store(Sample* output, __m256i pixels) {
        _mm_storeu_si128(
            reinterpret_cast<__m128i*>(output),
            _mm_packs_epi32(_mm256_castsi256_si128(pixels), _mm256_extracti128_si256(pixels, 1)));
    }
};

/// b where the mask is set, else a.
inline wide_position chosen(const wide_position& a, const wide_position& b, __m256 mask) {
    return {_mm256_blendv_ps(a.x, b.x, mask), _mm256_blendv_ps(a.y, b.y, mask),
            _mm256_blendv_ps(a.z, b.z, mask)};
}

/// p + factor x step
inline wide_position moved(const wide_position& p, __m256 factor, const wide_position& step) {
    return {plus(p.x, times(factor, step.x)), plus(p.y, times(factor, step.y)),
            plus(p.z, times(factor, step.z))};
}

template <class Lanes>
inline __m256 samples_here(const wide_line& line, const wide_position& p) {
    cell_places<8> places;
    place_cells(line.source, p, places, 0);
    return samples_at<Lanes>(line.source, places, 0);
}

/// 0.5 is added and the sum truncated, also below 0. A NaN takes the greatest value.
template <class Lanes>
inline __m256i pixels_of(__m256 values) {
    __m256 v = plus(values, _mm256_set1_ps(0.5F));
    v = _mm256_blendv_ps(v, Lanes::least(), _mm256_cmp_ps(v, Lanes::least(), _CMP_LT_OQ));
    v = _mm256_blendv_ps(Lanes::greatest(), v, _mm256_cmp_ps(v, Lanes::greatest(), _CMP_LT_OQ));
    return _mm256_cvttps_epi32(v);
}

/// Lanes that have samples left after `taken`.
inline __m256 more_than(const __m256i& samples, int taken) {
    return _mm256_castsi256_ps(_mm256_cmpgt_epi32(samples, _mm256_set1_epi32(taken)));
}

// A reduction of a pixel's samples. `pixel` takes any lanes and numbers of samples; begin, take and finish do
// the same where all lanes draw and have at least one.

struct Mean {
    __m256 sum = _mm256_setzero_ps();

    /// sum / count in each lane, `left` counting down in 16 bits.
    template <class Lanes>
    static __m256 pixel(const wide_line& line, wide_position& p, __m256 active, __m256i&) {
        // a count that is not positive in 16 bits takes no sample
        const __m256i samples = _mm256_srai_epi32(_mm256_slli_epi32(line.samples, 16), 16);
        __m256 sum = _mm256_setzero_ps();
        const wide_position start = p;
        for (int taken = 0; taken < line.mostSamples; ++taken) {
            const __m256 take = _mm256_and_ps(active, more_than(samples, taken));
            if (_mm256_movemask_ps(take) == 0) break;
            const __m256 added = plus(sum, samples_here<Lanes>(line, chosen(start, p, take)));
            sum = _mm256_blendv_ps(sum, added, take);
            p = chosen(p, p + line.step, take);
        }
        const __m256i none = _mm256_cmpgt_epi32(_mm256_set1_epi32(1), samples);
        const __m256 mean = _mm256_div_ps(sum, _mm256_cvtepi32_ps(samples));
        return _mm256_blendv_ps(mean, sum, _mm256_castsi256_ps(none));
    }

    void begin() { sum = _mm256_setzero_ps(); }
    template <bool Equal>
    void take(__m256 sample, int taken, const wide_line& line) {
        const __m256 added = plus(sum, sample);
        sum = Equal ? added : _mm256_blendv_ps(sum, added, more_than(line.samples, taken));
    }
    template <class Lanes>
    __m256 finish(const wide_line& line, const wide_position&, __m256i&) const {
        return _mm256_div_ps(sum, _mm256_cvtepi32_ps(line.samples));
    }
};

/// Order: _CMP_GT_OQ or _CMP_LT_OQ.
template <int Order>
struct Extreme {
    __m256 best = _mm256_setzero_ps();
    __m256i bestLeft = _mm256_setzero_si256();

    static __m256 seed(__m256i winner, const wide_line& line) {
        return _mm256_cvtepi32_ps(_mm256_sub_epi32(line.samples, winner));
    }

    /// winner: samples that remained at the last winner, by lane.
    template <class Lanes>
    static __m256 pixel(const wide_line& line, wide_position& p, __m256 active, __m256i& winner) {
        __m256 best = samples_here<Lanes>(line, moved(p, seed(winner, line), line.step));
        const wide_position start = p;
        for (int taken = 0; taken < line.mostSamples; ++taken) {
            const __m256i left = _mm256_sub_epi32(line.samples, _mm256_set1_epi32(taken));
            const __m256 take = _mm256_and_ps(active, more_than(line.samples, taken));
            if (_mm256_movemask_ps(take) == 0) break;
            const __m256 sample = samples_here<Lanes>(line, chosen(start, p, take));
            const __m256 better = _mm256_and_ps(take, _mm256_cmp_ps(sample, best, Order));
            best = _mm256_blendv_ps(best, sample, better);
            winner = _mm256_blendv_epi8(winner, left, _mm256_castps_si256(better));
            p = chosen(p, p + line.step, take);
        }
        return best;
    }

    void begin() { best = _mm256_set1_ps(Order == _CMP_GT_OQ ? -1e30F : 1e30F); }
    template <bool Equal>
    void take(__m256 sample, int taken, const wide_line& line) {
        __m256 better = _mm256_cmp_ps(sample, best, Order);
        if (!Equal) better = _mm256_and_ps(better, more_than(line.samples, taken));
        const __m256i left = _mm256_sub_epi32(line.samples, _mm256_set1_epi32(taken));
        best = _mm256_blendv_ps(best, sample, better);
        bestLeft = _mm256_blendv_epi8(bestLeft, left, _mm256_castps_si256(better));
    }
    /// The seed comes last: it wins ties all the same.
    template <class Lanes>
    __m256 finish(const wide_line& line, const wide_position& start, __m256i& winner) const {
        const __m256 seeded = samples_here<Lanes>(line, moved(start, seed(winner, line), line.step));
        const __m256 better = _mm256_cmp_ps(best, seeded, Order);
        winner = _mm256_blendv_epi8(winner, bestLeft, _mm256_castps_si256(better));
        return _mm256_blendv_ps(seeded, best, better);
    }
};

/// The pixels of eight lines by cross index.
template <class Lanes>
class Output {
  public:
    using Sample = typename Lanes::Sample;

    void begin(const line_args* lines, void* const* outputEnds, int count) {
        count_ = count;
        step_ = lines[0].outputStep;
        adjacent_ = count == 8;
        for (int lane = 0; lane < count; ++lane) {
            zero_[lane] = static_cast<Sample*>(outputEnds[lane]) - lines[lane].total;
            first_[lane] = lines[lane].first;
            const std::ptrdiff_t ahead = (std::ptrdiff_t{first_[lane]} - first_[0]) * step_;
            adjacent_ = adjacent_ && zero_[lane] - zero_[0] == lane + ahead;
        }
    }
    void store(int j, __m256 values) const {
        const __m256i pixels = pixels_of<Lanes>(values);
        if (adjacent_) {
            Lanes::store(at(0, j), pixels);
            return;
        }
        alignas(32) std::int32_t pixel[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(pixel), pixels);
        for (int lane = 0; lane < count_; ++lane) *at(lane, j) = static_cast<Sample>(pixel[lane]);
    }
    void store_some(int j, __m256 values, int lanes) const {
        alignas(32) std::int32_t pixel[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(pixel), pixels_of<Lanes>(values));
        for (int lane = 0; lane < count_; ++lane) {
            if ((lanes >> lane & 1) != 0) *at(lane, j) = static_cast<Sample>(pixel[lane]);
        }
    }

  private:
    Sample* at(int lane, int j) const { return zero_[lane] + (std::ptrdiff_t{j} - first_[lane]) * step_; }

    int count_;
    std::ptrdiff_t step_;
    bool adjacent_;
    Sample* zero_[8];
    int first_[8];
};

/// Fetches a part of what eight lanes will load, from lane to lane by turns: lanes and samples that follow
/// each other share most of their lines.
template <class Lanes>
inline void fetch_some(const cell_source& source, const Places& places, int turn) {
    const int i = 8 * turn + turn % 8;
    const void* const* const slices = source.slices + places.slice[i];
    for (int k = 0; k < 2; ++k) {
        const auto* const at = static_cast<const typename Lanes::Sample*>(slices[k]) + places.offset[i];
        _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T0);
    }
}

/// Pixels from `from` to `to` of one sample each, all lanes drawing: each kind of reduction gives the sample.
/// p moves behind the last pixel, which begins at `last`.
template <class Lanes>
inline void draw_plane(const wide_line& line, wide_position& p, wide_position& last, int from, int to,
                       const Output<Lanes>& output) {
    Places places[2];
    int counts[2] = {0, 0};
    int turn = 0;
    for (int j = from; j < to || counts[turn] > 0;) {
        const int next = turn ^ 1;
        counts[next] = 0;
        for (; counts[next] < kAhead && j + counts[turn] + counts[next] < to; ++counts[next]) {
            place_cells(line.source, p, places[next], 8 * counts[next]);
            last = p;
            p = p + line.step + line.advance;
        }
        for (int k = 0; k < counts[turn]; ++k) {
            if (k < counts[next]) {
                fetch_cell<Lanes>(line.source, places[next], 8 * k + k % 8);
                fetch_cell<Lanes>(line.source, places[next], 8 * k + (k + 4) % 8);
            }
            output.store(j + k, samples_at<Lanes>(line.source, places[turn], 8 * k));
        }
        j += counts[turn];
        turn = next;
    }
}

/// Samples of one pixel, or a part of them.
struct Piece {
    Places places;
    wide_position start;  // of the pixel
    int taken;
    int count = 0;
};

/// Goes through the samples of pixels, piece by piece.
class SlabWalk {
  public:
    SlabWalk(const wide_line& line, const wide_position& p, int pixels)
        : line_(line), p_(p), start_(p), last_(p), left_(pixels) {}

    /// Behind the pixels gone through, and where the last of them began.
    const wide_position& position() const { return p_; }
    const wide_position& last() const { return last_; }

    void next(Piece& piece) {
        piece.count = 0;
        if (left_ == 0) return;
        piece.start = start_;
        piece.taken = taken_;
        const bool equal = line_.leastSamples == line_.mostSamples;
        for (; piece.count < kAhead && taken_ < line_.mostSamples; ++piece.count, ++taken_) {
            if (equal || taken_ < line_.leastSamples) {
                place_cells(line_.source, p_, piece.places, 8 * piece.count);
                p_ = p_ + line_.step;
            } else {
                // a lane that has taken its samples stays at the first one: behind its last may be no memory
                const __m256 more = more_than(line_.samples, taken_);
                place_cells(line_.source, chosen(start_, p_, more), piece.places, 8 * piece.count);
                p_ = chosen(p_, p_ + line_.step, more);
            }
        }
        if (taken_ < line_.mostSamples) return;
        taken_ = 0;
        --left_;
        p_ = p_ + line_.advance;
        last_ = start_;
        start_ = p_;
    }

  private:
    const wide_line& line_;
    wide_position p_;
    wide_position start_;
    wide_position last_;
    int left_;
    int taken_ = 0;
};

/// The same for pixels of any positive numbers of samples. Equal: one number in all lanes.
template <class Lanes, class Reduction, bool Equal>
inline void draw_slab(const wide_line& line, wide_position& p, wide_position& last, int from, int to,
                      __m256i& winner, const Output<Lanes>& output) {
    SlabWalk walk(line, p, to - from);
    Piece pieces[2];
    int turn = 0;
    Reduction reduction;
    walk.next(pieces[0]);
    for (int j = from; j < to; turn ^= 1) {
        const Piece& piece = pieces[turn];
        Piece& next = pieces[turn ^ 1];
        walk.next(next);
        if (piece.taken == 0) reduction.begin();
        for (int k = 0; k < piece.count; ++k) {
            if (k < next.count) fetch_some<Lanes>(line.source, next.places, k);
            const __m256 sample = samples_at<Lanes>(line.source, piece.places, 8 * k);
            reduction.template take<Equal>(sample, piece.taken + k, line);
        }
        if (piece.taken + piece.count < line.mostSamples) continue;
        output.store(j, reduction.template finish<Lanes>(line, piece.start, winner));
        ++j;
    }
    p = walk.position();
    last = walk.last();
}

/// Lanes side by side by cross index: a lane rests before its line begins and after it has ended.
template <class Lanes, class Reduction>
class Group {
  public:
    void begin(const line_args* lines, void* const* outputEnds, int count) {
        output_.begin(lines, outputEnds, count);
        alignas(32) float values[9][8];
        alignas(32) std::int32_t samples[8];
        line_.source = {lines[0].rasters, lines[0].sourceWidth};
        line_.leastSamples = line_.mostSamples = lines[0].samples;
        from_ = lines[0].first;
        to_ = from_;
        allFrom_ = from_;
        allTo_ = INT32_MAX;
        for (int lane = 0; lane < 8; ++lane) {
            const line_args& own = lines[lane < count ? lane : 0];
            for (int k = 0; k < 3; ++k) {
                values[k][lane] = own.position[k];
                values[3 + k][lane] = own.step[k];
                values[6 + k][lane] = own.advance[k];
            }
            samples[lane] = own.samples;
            begin_[lane] = own.first;
            end_[lane] = own.first;
            if (lane >= count) continue;
            end_[lane] += static_cast<int>(own.total / own.outputStep);
            if (own.samples > line_.mostSamples) line_.mostSamples = own.samples;
            if (own.samples < line_.leastSamples) line_.leastSamples = own.samples;
            if (begin_[lane] < from_) from_ = begin_[lane];
            if (begin_[lane] > allFrom_) allFrom_ = begin_[lane];
            if (end_[lane] > to_) to_ = end_[lane];
            if (end_[lane] < allTo_) allTo_ = end_[lane];
        }
        p_ = {_mm256_load_ps(values[0]), _mm256_load_ps(values[1]), _mm256_load_ps(values[2])};
        last_ = p_;
        now_ = from_;
        line_.step = {_mm256_load_ps(values[3]), _mm256_load_ps(values[4]), _mm256_load_ps(values[5])};
        line_.advance = {_mm256_load_ps(values[6]), _mm256_load_ps(values[7]), _mm256_load_ps(values[8])};
        line_.samples = _mm256_load_si256(reinterpret_cast<const __m256i*>(samples));
        winner_ = line_.samples;
    }

    bool slab() const { return line_.mostSamples > 1; }
    int from() const { return from_; }
    int to() const { return to_; }

    /// Pixels of cross indices below `to`, on from where the last call ended.
    void draw(int to) {
        const bool usual = line_.leastSamples >= 1 && line_.mostSamples <= INT16_MAX && allFrom_ < allTo_;
        draw_some(least(to, allFrom_));
        if (usual) draw_all(least(to, allTo_));
        draw_some(to);
    }

  private:
    static int least(int a, int b) { return a < b ? a : b; }

    /// Pixels at which all lanes draw.
    void draw_all(int to) {
        if (now_ >= to) return;
        if (line_.mostSamples == 1) {
            draw_plane<Lanes>(line_, p_, last_, now_, to, output_);
        } else if (line_.leastSamples == line_.mostSamples) {
            draw_slab<Lanes, Reduction, true>(line_, p_, last_, now_, to, winner_, output_);
        } else {
            draw_slab<Lanes, Reduction, false>(line_, p_, last_, now_, to, winner_, output_);
        }
        now_ = to;
    }

    /// Pixels at which lanes may rest. What a resting lane reads must exist: it waits at its first pixel, and
    /// at its last one once it has ended.
    void draw_some(int to) {
        const __m256i begins = _mm256_load_si256(reinterpret_cast<const __m256i*>(begin_));
        const __m256i ends = _mm256_load_si256(reinterpret_cast<const __m256i*>(end_));
        for (; now_ < least(to, to_); ++now_) {
            const int j = now_;
            const __m256i now = _mm256_set1_epi32(j);
            const __m256i waits = _mm256_cmpgt_epi32(begins, now);
            const __m256i walks = _mm256_andnot_si256(waits, _mm256_cmpgt_epi32(ends, now));
            const __m256 active = _mm256_castsi256_ps(walks);
            p_ = chosen(last_, p_, _mm256_castsi256_ps(_mm256_or_si256(walks, waits)));
            last_ = p_;
            __m256i laneWinner = winner_;
            const __m256 value = Reduction::template pixel<Lanes>(line_, p_, active, laneWinner);
            winner_ = _mm256_blendv_epi8(winner_, laneWinner, walks);
            p_ = chosen(p_, p_ + line_.advance, active);
            output_.store_some(j, value, _mm256_movemask_ps(active));
        }
    }

    wide_line line_;
    Output<Lanes> output_;
    wide_position p_;
    /// Where the last pixel began.
    wide_position last_;
    __m256i winner_;
    alignas(32) std::int32_t begin_[8];
    alignas(32) std::int32_t end_[8];
    int from_;
    int to_;
    int now_;
    /// Where all lanes draw.
    int allFrom_;
    int allTo_;
};

template <class Lanes, class Reduction>
inline void draw_lines(const line_args* lines, void* const* outputEnds, int count) {
    Group<Lanes, Reduction> groups[kMostLines / 8];
    int groupCount = 0;
    bool slabs = false;
    int from = INT32_MAX;
    int to = INT32_MIN;
    for (int first = 0; first < count; first += 8, ++groupCount) {
        Group<Lanes, Reduction>& group = groups[groupCount];
        group.begin(lines + first, outputEnds + first, count - first < 8 ? count - first : 8);
        slabs = slabs || group.slab();
        from = group.from() < from ? group.from() : from;
        to = group.to() > to ? group.to() : to;
    }
    // Groups share cache lines and pages, so that they walk together.
    const int atOnce = slabs ? 16 : 64;
    for (int j = from; j < to;) {
        j = to - j > atOnce ? j + atOnce : to;
        for (int k = 0; k < groupCount; ++k) groups[k].draw(j);
    }
}

}  // namespace

void lines_avg_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Bytes, Mean>(lines, outputEnds, count);
}

void lines_avg_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Words, Mean>(lines, outputEnds, count);
}

void lines_max_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Bytes, Extreme<_CMP_GT_OQ>>(lines, outputEnds, count);
}

void lines_max_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Words, Extreme<_CMP_GT_OQ>>(lines, outputEnds, count);
}

void lines_min_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Bytes, Extreme<_CMP_LT_OQ>>(lines, outputEnds, count);
}

void lines_min_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<Words, Extreme<_CMP_LT_OQ>>(lines, outputEnds, count);
}

}  // namespace rz_obl
