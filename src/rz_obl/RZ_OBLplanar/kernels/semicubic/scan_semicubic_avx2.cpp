#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/serpentine_walk_avx2.h"

namespace rz_obl {
namespace {

/// Cubic along x, then y, in slices zi and zi + 1; linear along z, by all 18 bits of the fraction.
struct AlongZ {
    static constexpr cubic_reach kReach = {0, 1, -1, 2};

    /// required: rows near the raster's last 8 samples are dropped, in this kernel only.
    static __m256i readable(const serpentine_scan& scan, __m256i xi, __m256i yi) {
        const __m256i lastRow = _mm256_mullo_epi32(_mm256_add_epi32(yi, _mm256_set1_epi32(2)), scan.widths);
        const __m256i last = _mm256_add_epi32(_mm256_sub_epi32(lastRow, _mm256_set1_epi32(1)), xi);
        return _mm256_cmpgt_epi32(scan.readableEnd, last);
    }

    static __m256i sample(const serpentine_scan& scan, const wide_point& position) {
        const eight_places places = places_of(scan, position);
        const wide_quads wx = wide_catmull_rom_weights(position.x);
        const wide_quads wy = wide_catmull_rom_weights(position.y);
        return wide_blend_18(plane_along_xy(scan, places, 0, wx, wy), plane_along_xy(scan, places, 1, wx, wy),
                             position.z);
    }
};

/// Cubic along x, then z, in rows yi and yi + 1; linear along y, by 15 bits of the fraction.
struct AlongY {
    static constexpr cubic_reach kReach = {-1, 2, 0, 1};

    static __m256i readable(const serpentine_scan&, __m256i, __m256i) { return _mm256_set1_epi32(-1); }

    static __m256i sample(const serpentine_scan& scan, const wide_point& position) {
        const eight_places places = places_of(scan, position);
        const wide_quads wx = wide_catmull_rom_weights(position.x);
        const wide_quads wz = wide_catmull_rom_weights(position.z);
        __m256i upper[4];
        __m256i lower[4];
        for (int k = 0; k < 4; ++k) {
            const short* at[kColumns];
            addresses(scan, places, k - 1, -1, at);
            upper[k] = wide_cubic_poly(read_eight_quads(at, 0), wx);
            lower[k] = wide_cubic_poly(read_eight_quads(at, scan.width), wx);
        }
        return wide_blend_15(wide_cubic_poly(saturated_quads(upper), wz),
                             wide_cubic_poly(saturated_quads(lower), wz), position.y);
    }
};

/// Cubic along y, then z, in columns xi and xi + 1; linear along x, by 15 bits of the fraction.
struct AlongX {
    static constexpr cubic_reach kReach = {-1, 2, -1, 2};

    static __m256i readable(const serpentine_scan&, __m256i, __m256i) { return _mm256_set1_epi32(-1); }

    /// The upper halves of a and b as pairs.
    static __m256i upper_pairs(__m256i a, __m256i b) {
        return _mm256_blend_epi16(_mm256_srli_epi32(a, 16), b, 0xaa);
    }

    static __m256i sample(const serpentine_scan& scan, const wide_point& position) {
        const eight_places places = places_of(scan, position);
        const wide_quads wy = wide_catmull_rom_weights(position.y);
        const wide_quads wz = wide_catmull_rom_weights(position.z);
        __m256i left[4];
        __m256i right[4];
        for (int k = 0; k < 4; ++k) {
            const short* at[kColumns];
            addresses(scan, places, k - 1, -scan.width, at);
            __m256i rows[4];  // pairs of columns xi and xi + 1
            for (int j = 0; j < 4; ++j) rows[j] = eight_pairs(at, j * scan.width);
            left[k] = wide_cubic_poly({as_pairs(rows[0], rows[1]), as_pairs(rows[2], rows[3])}, wy);
            right[k] = wide_cubic_poly({upper_pairs(rows[0], rows[1]), upper_pairs(rows[2], rows[3])}, wy);
        }
        return wide_blend_15(wide_cubic_poly(saturated_quads(left), wz),
                             wide_cubic_poly(saturated_quads(right), wz), position.x);
    }
};

}  // namespace

void scan_semicubic_x_avx2(const scan_args_16& args) {
    scan_serpentine_wide<AlongX>(args);
}

void scan_semicubic_y_avx2(const scan_args_16& args) {
    scan_serpentine_wide<AlongY>(args);
}

void scan_semicubic_z_avx2(const scan_args_16& args) {
    scan_serpentine_wide<AlongZ>(args);
}

}  // namespace rz_obl
