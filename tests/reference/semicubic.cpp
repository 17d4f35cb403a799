#include "tests/reference/semicubic.h"

#include "tests/reference/catmull_rom.h"
#include "tests/reference/scan_steps.h"

namespace rz_reference {
namespace {

// Offset of sample (xi - 1, yi - 1): 16-bit factors, 32-bit sum.
std::int32_t base_offset(const rz_obl::scan_args_16& args, std::int32_t xi, std::int32_t yi) {
    const std::int32_t offset = xi * 1 + yi * low_word(args.sourceWidth);
    return offset - args.sourceWidth - 1;
}

std::int32_t saturated_lane(std::int32_t lane, rz_test::Branches& branches) {
    if (lane > 32767) branches.met("first stage saturated above");
    if (lane < -32768) branches.met("first stage saturated below");
    return saturated(lane);
}

// From a to b in double, toward zero.
std::int32_t linear_stage(std::int32_t a, std::int32_t b, double g, rz_test::Branches& branches) {
    const double fromB = b * g;
    const double fromA = a * (1.0 - g);
    const double blended = fromB + fromA;
    const std::int32_t result = static_cast<std::int32_t>(blended);
    if (blended < 0.0 && blended != result) branches.met("linear stage truncated up");
    if (result > 32767) branches.met("sample above 16 bits");
    if (result < -32768) branches.met("sample below 16 bits");
    return result;
}

void note_z(const rz_obl::scan_args_16&, const Point& p, rz_test::Branches& branches) {
    if (p[2] < 0) branches.met("guard slice before the first");
}

PlaneValue sample_z(const rz_obl::scan_args_16& args, const Point& p, rz_test::Branches& branches) {
    const std::int32_t xi = low_word(p[0] >> 18);
    const std::int32_t yi = low_word(p[1] >> 18);
    const std::int32_t zi = low_word(p[2] >> 18);
    if (!has_neighbourhood(args, xi, yi, branches)) return {false, 0};
    const std::int64_t lastRow = (std::int64_t{yi} + 2) * args.sourceWidth;
    const std::int32_t end = wrapped(lastRow - 1 + xi);
    const std::int32_t limit = wrapped(std::int64_t{args.sourceWidth} * args.sourceHeight - 8);
    if (!(end < limit)) {
        branches.met("dropped: end of the raster");
        return {false, 0};
    }
    if (end == limit - 1) branches.met("used: just before the end of the raster");
    note_z(args, p, branches);

    const std::int32_t fx = fraction15(p[0]);
    const std::int32_t fy = fraction15(p[1]);
    const std::int32_t o = base_offset(args, xi, yi);
    std::int32_t along[2];
    for (int slice = 0; slice < 2; ++slice) {
        const short* raster = args.slices[zi + slice];
        Four lanes{};
        for (int j = 0; j < 4; ++j) {
            const short* row = raster + o + j * args.sourceWidth;
            const Four samples{row[0], row[1], row[2], row[3]};
            const std::int32_t lane = cubic_poly(samples, fx);
            lanes[static_cast<std::size_t>(j)] = saturated_lane(lane, branches);
        }
        along[slice] = cubic_poly(lanes, fy);
    }
    const double g = static_cast<double>(p[2] & 0x3ffff) * 3.814697265625e-06;
    if ((p[2] & 7) != 0) branches.met("linear fraction below 15 bits");
    return {true, linear_stage(along[0], along[1], g, branches)};
}

PlaneValue sample_y(const rz_obl::scan_args_16& args, const Point& p, rz_test::Branches& branches) {
    const std::int32_t xi = low_word(p[0] >> 18);
    const std::int32_t yi = low_word(p[1] >> 18);
    const std::int32_t zi = low_word(p[2] >> 18);
    if (!has_neighbourhood(args, xi, yi, branches)) return {false, 0};
    note_z(args, p, branches);

    const std::int32_t fx = fraction15(p[0]);
    const std::int32_t fy = fraction15(p[1]);
    const std::int32_t fz = fraction15(p[2]);
    const std::int32_t o = base_offset(args, xi, yi);
    std::int32_t along[2];
    for (int row = 0; row < 2; ++row) {
        Four lanes{};
        for (int k = 0; k < 4; ++k) {
            const short* raster = args.slices[zi - 1 + k];
            const short* from = raster + o + (row + 1) * args.sourceWidth;
            const Four samples{from[0], from[1], from[2], from[3]};
            const std::int32_t lane = cubic_poly(samples, fx);
            lanes[static_cast<std::size_t>(k)] = saturated_lane(lane, branches);
        }
        along[row] = cubic_poly(lanes, fz);
    }
    const double g = static_cast<double>(fy) * 3.0517578125e-05;
    if ((p[1] & 7) != 0) branches.met("linear fraction below 15 bits");
    return {true, linear_stage(along[0], along[1], g, branches)};
}

PlaneValue sample_x(const rz_obl::scan_args_16& args, const Point& p, rz_test::Branches& branches) {
    const std::int32_t xi = low_word(p[0] >> 18);
    const std::int32_t yi = low_word(p[1] >> 18);
    const std::int32_t zi = low_word(p[2] >> 18);
    if (!has_neighbourhood(args, xi, yi, branches)) return {false, 0};
    note_z(args, p, branches);

    const std::int32_t fx = fraction15(p[0]);
    const std::int32_t fy = fraction15(p[1]);
    const std::int32_t fz = fraction15(p[2]);
    const std::int32_t w = args.sourceWidth;
    const std::int32_t o = base_offset(args, xi, yi);
    std::int32_t along[2];
    for (int column = 0; column < 2; ++column) {
        Four lanes{};
        for (int k = 0; k < 4; ++k) {
            const short* raster = args.slices[zi - 1 + k];
            const short* from = raster + o + (column + 1);
            const Four samples{from[0], from[w], from[2 * w], from[3 * w]};
            const std::int32_t lane = cubic_poly(samples, fy);
            lanes[static_cast<std::size_t>(k)] = saturated_lane(lane, branches);
        }
        along[column] = cubic_poly(lanes, fz);
    }
    const double g = static_cast<double>(fx) * 3.0517578125e-05;
    if ((p[0] & 7) != 0) branches.met("linear fraction below 15 bits");
    return {true, linear_stage(along[0], along[1], g, branches)};
}

}  // namespace

void scan_semicubic_x(const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    scan_serpentine(args, sample_x, branches);
}

void scan_semicubic_y(const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    scan_serpentine(args, sample_y, branches);
}

void scan_semicubic_z(const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    scan_serpentine(args, sample_z, branches);
}

}  // namespace rz_reference
