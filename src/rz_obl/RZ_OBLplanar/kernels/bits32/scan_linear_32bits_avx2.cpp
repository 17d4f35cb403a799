#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/walk_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/eight_octets_avx2.h"
#include "rz_obl/RZ_OBLplanar/kernels/wide/float_runs_avx2.h"

// Eight pixels at once, channel by channel: the same float operations in the same order as one, none fused.

namespace rz_obl {
namespace {

constexpr int kChannels = 3;

/// required: by floor, while the pixels are fetched by truncation
inline wide_fraction fraction(__m256 coordinate) {
    return wide_fraction_of(_mm256_sub_ps(coordinate, _mm256_floor_ps(coordinate)));
}

inline __m256i low_bytes(__m256i values) {
    return _mm256_and_si256(values, _mm256_set1_epi32(0xff));
}

/// The left and right pixels of a row in eight places.
inline __m256 row(const wide_octets& pixels, int channel, const wide_fraction& fx) {
    const __m256i left = low_bytes(_mm256_srli_epi32(pixels.low, 8 * channel));
    const __m256i right = low_bytes(_mm256_srli_epi32(pixels.high, 8 * channel));
    return between(_mm256_cvtepi32_ps(left), _mm256_cvtepi32_ps(right), fx);
}

class Kernel32 {
  public:
    struct Planes {
        __m256i sum[kChannels];
    };

    explicit Kernel32(const scan_args_32& args)
        : slices_(args.slices),
          width_(args.sourceWidth),
          planes_(_mm256_set1_ps(static_cast<float>(2 * args.slabSteps + 1))) {}

    static Planes none() {
        const __m256i zero = _mm256_setzero_si256();
        return {{zero, zero, zero}};
    }

    void add(Planes& planes, const wide_float_point& p) const {
        const wide_places<std::uint32_t> places = places_at(p);
        const wide_octets p0 = eight_octets(places.near, 0);
        const wide_octets p1 = eight_octets(places.near, width_);
        const wide_octets q0 = eight_octets(places.far, 0);
        const wide_octets q1 = eight_octets(places.far, width_);
        const wide_fraction fx = fraction(p.x);
        const wide_fraction fy = fraction(p.y);
        const wide_fraction fz = fraction(p.z);
        for (int c = 0; c < kChannels; ++c) {
            const __m256 a = between(row(p0, c, fx), row(p1, c, fx), fy);
            const __m256 b = between(row(q0, c, fx), row(q1, c, fx), fy);
            const __m256 value = _mm256_add_ps(between(a, b, fz), _mm256_set1_ps(0.5F));
            planes.sum[c] = _mm256_add_epi32(planes.sum[c], low_bytes(_mm256_cvttps_epi32(value)));
        }
    }

    /// required: bytes 0 and 2 change places between source and output
    __m256i pixels(const Planes& planes) const {
        __m256i pixels = _mm256_setzero_si256();
        for (int c = 0; c < kChannels; ++c) {
            const __m256i mean = low_bytes(wide_rounded_means(planes.sum[c], planes_));
            pixels = _mm256_or_si256(pixels, _mm256_slli_epi32(mean, 8 * (kChannels - 1 - c)));
        }
        return pixels;
    }

    void prefetch(const wide_float_point& p) const { prefetch_cells(places_at(p), width_); }

  private:
    wide_places<std::uint32_t> places_at(const wide_float_point& p) const {
        return places_of(slices_, _mm256_cvttps_epi32(p.x), _mm256_cvttps_epi32(p.y),
                         _mm256_cvttps_epi32(p.z), width_);
    }

    const std::uint32_t* const* slices_;
    int width_;
    __m256 planes_;
};

}  // namespace

void scan_linear_32bits_avx2(const scan_args_32& args) {
    scan_float_runs(args, Kernel32(args),
                    [&args](int row, int column) { return run_start_32bits(args, row, column); });
}

}  // namespace rz_obl
