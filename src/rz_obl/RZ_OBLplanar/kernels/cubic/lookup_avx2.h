#pragma once

#include <immintrin.h>

#include <cstddef>
#include <cstdint>

#include "rz_obl/RZ_OBLplanar/kernels/cubic/table_sample.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"

// Where eight cubic samples find their neighbourhoods and weights, worked out some time before they are
// read: nearly every entry of the table comes from beyond the second cache. Included by wide files only.

namespace rz_obl {

/// What the eight samples of one step need.
struct cubic_lookup {
    wide_point position;
    __m256i isTable;  // lanes of table samples, all bits set
    __m256i isBorder;
    alignas(32) std::int32_t entry[8];   // first weight
    alignas(32) std::int32_t corner[8];  // raster offset of the neighbourhood's first sample
    alignas(32) std::int32_t slice[8];   // number of the neighbourhood's first slice
    unsigned tableLanes;                 // a bit per lane
    unsigned borderLanes;
};

static inline unsigned lanes_of_mask(__m256i mask) {
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(mask)));
}

/// Sorts the samples by x and y into table, border and neither, as source_at does.
static inline void sort_lanes(cubic_lookup& lookup, const wide_point& p, __m256i lanes, int sourceWidth,
                              int sourceHeight) {
    const __m256i zero = _mm256_setzero_si256();
    const __m256i xi = _mm256_srai_epi32(p.x, 18);
    const __m256i yi = _mm256_srai_epi32(p.y, 18);
    const auto above = [](int limit, __m256i index) {
        return _mm256_cmpgt_epi32(_mm256_set1_epi32(limit), index);
    };
    const __m256i inner =
        _mm256_and_si256(_mm256_and_si256(_mm256_cmpgt_epi32(xi, zero), _mm256_cmpgt_epi32(yi, zero)),
                         _mm256_and_si256(above(sourceWidth - 2, xi), above(sourceHeight - 2, yi)));
    const __m256i negative = _mm256_srai_epi32(_mm256_or_si256(xi, yi), 31);
    const __m256i inside =
        _mm256_andnot_si256(negative, _mm256_and_si256(above(sourceWidth, xi), above(sourceHeight, yi)));
    lookup.isTable = _mm256_and_si256(lanes, inner);
    lookup.isBorder = _mm256_andnot_si256(inner, _mm256_and_si256(lanes, inside));
    lookup.tableLanes = lanes_of_mask(lookup.isTable);
    lookup.borderLanes = lanes_of_mask(lookup.isBorder);
}

/// `lanes`: those that are samples at all.
static inline void look_up(cubic_lookup& lookup, const wide_point& p, __m256i lanes, const scan_args_16& args,
                           const short* weights) {
    lookup.position = p;
    sort_lanes(lookup, p, lanes, args.sourceWidth, args.sourceHeight);
    const __m256i fraction = _mm256_set1_epi32(0x3f000);  // its top six bits, without rounding
    const __m256i fz = _mm256_slli_epi32(_mm256_and_si256(p.z, fraction), 6);
    const __m256i fy = _mm256_and_si256(p.y, fraction);
    const __m256i fx = _mm256_srli_epi32(_mm256_and_si256(p.x, fraction), 6);
    const __m256i one = _mm256_set1_epi32(1);
    const __m256i x = _mm256_sub_epi32(_mm256_srai_epi32(p.x, 18), one);
    const __m256i y = _mm256_sub_epi32(_mm256_srai_epi32(p.y, 18), one);
    const __m256i z = _mm256_sub_epi32(_mm256_srai_epi32(p.z, 18), one);
    const __m256i row = _mm256_mullo_epi32(y, _mm256_set1_epi32(args.sourceWidth));
    const auto keep = [](std::int32_t to[8], __m256i values) {
        _mm256_store_si256(reinterpret_cast<__m256i*>(to), values);
    };
    keep(lookup.entry, _mm256_or_si256(_mm256_or_si256(fz, fy), fx));
    keep(lookup.corner, _mm256_add_epi32(row, x));
    keep(lookup.slice, z);
    for (int lane = 0; lane < 8; ++lane) {
        if (!(lookup.tableLanes & (1U << lane))) continue;
        const short* raster = args.slices[lookup.slice[lane] + lane % 4];
        prefetch_table_sample(weights + lookup.entry[lane], raster + lookup.corner[lane], args.sourceWidth);
    }
}

}  // namespace rz_obl
