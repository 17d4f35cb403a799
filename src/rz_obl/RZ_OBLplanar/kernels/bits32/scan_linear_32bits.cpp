#include <cmath>

#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits32/walk_32bits.h"

namespace rz_obl {
namespace {

void fetch_eight_32bits(const std::uint32_t* const* slices, float x, float y, float z, int sourceWidth,
                        std::uint32_t pixels[8]) {
    const std::int32_t iz = trunc_to_int(z);
    const std::int32_t offset = wrap_add(wrap_mul(trunc_to_int(y), sourceWidth), trunc_to_int(x));
    const std::ptrdiff_t below = sourceWidth;
    for (int i = 0; i < 2; ++i) {
        const std::uint32_t* raster = slices[iz + i] + offset;
        pixels[4 * i] = raster[0];
        pixels[4 * i + 1] = raster[1];
        pixels[4 * i + 2] = raster[below];
        pixels[4 * i + 3] = raster[below + 1];
    }
}

// A pixel's four bytes as floats, least significant first.
__m128 channels(std::uint32_t pixel) {
    return _mm_cvtepi32_ps(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<std::int32_t>(pixel))));
}

// a x (1 - f) + b x f in each channel.
__m128 blend(__m128 a, __m128 b, float f) {
    return _mm_add_ps(_mm_mul_ps(a, _mm_set1_ps(1.0F - f)), _mm_mul_ps(b, _mm_set1_ps(f)));
}

std::uint32_t trilinear_32bits(float x, float y, float z, const std::uint32_t pixels[8]) {
    // required: fractions by floor, while the pixels were fetched by truncation
    const float fx = x - floorf(x);
    const float fy = y - floorf(y);
    const float fz = z - floorf(z);
    const __m128 near = blend(blend(channels(pixels[0]), channels(pixels[1]), fx),
                              blend(channels(pixels[2]), channels(pixels[3]), fx), fy);
    const __m128 far = blend(blend(channels(pixels[4]), channels(pixels[5]), fx),
                             blend(channels(pixels[6]), channels(pixels[7]), fx), fy);
    const __m128i values = _mm_cvttps_epi32(_mm_add_ps(blend(near, far, fz), _mm_set1_ps(0.5F)));
    const __m128i low8 = _mm_and_si128(values, _mm_set1_epi32(0xff));
    const __m128i words = _mm_packus_epi32(low8, low8);
    const std::int32_t bytes = _mm_cvtsi128_si32(_mm_packus_epi16(words, words));
    return static_cast<std::uint32_t>(bytes) & 0x00ffffffU;  // byte 3 of a source pixel is ignored
}

class TrilinearSampler {
  public:
    explicit TrilinearSampler(const scan_args_32& args)
        : slices_(args.slices), sourceWidth_(args.sourceWidth) {}

    void start(const walk_of_run& walk, std::int64_t) { walk_ = walk; }

    __m128i next() {
        const float_point p = next_position(walk_);
        std::uint32_t pixels[8];
        fetch_eight_32bits(slices_, p.x, p.y, p.z, sourceWidth_, pixels);
        const std::uint32_t value = trilinear_32bits(p.x, p.y, p.z, pixels);
        return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(static_cast<std::int32_t>(value)));
    }

  private:
    const std::uint32_t* const* slices_;
    int sourceWidth_;
    walk_of_run walk_{};
};

}  // namespace

void scan_linear_32bits(const scan_args_32& args) {
    walk_32bits<TrilinearSampler>(args);
}

}  // namespace rz_obl
