#include "rz_obl/RZ_OBLcurved/workers/line_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

// Eight lines of a curved image side by side, one in each lane. Positions are sums of single-precision steps,
// so that each lane does its own line's additions, products and comparisons in the line's own order; none is
// fused or reordered.

namespace rz_obl {
namespace {

struct wide_position {
    __m256 x;
    __m256 y;
    __m256 z;
};

struct wide_line {
    const void* const* rasters;
    int width;
    __m256i samples;  // per pixel, by lane
    int mostSamples;
    wide_position step;
    wide_position advance;
};

struct ByteLanes {
    using Sample = std::uint8_t;
    /// Left and right sample of eight places.
    static void load(const Sample* const at[8], std::ptrdiff_t add, __m256& left, __m256& right) {
        alignas(32) std::int32_t pair[8];
        for (int lane = 0; lane < 8; ++lane) {
            std::uint16_t both = 0;
            std::memcpy(&both, at[lane] + add, sizeof both);
            pair[lane] = both;
        }
        const __m256i pairs = _mm256_load_si256(reinterpret_cast<const __m256i*>(pair));
        left = _mm256_cvtepi32_ps(_mm256_and_si256(pairs, _mm256_set1_epi32(0xff)));
        right = _mm256_cvtepi32_ps(_mm256_srli_epi32(pairs, 8));
    }
    static __m256 least() { return _mm256_setzero_ps(); }
    static __m256 greatest() { return _mm256_set1_ps(255.0F); }
};

struct WordLanes {
    using Sample = std::int16_t;
    static void load(const Sample* const at[8], std::ptrdiff_t add, __m256& left, __m256& right) {
        const __m256i pairs = eight_pairs(at, add);
        left = _mm256_cvtepi32_ps(_mm256_srai_epi32(_mm256_slli_epi32(pairs, 16), 16));
        right = _mm256_cvtepi32_ps(_mm256_srai_epi32(pairs, 16));
    }
    static __m256 least() { return _mm256_set1_ps(-32768.0F); }
    static __m256 greatest() { return _mm256_set1_ps(32767.0F); }
};

inline __m256 times(__m256 a, __m256 b) {
    return _mm256_mul_ps(a, b);
}

inline __m256 plus(__m256 a, __m256 b) {
    return _mm256_add_ps(a, b);
}

template <class Lanes>
inline __m256 plane_sample(const typename Lanes::Sample* const at[8], int width, __m256 fx, __m256 gx,
                           __m256 fy, __m256 gy) {
    __m256 left;
    __m256 right;
    Lanes::load(at, width, left, right);
    const __m256 below = plus(times(left, gx), times(right, fx));
    Lanes::load(at, 0, left, right);
    const __m256 above = plus(times(right, fx), times(left, gx));
    return plus(times(below, fy), times(above, gy));
}

/// Trilinear, by truncation. What does not fit an integer becomes 0x80000000, as everywhere.
template <class Lanes>
inline __m256 samples_at(const wide_line& line, const wide_position& p) {
    const __m256 one = _mm256_set1_ps(1.0F);
    const __m256i ix = _mm256_cvttps_epi32(p.x);
    const __m256i iy = _mm256_cvttps_epi32(p.y);
    const __m256i iz = _mm256_cvttps_epi32(p.z);
    const __m256 fx = _mm256_sub_ps(p.x, _mm256_cvtepi32_ps(ix));
    const __m256 fy = _mm256_sub_ps(p.y, _mm256_cvtepi32_ps(iy));
    const __m256 fz = _mm256_sub_ps(p.z, _mm256_cvtepi32_ps(iz));
    const __m256 gx = _mm256_sub_ps(one, fx);
    const __m256 gy = _mm256_sub_ps(one, fy);
    const __m256 gz = _mm256_sub_ps(one, fz);

    alignas(32) std::int32_t index[8];
    alignas(32) std::int32_t slice[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(index),
                       _mm256_add_epi32(_mm256_mullo_epi32(iy, _mm256_set1_epi32(line.width)), ix));
    _mm256_store_si256(reinterpret_cast<__m256i*>(slice), iz);
    using Sample = typename Lanes::Sample;
    const Sample* lower[8];
    const Sample* upper[8];
    for (int lane = 0; lane < 8; ++lane) {
        const void* const* const slices = line.rasters + slice[lane];
        lower[lane] = static_cast<const Sample*>(slices[0]) + index[lane];
        upper[lane] = static_cast<const Sample*>(slices[1]) + index[lane];
    }
    const __m256 a = plane_sample<Lanes>(lower, line.width, fx, gx, fy, gy);
    const __m256 b = plane_sample<Lanes>(upper, line.width, fx, gx, fy, gy);
    return plus(times(a, gz), times(b, fz));
}

inline wide_position moved(const wide_position& p, const wide_position& by) {
    return {plus(p.x, by.x), plus(p.y, by.y), plus(p.z, by.z)};
}

/// b where the mask is set, else a.
inline wide_position chosen(const wide_position& a, const wide_position& b, __m256 mask) {
    return {_mm256_blendv_ps(a.x, b.x, mask), _mm256_blendv_ps(a.y, b.y, mask),
            _mm256_blendv_ps(a.z, b.z, mask)};
}

// A lane that has taken its samples reads at the pixel's first place again, since behind its last one there
// may be no memory; what it reads is dropped.

/// 0.5 is added and the sum truncated, also below 0. A NaN takes the greatest value.
template <class Lanes>
inline __m256i pixels_of(__m256 values) {
    __m256 v = plus(values, _mm256_set1_ps(0.5F));
    v = _mm256_blendv_ps(v, Lanes::least(), _mm256_cmp_ps(v, Lanes::least(), _CMP_LT_OQ));
    v = _mm256_blendv_ps(Lanes::greatest(), v, _mm256_cmp_ps(v, Lanes::greatest(), _CMP_LT_OQ));
    return _mm256_cvttps_epi32(v);
}

struct Mean {
    /// sum / count in each lane, `left` counting down in 16 bits.
    template <class Lanes>
    static __m256 pixel(const wide_line& line, wide_position& p, __m256 active, __m256i&) {
        // a count that is not positive in 16 bits takes no sample
        const __m256i samples = _mm256_srai_epi32(_mm256_slli_epi32(line.samples, 16), 16);
        __m256 sum = _mm256_setzero_ps();
        const wide_position start = p;
        for (int taken = 0; taken < line.mostSamples; ++taken) {
            const __m256i more = _mm256_cmpgt_epi32(samples, _mm256_set1_epi32(taken));
            const __m256 take = _mm256_and_ps(active, _mm256_castsi256_ps(more));
            if (_mm256_movemask_ps(take) == 0) break;
            const __m256 added = plus(sum, samples_at<Lanes>(line, chosen(start, p, take)));
            sum = _mm256_blendv_ps(sum, added, take);
            p = chosen(p, moved(p, line.step), take);
        }
        const __m256i none = _mm256_cmpgt_epi32(_mm256_set1_epi32(1), samples);
        const __m256 mean = _mm256_div_ps(sum, _mm256_cvtepi32_ps(samples));
        return _mm256_blendv_ps(mean, sum, _mm256_castsi256_ps(none));
    }
};

/// Order: _CMP_GT_OQ or _CMP_LT_OQ.
template <int Order>
struct Extreme {
    /// winner: samples that remained at the last winner, by lane.
    template <class Lanes>
    static __m256 pixel(const wide_line& line, wide_position& p, __m256 active, __m256i& winner) {
        const __m256 depth = _mm256_cvtepi32_ps(_mm256_sub_epi32(line.samples, winner));
        const wide_position seed = {plus(p.x, times(depth, line.step.x)),
                                    plus(p.y, times(depth, line.step.y)),
                                    plus(p.z, times(depth, line.step.z))};
        __m256 best = samples_at<Lanes>(line, seed);
        const wide_position start = p;
        for (int taken = 0; taken < line.mostSamples; ++taken) {
            const __m256i left = _mm256_sub_epi32(line.samples, _mm256_set1_epi32(taken));
            const __m256i more = _mm256_cmpgt_epi32(left, _mm256_setzero_si256());
            const __m256 take = _mm256_and_ps(active, _mm256_castsi256_ps(more));
            if (_mm256_movemask_ps(take) == 0) break;
            const __m256 sample = samples_at<Lanes>(line, chosen(start, p, take));
            const __m256 better = _mm256_and_ps(take, _mm256_cmp_ps(sample, best, Order));
            best = _mm256_blendv_ps(best, sample, better);
            winner = _mm256_blendv_epi8(winner, left, _mm256_castps_si256(better));
            p = chosen(p, moved(p, line.step), take);
        }
        return best;
    }
};

/// Lanes side by side by cross index: a lane rests before its line begins and after it has ended.
template <class Lanes, class Reduction>
inline void draw_lines(const line_args* lines, void* const* outputEnds, int count) {
    using Sample = typename Lanes::Sample;
    alignas(32) float values[9][8];
    alignas(32) std::int32_t samples[8];
    alignas(32) std::int32_t begin[8];
    alignas(32) std::int32_t end[8];
    wide_line line;
    line.rasters = lines[0].rasters;
    line.width = lines[0].sourceWidth;
    line.mostSamples = 0;
    int from = lines[0].first;
    int to = from;
    for (int lane = 0; lane < 8; ++lane) {
        const line_args& own = lines[lane < count ? lane : 0];
        for (int k = 0; k < 3; ++k) {
            values[k][lane] = own.position[k];
            values[3 + k][lane] = own.step[k];
            values[6 + k][lane] = own.advance[k];
        }
        samples[lane] = own.samples;
        begin[lane] = own.first;
        end[lane] = lane < count ? own.first + static_cast<int>(own.total / own.outputStep) : own.first;
        if (own.samples > line.mostSamples) line.mostSamples = own.samples;
        if (begin[lane] < from) from = begin[lane];
        if (end[lane] > to) to = end[lane];
    }
    wide_position p = {_mm256_load_ps(values[0]), _mm256_load_ps(values[1]), _mm256_load_ps(values[2])};
    line.step = {_mm256_load_ps(values[3]), _mm256_load_ps(values[4]), _mm256_load_ps(values[5])};
    line.advance = {_mm256_load_ps(values[6]), _mm256_load_ps(values[7]), _mm256_load_ps(values[8])};
    line.samples = _mm256_load_si256(reinterpret_cast<const __m256i*>(samples));
    const __m256i begins = _mm256_load_si256(reinterpret_cast<const __m256i*>(begin));
    const __m256i ends = _mm256_load_si256(reinterpret_cast<const __m256i*>(end));
    __m256i winner = line.samples;

    // What a resting lane reads must exist: it waits at its first pixel, and at its last one once it has
    // ended.
    wide_position last = p;
    for (int j = from; j < to; ++j) {
        const __m256i now = _mm256_set1_epi32(j);
        const __m256i waits = _mm256_cmpgt_epi32(begins, now);
        const __m256i walks = _mm256_andnot_si256(waits, _mm256_cmpgt_epi32(ends, now));
        const __m256 active = _mm256_castsi256_ps(walks);
        p = chosen(last, p, _mm256_castsi256_ps(_mm256_or_si256(walks, waits)));
        last = p;
        __m256i laneWinner = winner;
        const __m256 value = Reduction::template pixel<Lanes>(line, p, active, laneWinner);
        winner = _mm256_blendv_epi8(winner, laneWinner, walks);
        p = chosen(p, moved(p, line.advance), active);
        alignas(32) std::int32_t pixel[8];
        _mm256_store_si256(reinterpret_cast<__m256i*>(pixel), pixels_of<Lanes>(value));
        for (int lane = 0; lane < count; ++lane) {
            if (j < begin[lane] || j >= end[lane]) continue;
            const std::ptrdiff_t o = static_cast<std::ptrdiff_t>(j - end[lane]) * lines[lane].outputStep;
            static_cast<Sample*>(outputEnds[lane])[o] = static_cast<Sample>(pixel[lane]);
        }
    }
}

}  // namespace

void lines_avg_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<ByteLanes, Mean>(lines, outputEnds, count);
}

void lines_avg_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<WordLanes, Mean>(lines, outputEnds, count);
}

void lines_max_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<ByteLanes, Extreme<_CMP_GT_OQ>>(lines, outputEnds, count);
}

void lines_max_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<WordLanes, Extreme<_CMP_GT_OQ>>(lines, outputEnds, count);
}

void lines_min_8_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<ByteLanes, Extreme<_CMP_LT_OQ>>(lines, outputEnds, count);
}

void lines_min_16_avx2(const line_args* lines, void* const* outputEnds, int count) {
    draw_lines<WordLanes, Extreme<_CMP_LT_OQ>>(lines, outputEnds, count);
}

}  // namespace rz_obl
