#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

// Trilinear samples in single precision, eight at a time, one per lane: each lane does the products and sums
// of a single sample in its order. Cells are placed first, many together, and loaded later: loads then wait
// for no arithmetic, and lines can be fetched ahead. Included by wide files only, so everything is `static
// inline`.

namespace rz_obl {
namespace {  // members of structures, too, must not be handed to a narrow file by the linker

static inline __m256 times(__m256 a, __m256 b) {
    return _mm256_mul_ps(a, b);
}

static inline __m256 plus(__m256 a, __m256 b) {
    return _mm256_add_ps(a, b);
}

struct wide_position {
    __m256 x;
    __m256 y;
    __m256 z;
};

static inline wide_position operator+(const wide_position& a, const wide_position& b) {
    return {plus(a.x, b.x), plus(a.y, b.y), plus(a.z, b.z)};
}

/// Rasters by slice number, and the length of their rows.
struct cell_source {
    const void* const* slices;
    int width;
};

/// Where samples lie: cells of 2 x 2 x 2 neighbours, and the place in each. Count is a multiple of 8.
template <int Count>
struct cell_places {
    alignas(32) float fx[Count];
    alignas(32) float fy[Count];
    alignas(32) float fz[Count];
    alignas(32) std::int32_t offset[Count];
    alignas(32) std::int32_t slice[Count];
};

/// Places i to i + 7. Whole parts are truncated; what does not fit an integer becomes 0x80000000.
template <int Count>
static inline void place_cells(const cell_source& source, const wide_position& p, cell_places<Count>& places,
                               int i) {
    const __m256i ix = _mm256_cvttps_epi32(p.x);
    const __m256i iy = _mm256_cvttps_epi32(p.y);
    const __m256i iz = _mm256_cvttps_epi32(p.z);
    _mm256_store_ps(places.fx + i, _mm256_sub_ps(p.x, _mm256_cvtepi32_ps(ix)));
    _mm256_store_ps(places.fy + i, _mm256_sub_ps(p.y, _mm256_cvtepi32_ps(iy)));
    _mm256_store_ps(places.fz + i, _mm256_sub_ps(p.z, _mm256_cvtepi32_ps(iz)));
    const __m256i rows = _mm256_mullo_epi32(iy, _mm256_set1_epi32(source.width));
    _mm256_store_si256(reinterpret_cast<__m256i*>(places.offset + i), _mm256_add_epi32(rows, ix));
    _mm256_store_si256(reinterpret_cast<__m256i*>(places.slice + i), iz);
}

/// Left and right neighbour of eight places.
struct wide_neighbours {
    __m256 left;
    __m256 right;
};

// A kind of sample: how the left and right neighbours of four places are loaded, one after the other, and how
// those of eight are widened. Plain loads and inserts: gathers wait for the slowest of their lines.

struct byte_cells {
    using Sample = std::uint8_t;
    using Pairs = __m128i;

    static short pair_at(const Sample* at) {
        short pair = 0;
        std::memcpy(&pair, at, sizeof pair);
        return pair;
    }
    static Pairs first(const Sample* at) { return _mm_insert_epi16(_mm_setzero_si128(), pair_at(at), 0); }
    template <int Lane>
    static void insert(Pairs& pairs, const Sample* at) {
        pairs = _mm_insert_epi16(pairs, pair_at(at), Lane);
    }
    static wide_neighbours widened(const Pairs& low, const Pairs& high) {
        const __m256i pairs = _mm256_cvtepu16_epi32(_mm_unpacklo_epi64(low, high));
        return {_mm256_cvtepi32_ps(_mm256_and_si256(pairs, _mm256_set1_epi32(0xff))),
                _mm256_cvtepi32_ps(_mm256_srli_epi32(pairs, 8))};
    }
};

struct word_cells {
    using Sample = std::int16_t;
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
    static wide_neighbours widened(const Pairs& low, const Pairs& high) {
        const __m256i pairs = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
        const __m256i left = _mm256_madd_epi16(pairs, _mm256_set1_epi32(1));  // times 1, right times 0
        return {_mm256_cvtepi32_ps(left), _mm256_cvtepi32_ps(_mm256_srai_epi32(pairs, 16))};
    }
};

struct float_cells {
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
    static wide_neighbours widened(const Pairs& low, const Pairs& high) {
        return {_mm256_set_m128(_mm_shuffle_ps(high.a, high.b, 0x88), _mm_shuffle_ps(low.a, low.b, 0x88)),
                _mm256_set_m128(_mm_shuffle_ps(high.a, high.b, 0xdd), _mm_shuffle_ps(low.a, low.b, 0xdd))};
    }
};

/// The neighbours of four places: slices p and q, rows y and y + 1.
template <class Kind>
struct four_cells {
    typename Kind::Pairs p0;
    typename Kind::Pairs p1;
    typename Kind::Pairs q0;
    typename Kind::Pairs q1;
};

template <class Kind, int Lane, int Count>
static inline void load_cell(const cell_source& source, const cell_places<Count>& places, int i,
                             four_cells<Kind>& cells) {
    using Sample = typename Kind::Sample;
    const void* const* const slices = source.slices + places.slice[i + Lane];
    const std::ptrdiff_t offset = places.offset[i + Lane];
    const Sample* const p = static_cast<const Sample*>(slices[0]) + offset;
    const Sample* const q = static_cast<const Sample*>(slices[1]) + offset;
    const std::ptrdiff_t width = source.width;
    if (Lane == 0) {
        cells = {Kind::first(p), Kind::first(p + width), Kind::first(q), Kind::first(q + width)};
        return;
    }
    Kind::template insert<Lane>(cells.p0, p);
    Kind::template insert<Lane>(cells.p1, p + width);
    Kind::template insert<Lane>(cells.q0, q);
    Kind::template insert<Lane>(cells.q1, q + width);
}

template <class Kind, int Count>
static inline four_cells<Kind> load_cells(const cell_source& source, const cell_places<Count>& places,
                                          int i) {
    four_cells<Kind> cells;
    load_cell<Kind, 0>(source, places, i, cells);
    load_cell<Kind, 1>(source, places, i, cells);
    load_cell<Kind, 2>(source, places, i, cells);
    load_cell<Kind, 3>(source, places, i, cells);
    return cells;
}

/// a (1 - f) + b f
static inline __m256 blend(__m256 a, __m256 b, __m256 f) {
    return plus(times(a, _mm256_sub_ps(_mm256_set1_ps(1.0F), f)), times(b, f));
}

static inline __m256 blend(const wide_neighbours& neighbours, __m256 f) {
    return blend(neighbours.left, neighbours.right, f);
}

/// The samples at places i to i + 7.
template <class Kind, int Count>
static inline __m256 samples_at(const cell_source& source, const cell_places<Count>& places, int i) {
    const four_cells<Kind> low = load_cells<Kind>(source, places, i);
    const four_cells<Kind> high = load_cells<Kind>(source, places, i + 4);
    const __m256 fx = _mm256_load_ps(places.fx + i);
    const __m256 fy = _mm256_load_ps(places.fy + i);
    const __m256 p =
        blend(blend(Kind::widened(low.p0, high.p0), fx), blend(Kind::widened(low.p1, high.p1), fx), fy);
    const __m256 q =
        blend(blend(Kind::widened(low.q0, high.q0), fx), blend(Kind::widened(low.q1, high.q1), fx), fy);
    return blend(p, q, _mm256_load_ps(places.fz + i));
}

/// Fetches the lines of place i into the second cache.
template <class Kind, int Count>
static inline void fetch_cell(const cell_source& source, const cell_places<Count>& places, int i) {
    using Sample = typename Kind::Sample;
    const void* const* const slices = source.slices + places.slice[i];
    for (int k = 0; k < 2; ++k) {
        const Sample* const at = static_cast<const Sample*>(slices[k]) + places.offset[i];
        _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T1);
        _mm_prefetch(reinterpret_cast<const char*>(at + source.width), _MM_HINT_T1);
    }
}

}  // namespace
}  // namespace rz_obl
