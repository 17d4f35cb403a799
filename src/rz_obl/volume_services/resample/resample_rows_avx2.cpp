#include "rz_obl/RZ_OBLplanar/kernels/wide/cells_avx2.h"
#include "rz_obl/volume_services/resample/resample_rows.h"

namespace rz_obl {
namespace {

inline __m256 times(__m256 a, __m256 b) {
    return _mm256_mul_ps(a, b);
}

inline __m256 plus(__m256 a, __m256 b) {
    return _mm256_add_ps(a, b);
}

struct WordSamples {
    using Sample = short;
    /// Left and right sample of eight places.
    static void load(const Sample* const at[8], std::ptrdiff_t add, __m256& left, __m256& right) {
        const __m256i pairs = eight_pairs(at, add);
        left = _mm256_cvtepi32_ps(_mm256_srai_epi32(_mm256_slli_epi32(pairs, 16), 16));
        right = _mm256_cvtepi32_ps(_mm256_srai_epi32(pairs, 16));
    }
};

struct FloatSamples {
    using Sample = float;
    static __m128 two_pairs(const Sample* a, const Sample* b) {
        const __m128 low = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(a));
        return _mm_loadh_pi(low, reinterpret_cast<const __m64*>(b));
    }
    static void load(const Sample* const at[8], std::ptrdiff_t add, __m256& left, __m256& right) {
        const __m128 a = two_pairs(at[0] + add, at[1] + add);  // left 0, right 0, left 1, right 1
        const __m128 b = two_pairs(at[2] + add, at[3] + add);
        const __m128 c = two_pairs(at[4] + add, at[5] + add);
        const __m128 d = two_pairs(at[6] + add, at[7] + add);
        left = _mm256_set_m128(_mm_shuffle_ps(c, d, 0x88), _mm_shuffle_ps(a, b, 0x88));
        right = _mm256_set_m128(_mm_shuffle_ps(c, d, 0xdd), _mm_shuffle_ps(a, b, 0xdd));
    }
};

template <class Samples>
inline __m256 plane_samples(const typename Samples::Sample* const at[8], int width, __m256 fx, __m256 gx,
                            __m256 fy, __m256 gy) {
    __m256 left;
    __m256 right;
    Samples::load(at, 0, left, right);
    const __m256 first = plus(times(left, gx), times(right, fx));
    Samples::load(at, width, left, right);
    const __m256 second = plus(times(left, gx), times(right, fx));
    return plus(times(first, gy), times(second, fy));
}

struct wide_coordinates {
    __m256 x;
    __m256 y;
    __m256 z;
};

/// Component k of eight voxels through the matrix; products and sums in the order of a single one.
inline __m256 component(const resample_row_args& args, __m256 x, int k) {
    const float(*const m)[4] = args.toSource;
    const __m256 sum =
        plus(times(x, _mm256_set1_ps(m[0][k])), _mm256_set1_ps(static_cast<float>(args.y) * m[1][k]));
    return plus(plus(sum, _mm256_set1_ps(static_cast<float>(args.z) * m[2][k])), _mm256_set1_ps(m[3][k]));
}

inline __m256 within(__m256 v, float from, float below) {
    return _mm256_and_ps(_mm256_cmp_ps(v, _mm256_set1_ps(from), _CMP_GE_OQ),
                         _mm256_cmp_ps(v, _mm256_set1_ps(below), _CMP_LT_OQ));
}

/// The samples of eight positions of the interior.
template <class Samples>
inline __m256 interior(const resample_row_args& args, const wide_coordinates& p) {
    using Sample = typename Samples::Sample;
    const __m256 one = _mm256_set1_ps(1.0F);
    const __m256i ix = _mm256_cvttps_epi32(p.x);
    const __m256i iy = _mm256_cvttps_epi32(p.y);
    const __m256i iz = _mm256_cvttps_epi32(p.z);
    const __m256 fx = _mm256_sub_ps(p.x, _mm256_cvtepi32_ps(ix));
    const __m256 fy = _mm256_sub_ps(p.y, _mm256_cvtepi32_ps(iy));
    const __m256 fz = _mm256_sub_ps(p.z, _mm256_cvtepi32_ps(iz));
    const __m256 gx = _mm256_sub_ps(one, fx);
    const __m256 gy = _mm256_sub_ps(one, fy);
    alignas(32) std::int32_t x[8];
    alignas(32) std::int32_t y[8];
    alignas(32) std::int32_t z[8];
    _mm256_store_si256(reinterpret_cast<__m256i*>(x), ix);
    _mm256_store_si256(reinterpret_cast<__m256i*>(y), iy);
    _mm256_store_si256(reinterpret_cast<__m256i*>(z), iz);
    const Sample* lower[8];
    const Sample* upper[8];
    for (int lane = 0; lane < 8; ++lane) {
        const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(y[lane]) * args.width + x[lane];
        lower[lane] = static_cast<const Sample*>(args.slices[z[lane]]) + offset;
        upper[lane] =
            static_cast<const Sample*>(args.slices[static_cast<std::ptrdiff_t>(z[lane]) + 1]) + offset;
    }
    const __m256 a = plane_samples<Samples>(lower, args.width, fx, gx, fy, gy);
    const __m256 b = plane_samples<Samples>(upper, args.width, fx, gx, fy, gy);
    return plus(times(a, _mm256_sub_ps(one, fz)), times(b, fz));
}

template <class Samples>
inline void resample_row(const resample_row_args& args) {
    const __m256 lanes = _mm256_setr_ps(0.0F, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F, 7.0F);
    for (int column = 0; column < args.columns; column += 8) {
        const __m256 x = plus(_mm256_set1_ps(static_cast<float>(column)), lanes);  // whole numbers: exact
        const wide_coordinates p = {component(args, x, 0), component(args, x, 1), component(args, x, 2)};
        const __m256 inside =
            _mm256_and_ps(_mm256_and_ps(within(p.x, 0.0F, static_cast<float>(args.width) - 1.0F),
                                        within(p.y, 0.0F, static_cast<float>(args.height) - 1.0F)),
                          within(p.z, -0.5F, static_cast<float>(args.depth) - 0.5F));
        if (args.columns - column >= 8 && _mm256_movemask_ps(inside) == 0xff) {
            _mm256_storeu_ps(args.output + column, interior<Samples>(args, p));
            continue;
        }
        alignas(32) float at[3][8];
        _mm256_store_ps(at[0], p.x);
        _mm256_store_ps(at[1], p.y);
        _mm256_store_ps(at[2], p.z);
        for (int lane = 0; lane < 8 && column + lane < args.columns; ++lane) {
            args.output[column + lane] = args.sample(args.source, at[0][lane], at[1][lane], at[2][lane]);
        }
    }
}

}  // namespace

void resample_row_16_avx2(const resample_row_args& args) {
    resample_row<WordSamples>(args);
}

void resample_row_float_avx2(const resample_row_args& args) {
    resample_row<FloatSamples>(args);
}

}  // namespace rz_obl
