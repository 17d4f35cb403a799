#include "tests/reference/max_min.h"

#include <algorithm>
#include <vector>

#include "tests/reference/scan_steps.h"

namespace rz_reference {
namespace {

using rz_obl::scan_args_16;
using rz_test::Branches;

enum class Type { kMaximum, kMinimum };

bool beats(Type type, std::int32_t challenger, std::int32_t current) {
    return type == Type::kMaximum ? challenger > current : challenger < current;
}

// The eight raw samples about p: slice zi, then zi + 1; in each (x, y), (x + 1, y), (x, y + 1), (x + 1, y +
// 1).
struct Neighbours {
    std::int32_t raw[8];
};

Neighbours neighbours_at(const scan_args_16& args, const Point& p) {
    const std::int32_t xi = p[0] >> 18;
    const std::int32_t yi = p[1] >> 18;
    const std::int32_t zi = p[2] >> 18;
    const std::int32_t width = args.sourceWidth;
    const std::int32_t o = low_word(xi) * 1 + low_word(yi) * low_word(width);
    const short* near = args.slices[zi] + o;
    const short* far = args.slices[zi + 1] + o;
    return {{near[0], near[1], near[width], near[width + 1], far[0], far[1], far[width], far[width + 1]}};
}

bool some_raw_beats(Type type, const Neighbours& n, std::int32_t current) {
    for (const std::int32_t raw : n.raw) {
        if (beats(type, raw, current)) return true;
    }
    return false;
}

std::int32_t weighted(std::int32_t a, std::int32_t b, std::int32_t fraction) {
    const std::int32_t left = a * (fraction ^ 0x7fff);
    const std::int32_t right = b * fraction;
    return (left + right) >> 15;
}

std::int32_t trilinear_sample(const scan_args_16& args, const Point& p, Branches& branches) {
    const Neighbours n = neighbours_at(args, p);
    if (p[2] < 0) branches.met("guard slice before the first");
    const std::int32_t fx = fraction15(p[0]);
    const std::int32_t fy = fraction15(p[1]);
    const std::int32_t fz = fraction15(p[2]);
    const std::int32_t nearUpper = saturated(weighted(n.raw[0], n.raw[1], fx));
    const std::int32_t nearLower = saturated(weighted(n.raw[2], n.raw[3], fx));
    const std::int32_t farUpper = saturated(weighted(n.raw[4], n.raw[5], fx));
    const std::int32_t farLower = saturated(weighted(n.raw[6], n.raw[7], fx));
    const std::int32_t near = saturated(weighted(nearUpper, nearLower, fy));
    const std::int32_t far = saturated(weighted(farUpper, farLower, fy));
    return low_word(weighted(near, far, fz));
}

// Counts what the test hides: a plane that is skipped although its sample would have won.
void note_skipped(Type type, const scan_args_16& args, const Point& p, std::int32_t current,
                  Branches& branches) {
    Branches ignored;
    const std::int32_t sample = trilinear_sample(args, p, ignored);
    branches.met(beats(type, sample, current) ? "plane skipped although it would win" : "plane skipped");
}

void fill_columns(Type type, short* row, int first, int last, Branches& branches) {
    std::int32_t prev = row[first];
    for (int c = first + 2; c <= last; c += 2) {
        const std::int32_t next = row[c];
        const std::int32_t average = (prev + next) / 2;
        if (prev + next < 0 && (prev + next) % 2 != 0) branches.met("average truncated toward zero");
        const bool greater = average > row[c - 1];
        if (type == Type::kMaximum) branches.met(greater ? "column filled" : "column keeps its content");
        if (type == Type::kMinimum) branches.met(greater ? "column raised by a minimum" : "column filled");
        if (type == Type::kMinimum || greater) row[c - 1] = static_cast<short>(average);
        prev = next;
    }
    branches.met((last - first + 1) % 2 == 0 ? "last column of an even run stays" : "odd run");
}

void fill_rows(Type type, int first, int last, int left, int right, int rowStride, short* output,
               Branches& branches) {
    const int w = right - left;
    const int bound = (last / 2) * 2;
    for (int r = first; r < bound; r += 2) {
        const short* above = output + std::ptrdiff_t{r} * rowStride + left;
        const short* below = output + (std::ptrdiff_t{r} + 2) * rowStride + left;
        short* between = output + (std::ptrdiff_t{r} + 1) * rowStride + left;
        if (w >= 8 && w % 8 != 0) branches.met("rows filled with a remainder");
        if (w >= 8 && w % 8 == 0) branches.met("rows filled in eights");
        if (w > 0 && w < 8) branches.met("rows filled one by one");
        for (int c = 0; c < w; ++c) {
            const std::int32_t mid = low_word((above[c] >> 1) + (below[c] >> 1));
            const bool greater = mid > between[c];
            if (type == Type::kMaximum) branches.met(greater ? "row filled" : "row keeps its content");
            if (type == Type::kMinimum) branches.met(greater ? "row raised by a minimum" : "row filled");
            if (type == Type::kMinimum || greater) between[c] = static_cast<short>(mid);
        }
    }
}

// The row loop that both orders share. scan_run: one run.
template <class ScanRun>
void scan_rows(Type type, const scan_args_16& args, bool fast, Branches& branches, ScanRun scan_run) {
    int advance = 1;
    if (fast) {
        for (int k = 0; k < 3; ++k) args.columnStep[k] = wrapped(2 * std::int64_t{args.columnStep[k]});
        advance = 2;
    }
    SeenRows seen(args.rowStride);
    for (int row = 0; row < args.rowCount; row += advance) {
        if (fast && row + 2 == args.rowCount) {
            branches.met("even count of rows: two rows at the end");
            advance = 1;
        }
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (!(first < last)) {
            branches.met(first == last ? "span of one column" : "empty span");
            continue;
        }
        seen.see(row, first, last);
        Point start = start_in_plane(args, row, first);
        start = moved_to_first_plane(args, start);
        if (start[0] < 0) branches.met("start clamped in x");
        if (start[1] < 0) branches.met("start clamped in y");
        start = clamped(start);
        short* outputRow = args.output + std::ptrdiff_t{row} * args.rowStride;
        scan_run(start, outputRow, first, last);
        if (fast) fill_columns(type, outputRow, first, last, branches);
    }
    if (fast && args.rowCount > 2 && args.rowCount % 2 == 1) branches.met("odd count of rows");
    if (seen.firstRow == -1) branches.met("no row seen");
    if (fast) {
        fill_rows(type, seen.first_row_or_0(), seen.lastRow, seen.leastColumn, seen.greatestColumn,
                  args.rowStride, args.output, branches);
    }
    seen.merge_into(args);
}

void plane_major(Type type, const scan_args_16& args, bool fast, Branches& branches) {
    const int n = 2 * args.slabSteps + 1;
    if (n < 1) branches.met("no plane at all");
    // A plane is known by its countdown: n the first, 1 the last.
    std::vector<std::int16_t> memory(static_cast<std::size_t>(args.rowStride),
                                     static_cast<std::int16_t>(low_word(n)));
    const Point slabStep = as_point(args.slabStep);
    const int stride = fast ? 2 : 1;
    scan_rows(type, args, fast, branches, [&](const Point& start, short* output, int first, int last) {
        const Point columnStep = as_point(args.columnStep);
        const int length = last - first + 1;
        const int sampled = fast ? (length + 1) / 2 : length;
        const Point back = sum(slabStep, negated(multiple(sampled, columnStep)));

        Point p = start;
        for (int c = first; c <= last; c += stride) {
            const std::int32_t m = memory[static_cast<std::size_t>(c)];
            if (m != low_word(n)) branches.met("seed from the winner memory");
            const Point at = sum(p, multiple(n - m, slabStep));
            const std::int32_t sample = trilinear_sample(args, at, branches);
            if (type == Type::kMaximum) {
                branches.met(output[c] < sample ? "seed taken" : "content kept over the seed");
                if (output[c] < sample) output[c] = static_cast<short>(sample);
            } else {
                output[c] = static_cast<short>(sample);
            }
            p = sum(p, columnStep);
        }

        p = start;
        for (int k = n; k >= 1; --k) {
            for (int c = first; c <= last; c += stride) {
                std::int16_t& winner = memory[static_cast<std::size_t>(c)];
                if (winner == k) {
                    branches.met("plane of the memory skipped");
                } else {
                    const std::int32_t current = output[c];
                    if (some_raw_beats(type, neighbours_at(args, p), current)) {
                        const std::int32_t sample = trilinear_sample(args, p, branches);
                        const bool wins = beats(type, sample, current);
                        branches.met(wins ? "plane wins" : "plane tested in vain");
                        if (wins) output[c] = static_cast<short>(sample);
                        if (wins) winner = static_cast<std::int16_t>(k);
                    } else {
                        note_skipped(type, args, p, current, branches);
                    }
                }
                p = sum(p, columnStep);
            }
            p = sum(p, back);
        }
    });
}

void pixel_major(Type type, const scan_args_16& args, bool fast, Branches& branches) {
    const int n = 2 * args.slabSteps + 1;
    if (n < 1) branches.met("no plane at all");
    const Point slabStep = as_point(args.slabStep);
    const int stride = fast ? 2 : 1;
    scan_rows(type, args, fast, branches, [&](const Point& start, short* output, int first, int last) {
        const Point columnStep = as_point(args.columnStep);
        const Point back = sum(columnStep, negated(multiple(n, slabStep)));
        std::int16_t m = static_cast<std::int16_t>(low_word(n));
        Point p = start;
        for (int c = first; c <= last; c += stride) {
            if (m != low_word(n)) branches.met("seed from the winner memory");
            const Point at = sum(p, multiple(n - m, slabStep));
            const std::int32_t seed = trilinear_sample(args, at, branches);
            std::int32_t best = seed;
            if (type == Type::kMaximum) {
                branches.met(output[c] < seed ? "seed taken" : "content kept over the seed");
                best = std::max(std::int32_t{output[c]}, seed);
            }
            for (int k = n; k >= 1; --k) {
                if (some_raw_beats(type, neighbours_at(args, p), best)) {
                    const std::int32_t sample = trilinear_sample(args, p, branches);
                    const bool wins = beats(type, sample, best);
                    branches.met(wins ? "plane wins" : "plane tested in vain");
                    if (wins) best = sample;
                    if (wins) m = static_cast<std::int16_t>(k);
                } else {
                    note_skipped(type, args, p, best, branches);
                }
                p = sum(p, slabStep);
            }
            p = sum(p, back);
            output[c] = static_cast<short>(best);
        }
    });
}

void nearest(const scan_args_16& args, Branches& branches) {
    branches.met("nearest");
    const Point columnStep = as_point(args.columnStep);
    SeenRows seen(args.rowStride);
    for (int row = 0; row < args.rowCount; ++row) {
        const short first = args.rowSpans[2 * row];
        const short last = args.rowSpans[2 * row + 1];
        if (!(first < last)) continue;
        seen.see(row, first, last);
        if (args.slabSteps > 0) branches.met("nearest leaves out the slab");
        Point p = start_in_plane(args, row, first);
        if (p[0] < 0 || p[1] < 0) branches.met("nearest: start clamped");
        p = clamped(p);
        for (int c = first; c <= last; ++c) {
            const std::int32_t offset = wrapped(std::int64_t{p[1] >> 18} * args.sourceWidth);
            const short* raster = args.slices[p[2] >> 18];
            args.output[row * args.rowStride + c] = raster[offset + (p[0] >> 18)];
            p = sum(p, columnStep);
        }
    }
    seen.merge_into(args);
}

std::int32_t magnitude(std::int32_t x) {
    return x < 0 ? wrapped(-std::int64_t{x}) : x;
}

void entry(Type type, const scan_args_16& args, Branches& branches) {
    int* slabStep = args.slabStep;
    if (slabStep[0] < 0) {
        branches.met("sign turned");
        for (int k = 0; k < 3; ++k) slabStep[k] = wrapped(-std::int64_t{slabStep[k]});
    } else if (slabStep[0] == 0 && (slabStep[1] < 0 || slabStep[2] < 0)) {
        branches.met("sign of a slab across x stays");
    }
    if (args.quality == 0) {
        nearest(args, branches);
        return;
    }
    const bool fast = args.quality == 1;
    branches.met(fast ? "fast" : "every row and column");
    const std::int32_t y = magnitude(slabStep[1]);
    const std::int32_t z = magnitude(slabStep[2]);
    if (slabStep[0] >= y && slabStep[0] >= z) {
        branches.met(slabStep[0] == y || slabStep[0] == z ? "tie: pixel-major" : "pixel-major");
        pixel_major(type, args, fast, branches);
    } else {
        branches.met("plane-major");
        plane_major(type, args, fast, branches);
    }
}

}  // namespace

void scan_max_plane_major(const scan_args_16& args, bool fast, Branches& branches) {
    plane_major(Type::kMaximum, args, fast, branches);
}

void scan_min_plane_major(const scan_args_16& args, bool fast, Branches& branches) {
    plane_major(Type::kMinimum, args, fast, branches);
}

void scan_max_pixel_major(const scan_args_16& args, bool fast, Branches& branches) {
    pixel_major(Type::kMaximum, args, fast, branches);
}

void scan_min_pixel_major(const scan_args_16& args, bool fast, Branches& branches) {
    pixel_major(Type::kMinimum, args, fast, branches);
}

void scan_max_12(const scan_args_16& args, Branches& branches) {
    entry(Type::kMaximum, args, branches);
}

void scan_min_12(const scan_args_16& args, Branches& branches) {
    entry(Type::kMinimum, args, branches);
}

void fill_rows_max(int first, int last, int left, int right, int rowStride, short* output,
                   Branches& branches) {
    fill_rows(Type::kMaximum, first, last, left, right, rowStride, output, branches);
}

void fill_rows_min(int first, int last, int left, int right, int rowStride, short* output,
                   Branches& branches) {
    fill_rows(Type::kMinimum, first, last, left, right, rowStride, output, branches);
}

}  // namespace rz_reference
