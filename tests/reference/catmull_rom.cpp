#include "tests/reference/catmull_rom.h"

#include <algorithm>

namespace rz_reference {

Four cubic_coefficients(const Four& p) {
    const std::int32_t c0 = 2 * p[1];
    const std::int32_t c1 = -p[0] + p[2];
    const std::int32_t c2 = 2 * p[0] - 5 * p[1] + 4 * p[2] - p[3];
    const std::int32_t c3 = -p[0] + 3 * p[1] - 3 * p[2] + p[3];
    return {c0, c1, c2, c3};
}

std::int32_t cubic_poly(const Four& p, std::int32_t fraction) {
    const Four c = cubic_coefficients(p);
    const std::int32_t t0 = 0x8000;
    const std::int32_t t1 = (t0 * fraction) >> 16;
    const std::int32_t t2 = ((t1 * fraction) >> 16) << 1;
    const std::int32_t t3 = ((t2 * fraction) >> 16) << 1;
    const std::int32_t term0 = wrapped(std::int64_t{c[0]} * t0) >> 1;
    const std::int32_t term1 = wrapped(std::int64_t{c[1]} * t1);
    const std::int32_t term2 = wrapped(std::int64_t{c[2]} * t2);
    const std::int32_t term3 = wrapped(std::int64_t{c[3]} * t3);
    std::int32_t s = term0;
    s = wrapped(std::int64_t{s} + term1);
    s = wrapped(std::int64_t{s} + term2);
    s = wrapped(std::int64_t{s} + term3);
    return s >> 15;
}

bool has_neighbourhood(const rz_obl::scan_args_16& args, std::int32_t xi, std::int32_t yi,
                       rz_test::Branches& branches) {
    if (xi < 0) branches.met("dropped: column negative");
    if (yi < 0) branches.met("dropped: row negative");
    if (xi == 0) branches.met("dropped: column 0");
    if (yi == 0) branches.met("dropped: row 0");
    if (xi == args.sourceWidth - 2) branches.met("dropped: column W - 2");
    if (yi == args.sourceHeight - 2) branches.met("dropped: row T - 2");
    if (xi > args.sourceWidth) branches.met("dropped: column beyond");
    if (yi > args.sourceHeight) branches.met("dropped: row beyond");
    if (!(xi >= 1)) return false;
    if (!(yi >= 1)) return false;
    if (!(xi < args.sourceWidth - 2)) return false;
    if (!(yi < args.sourceHeight - 2)) return false;
    if (xi == 1) branches.met("used: column 1");
    if (yi == 1) branches.met("used: row 1");
    if (xi == args.sourceWidth - 3) branches.met("used: column W - 3");
    if (yi == args.sourceHeight - 3) branches.met("used: row T - 3");
    return true;
}

namespace {

std::int32_t limited(std::int32_t v, const rz_obl::scan_args_16& args, rz_test::Branches& branches) {
    if (args.isSigned) {
        const std::int32_t h = std::int32_t{1} << (args.bitDepth - 1);
        if (v > h - 1) branches.met("signed: limited above");
        if (v < 1 - h) branches.met("signed: limited below");
        v = std::min(v, h - 1);
        v = std::max(v, 1 - h);
        return v;
    }
    const std::int32_t greatest = (std::int32_t{1} << args.bitDepth) - 1;
    if (v < 0) branches.met("unsigned: limited below");
    if (v > greatest) branches.met("unsigned: limited above");
    v = std::max(v, 0);
    v = std::min(v, greatest);
    return v;
}

Point start_of_run(const rz_obl::scan_args_16& args, int row, int first, rz_test::Branches& branches) {
    Point p = start_in_plane(args, row, first);
    p = moved_to_first_plane(args, p);
    if (args.quality == 3) {
        if (p[0] < 0 && wrapped(std::int64_t{p[0]} + 0x20000) > 0)
            branches.met("shift spares the clamp in x");
        if (p[1] < 0 && wrapped(std::int64_t{p[1]} + 0x20000) > 0)
            branches.met("shift spares the clamp in y");
        p[0] = wrapped(std::int64_t{p[0]} + 0x20000);
        p[1] = wrapped(std::int64_t{p[1]} + 0x20000);
    }
    if (p[0] < 0) branches.met("start clamped in x");
    if (p[1] < 0) branches.met("start clamped in y");
    return clamped(p);
}

}  // namespace

void scan_serpentine(const rz_obl::scan_args_16& args, PlaneSampler sampler, rz_test::Branches& branches) {
    const int n = 2 * args.slabSteps + 1;
    const Point columnStep = as_point(args.columnStep);
    SeenRows seen(args.rowStride);
    for (int row = 0; row < args.rowCount; ++row) {
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (!(first < last)) {
            branches.met(first == last ? "span of one column" : "empty span");
            continue;
        }
        seen.see(row, first, last);
        branches.met(args.quality == 3 ? "half a sample shifted" : "not shifted");
        if (n < 1) branches.met("no plane at all");

        Point p = start_of_run(args, row, first, branches);
        Point s = as_point(args.slabStep);
        for (int column = first; column <= last; ++column) {
            std::int32_t total = 0;
            int used = 0;
            for (int plane = 0; plane < n; ++plane) {
                const PlaneValue sample = sampler(args, p, branches);
                if (sample.used) {
                    total = wrapped(std::int64_t{total} + sample.value);
                    ++used;
                }
                p = sum(p, s);
            }
            p = sum(p, columnStep);
            s = negated(s);
            p = sum(p, s);

            if (n == 1 && used == 0) branches.met("single plane dropped");
            if (n > 1 && used == 0) branches.met("all planes dropped");
            if (n > 1 && used > 0 && used < n) branches.met("some planes dropped");
            if (n > 1 && used == n) branches.met("all planes used");
            if (total < 0 && total % n != 0) branches.met("negative mean truncated toward zero");
            if (n > 1 && column > first && used > 0) branches.met("slab walked backward");
            std::int32_t v = total / n;
            v = limited(v, args, branches);
            args.output[row * args.rowStride + column] = static_cast<short>(low_word(v));
        }
    }
    if (seen.firstRow == -1) branches.met("no row seen");
    seen.merge_into(args);
}

}  // namespace rz_reference
