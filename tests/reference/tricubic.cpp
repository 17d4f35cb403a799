#include "tests/reference/tricubic.h"

#include "tests/reference/catmull_rom.h"
#include "tests/reference/scan_steps.h"

namespace rz_reference {
namespace {

std::int32_t saturated_lane(std::int32_t lane, bool firstStage, rz_test::Branches& branches) {
    if (lane > 32767) branches.met(firstStage ? "stage x saturated above" : "stage y saturated above");
    if (lane < -32768) branches.met(firstStage ? "stage x saturated below" : "stage y saturated below");
    return saturated(lane);
}

// Unlike the stages before it, this one shifts each product by itself, after a wrap.
std::int32_t stage_z(const Four& p, std::int32_t fz, rz_test::Branches& branches) {
    const Four c = cubic_coefficients(p);
    const std::int32_t T0 = 0x8000;
    const std::int32_t T1 = (fz >> 1) << 1;
    const std::int32_t T2 = ((fz * fz) >> 16) << 1;
    const std::int32_t T3 = ((T2 * fz) >> 16) << 1;
    const Four T{T0, T1, T2, T3};
    if (T1 != fz && fz != 0) branches.met("lowest bit of fz dropped");
    std::int32_t result = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const std::int64_t product = std::int64_t{c[i]} * T[i];
        const std::int32_t low = wrapped(product);
        if (low != product && i == 1) branches.met("product with T1 wrapped");
        if (low != product && i == 2) branches.met("product with T2 wrapped");
        if (low != product && i == 3) branches.met("product with T3 wrapped");
        const std::int32_t term = low >> 16;
        result = wrapped(std::int64_t{result} + term);
    }
    if (result > 32767) branches.met("sample above 16 bits");
    if (result < -32768) branches.met("sample below 16 bits");
    return result;
}

PlaneValue sample(const rz_obl::scan_args_16& args, const Point& p, rz_test::Branches& branches) {
    const std::int32_t xi = low_word(p[0] >> 18);
    const std::int32_t yi = low_word(p[1] >> 18);
    const std::int32_t zi = low_word(p[2] >> 18);
    if (!has_neighbourhood(args, xi, yi, branches)) return {false, 0};
    if (p[2] < 0) branches.met("guard slice before the first");

    const std::int32_t fx = fraction15(p[0]);
    const std::int32_t fy = fraction15(p[1]);
    const std::int32_t fz = fraction15(p[2]);
    const std::int32_t o = xi + yi * low_word(args.sourceWidth) - args.sourceWidth - 1;
    Four slices{};
    for (int k = 0; k < 4; ++k) {
        const short* raster = args.slices[zi - 1 + k];
        Four rows{};
        for (int j = 0; j < 4; ++j) {
            const short* row = raster + o + j * args.sourceWidth;
            const Four samples{row[0], row[1], row[2], row[3]};
            const std::int32_t lane = cubic_poly(samples, fx);
            rows[static_cast<std::size_t>(j)] = saturated_lane(lane, true, branches);
        }
        const std::int32_t lane = cubic_poly(rows, fy);
        slices[static_cast<std::size_t>(k)] = saturated_lane(lane, false, branches);
    }
    return {true, stage_z(slices, fz, branches)};
}

}  // namespace

void scan_tricubic(const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    scan_serpentine(args, sample, branches);
}

}  // namespace rz_reference
