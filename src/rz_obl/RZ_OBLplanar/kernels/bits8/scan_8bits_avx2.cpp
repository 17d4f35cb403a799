#include <cstring>

#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/float_runs_avx2.h"

// Eight trilinear samples at once: the same float operations in the same order as one, none fused.

namespace rz_obl {
namespace {

struct Signed {
    /// The lower and the upper byte of eight words, in 32-bit lanes.
    static __m256i low(__m128i words) { return high(_mm_slli_epi16(words, 8)); }
    static __m256i high(__m128i words) { return _mm256_cvtepi16_epi32(_mm_srai_epi16(words, 8)); }
    static __m256 least() { return _mm256_set1_ps(-128.0F); }
    static __m256 greatest() { return _mm256_set1_ps(127.0F); }
};

struct Unsigned {
    static __m256i low(__m128i words) {
        return _mm256_cvtepu16_epi32(_mm_and_si128(words, _mm_set1_epi16(0xff)));
    }
    static __m256i high(__m128i words) { return _mm256_cvtepu16_epi32(_mm_srli_epi16(words, 8)); }
    static __m256 least() { return _mm256_setzero_ps(); }
    static __m256 greatest() { return _mm256_set1_ps(255.0F); }
};

struct Mean {
    static __m256i none() { return _mm256_setzero_si256(); }
    static __m256i add(__m256i sum, __m256i values) { return _mm256_add_epi32(sum, values); }
    static __m256i result(__m256i sum, __m256 planes) { return wide_rounded_means(sum, planes); }
};

struct Greatest {
    static __m256i none() { return _mm256_set1_epi32(INT32_MIN); }
    static __m256i add(__m256i m, __m256i values) { return _mm256_max_epi32(m, values); }
    static __m256i result(__m256i m, __m256) { return m; }
};

struct Least {
    static __m256i none() { return _mm256_set1_epi32(INT32_MAX); }
    static __m256i add(__m256i m, __m256i values) { return _mm256_min_epi32(m, values); }
    static __m256i result(__m256i m, __m256) { return m; }
};

inline std::int16_t two_bytes(const unsigned char* at) {
    std::int16_t both = 0;
    std::memcpy(&both, at, sizeof both);
    return both;
}

/// Left and right sample of eight places as words.
inline __m128i eight_byte_pairs(const unsigned char* const at[kFloatLanes], std::ptrdiff_t offset) {
    __m128i words = _mm_cvtsi32_si128(two_bytes(at[0] + offset));
    words = _mm_insert_epi16(words, two_bytes(at[1] + offset), 1);
    words = _mm_insert_epi16(words, two_bytes(at[2] + offset), 2);
    words = _mm_insert_epi16(words, two_bytes(at[3] + offset), 3);
    words = _mm_insert_epi16(words, two_bytes(at[4] + offset), 4);
    words = _mm_insert_epi16(words, two_bytes(at[5] + offset), 5);
    words = _mm_insert_epi16(words, two_bytes(at[6] + offset), 6);
    return _mm_insert_epi16(words, two_bytes(at[7] + offset), 7);
}

/// v + 0.5 in double, toward zero.
/// required: not symmetric about 0, so that a signed -3 gives -2
inline __m256i rounded(__m256 v) {
    const __m256d half = _mm256_set1_pd(0.5);
    const __m256d low = _mm256_add_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(v)), half);
    const __m256d high = _mm256_add_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(v, 1)), half);
    return _mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low));
}

template <class Bytes, class Reduction>
class Kernel8 {
  public:
    using Planes = __m256i;

    explicit Kernel8(const scan_args_8& args)
        : slices_(args.slices),
          width_(args.sourceWidth),
          limitX_(_mm256_set1_ps(static_cast<float>(args.sourceWidth - 1) - 0.01F)),
          limitY_(_mm256_set1_ps(static_cast<float>(args.sourceHeight - 1) - 0.01F)),
          planes_(_mm256_set1_ps(static_cast<float>(2 * args.slabSteps + 1))) {}

    static __m256i none() { return Reduction::none(); }
    void add(__m256i& reduced, const wide_float_point& p) const {
        reduced = Reduction::add(reduced, samples(p));
    }
    __m256i pixels(__m256i reduced) const { return Reduction::result(reduced, planes_); }

    void prefetch(const wide_float_point& p) const {
        prefetch_cells(
            places_of(slices_, _mm256_cvttps_epi32(limited(p.x, limitX_)),
                      _mm256_cvttps_epi32(limited(p.y, limitY_)), _mm256_cvttps_epi32(p.z), width_),
            width_);
    }

  private:
    static __m256 limited(__m256 coordinate, __m256 limit) { return _mm256_min_ps(coordinate, limit); }

    static wide_fraction fraction(__m256 coordinate, __m256i index) {
        return wide_fraction_of(_mm256_sub_ps(coordinate, _mm256_cvtepi32_ps(index)));
    }

    __m256i samples(const wide_float_point& p) const {
        const __m256 x = limited(p.x, limitX_);
        const __m256 y = limited(p.y, limitY_);
        const __m256i ix = _mm256_cvttps_epi32(x);
        const __m256i iy = _mm256_cvttps_epi32(y);
        const __m256i iz = _mm256_cvttps_epi32(p.z);
        const wide_fraction fx = fraction(x, ix);
        const wide_fraction fy = fraction(y, iy);
        const wide_places<unsigned char> places = places_of(slices_, ix, iy, iz, width_);
        __m256 v = between(bilinear(places.near, fx, fy), bilinear(places.far, fx, fy), fraction(p.z, iz));
        v = _mm256_min_ps(v, Bytes::greatest());  // a NaN falls here
        v = _mm256_max_ps(v, Bytes::least());
        return rounded(v);
    }

    __m256 bilinear(const unsigned char* const at[kFloatLanes], const wide_fraction& fx,
                    const wide_fraction& fy) const {
        return between(row(at, 0, fx), row(at, width_, fx), fy);
    }

    static __m256 row(const unsigned char* const at[kFloatLanes], std::ptrdiff_t offset,
                      const wide_fraction& fx) {
        const __m128i words = eight_byte_pairs(at, offset);
        return between(_mm256_cvtepi32_ps(Bytes::low(words)), _mm256_cvtepi32_ps(Bytes::high(words)), fx);
    }

    const unsigned char* const* slices_;
    int width_;
    __m256 limitX_;
    __m256 limitY_;
    __m256 planes_;
};

template <class Reduction>
void scan_wide(const scan_args_8& args) {
    const auto start = [&args](int row, int column) {
        return run_start(args.planeToIndex, row, column, args.slabSteps, args.slabStep);
    };
    if (args.isSigned) {
        scan_float_runs(args, Kernel8<Signed, Reduction>(args), start);
    } else {
        scan_float_runs(args, Kernel8<Unsigned, Reduction>(args), start);
    }
}

}  // namespace

void scan_linear_8bits_avx2(const scan_args_8& args) {
    scan_wide<Mean>(args);
}

void scan_max_linear_8bits_avx2(const scan_args_8& args) {
    scan_wide<Greatest>(args);
}

void scan_min_linear_8bits_avx2(const scan_args_8& args) {
    scan_wide<Least>(args);
}

}  // namespace rz_obl
