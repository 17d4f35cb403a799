#include "tests/reference/bits8.h"

#include "tests/reference/float_walk.h"

namespace rz_reference {
namespace {

using rz_test::Branches;

float to_float(unsigned char byte, bool isSigned) {
    if (isSigned) return static_cast<float>(static_cast<signed char>(byte));
    return static_cast<float>(byte);
}

float bilinear(const unsigned char* p, int width, bool isSigned, float fx, float fy) {
    const float s0 = to_float(p[0], isSigned);
    const float s1 = to_float(p[1], isSigned);
    const float s2 = to_float(p[width], isSigned);
    const float s3 = to_float(p[width + 1], isSigned);
    const float upper = s0 * (1.0F - fx) + s1 * fx;
    const float lower = s2 * (1.0F - fx) + s3 * fx;
    return upper * (1.0F - fy) + lower * fy;
}

// The value of one plane, -128 to 127 or 0 to 255.
std::int32_t plane_value(const rz_obl::scan_args_8& args, float x, float y, float z, Branches& branches) {
    const float xLimit = static_cast<float>(args.sourceWidth - 1) - 0.01F;
    const float yLimit = static_cast<float>(args.sourceHeight - 1) - 0.01F;
    if (x > xLimit) branches.met("x limited from above");
    if (y > yLimit) branches.met("y limited from above");
    const float xc = std::min(x, xLimit);
    const float yc = std::min(y, yLimit);
    const std::int32_t ix = truncated(static_cast<double>(xc));
    const std::int32_t iy = truncated(static_cast<double>(yc));
    const std::int32_t iz = truncated(static_cast<double>(z));
    const float fx = xc - static_cast<float>(ix);
    const float fy = yc - static_cast<float>(iy);
    const float fz = z - static_cast<float>(iz);
    const std::int64_t offset = std::int64_t{iy} * args.sourceWidth + ix;

    const float p = bilinear(args.slices[iz] + offset, args.sourceWidth, args.isSigned, fx, fy);
    const float q = bilinear(args.slices[iz + 1] + offset, args.sourceWidth, args.isSigned, fx, fy);
    float v = p * (1.0F - fz) + q * fz;

    const float least = args.isSigned ? -128.0F : 0.0F;
    const float greatest = args.isSigned ? 127.0F : 255.0F;
    if (v < least) branches.met(args.isSigned ? "value raised, signed" : "value raised, unsigned");
    if (v > greatest) branches.met(args.isSigned ? "value cut, signed" : "value cut, unsigned");
    v = std::min(v, greatest);
    v = std::max(v, least);
    const double raised = static_cast<double>(v) + 0.5;
    const std::int32_t whole = truncated(raised);
    if (args.isSigned) return static_cast<std::int8_t>(whole);
    return static_cast<std::uint8_t>(whole);
}

}  // namespace

void scan_linear_8bits(const rz_obl::scan_args_8& args, Branches& branches) {
    std::int32_t sum = 0;
    float_walk(
        args, false, branches,
        [&](float x, float y, float z) { sum += plane_value(args, x, y, z, branches); },
        [&](unsigned char& pixel, int n) {
            pixel = static_cast<unsigned char>(rounded_mean(sum, n) & 0xff);
            branches.met(sum < 0 ? "mean below 0" : "mean of 0 or more");
            sum = 0;
        });
}

void scan_max_linear_8bits(const rz_obl::scan_args_8& args, Branches& branches) {
    std::int32_t m = INT32_MIN;
    float_walk(
        args, false, branches,
        [&](float x, float y, float z) { m = std::max(m, plane_value(args, x, y, z, branches)); },
        [&](unsigned char& pixel, int) {
            pixel = static_cast<unsigned char>(m & 0xff);
            branches.met(m < 0 ? "result below 0" : "result of 0 or more");
            m = INT32_MIN;
        });
}

void scan_min_linear_8bits(const rz_obl::scan_args_8& args, Branches& branches) {
    std::int32_t m = INT32_MAX;
    float_walk(
        args, false, branches,
        [&](float x, float y, float z) { m = std::min(m, plane_value(args, x, y, z, branches)); },
        [&](unsigned char& pixel, int) {
            pixel = static_cast<unsigned char>(m & 0xff);
            branches.met(m < 0 ? "result below 0" : "result of 0 or more");
            m = INT32_MAX;
        });
}

}  // namespace rz_reference
