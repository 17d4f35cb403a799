#include "tests/support/scan_case.h"

#include <cmath>
#include <cstdint>
#include <sstream>
#include <type_traits>

namespace rz_test {
namespace {

constexpr float kOne = 262144.0F;

int wrap(std::int64_t x) {
    return static_cast<int>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(x)));
}

int q18(float samples) {
    const float q = samples * kOne;
    return q >= -2147483648.0F && q < 2147483648.0F ? static_cast<int>(q) : INT32_MIN;
}

/// Component i of a position: the integer index and, for float steps, the value itself.
struct Position {
    int index[3];
};

template <class Sample, class Step>
bool may_read(const ScanCase<Sample, Step>& c, const ScanOptions& options, const Position& p) {
    const int* i = p.index;
    if (i[2] - options.slicesBelow < -2 || i[2] + options.slicesAbove > c.depth + 1) return false;
    if (options.reach == Reach::kAnywhere) return true;
    const int x = options.limitsAbove ? std::min(i[0], c.sourceWidth - 2) : i[0];
    const int y = options.limitsAbove ? std::min(i[1], c.sourceHeight - 2) : i[1];
    if (options.reach == Reach::kInside) {
        return x >= 0 && x <= c.sourceWidth - 2 && y >= 0 && y <= c.sourceHeight - 2;
    }
    const std::int64_t offset = static_cast<std::int64_t>(y) * c.sourceWidth + x;
    return offset >= 0 && offset + c.sourceWidth + 1 < std::int64_t{1} * c.sourceWidth * c.sourceHeight;
}

/// How many columns of a run that starts at column first may be scanned, at most limit.
template <class Sample, class Step>
int safe_columns(const ScanCase<Sample, Step>& c, const ScanOptions& options, int row, int first, int limit) {
    constexpr bool kFixed = std::is_same_v<Step, int>;
    const int n = 2 * c.slabSteps + 1;
    const int planes = std::max(n, 0);
    Step at[3];
    for (std::size_t k = 0; k < 3; ++k) {
        const auto* m = c.planeToIndex;
        const float start =
            (static_cast<float>(row) * m[1][k] + static_cast<float>(first) * m[0][k]) + m[3][k];
        if constexpr (kFixed) {
            at[k] = q18(start);
            if (c.slabSteps > 0) at[k] = wrap(at[k] - std::int64_t{1} * c.slabSteps * c.slabStep[k]);
        } else {
            at[k] = start;
            if (c.slabSteps > 0) at[k] -= static_cast<float>(c.slabSteps) * c.slabStep[k];
        }
        if (k < 2 && at[k] < 0) at[k] = 0;
    }
    Step back[3];
    for (std::size_t k = 0; k < 3; ++k) {
        if constexpr (kFixed) {
            back[k] = wrap(c.columnStep[k] - std::int64_t{1} * n * c.slabStep[k]);
        } else {
            back[k] = c.columnStep[k] - static_cast<float>(n) * c.slabStep[k];
        }
    }
    Step seed[3] = {at[0], at[1], at[2]};
    for (int column = 0; column < limit; ++column) {
        if (options.seedsOnePlane && n < 0) {
            Position pixelMajor{};
            Position planeMajor{};
            for (std::size_t k = 0; k < 3; ++k) {
                if constexpr (kFixed) {
                    pixelMajor.index[k] = at[k] >> 18;
                    planeMajor.index[k] = seed[k] >> 18;
                    seed[k] = wrap(std::int64_t{seed[k]} + c.columnStep[k]);
                }
            }
            if (!may_read(c, options, pixelMajor) || !may_read(c, options, planeMajor)) return column;
        }
        for (int plane = 0; plane < planes; ++plane) {
            Position p{};
            for (std::size_t k = 0; k < 3; ++k) {
                if constexpr (kFixed) {
                    p.index[k] = at[k] >> 18;
                    at[k] = wrap(std::int64_t{at[k]} + c.slabStep[k]);
                } else {
                    // z goes by floor: the slices that truncation and floor name both lie in the table then.
                    p.index[k] = static_cast<int>(k == 2 ? std::floor(at[k]) : std::trunc(at[k]));
                    at[k] += c.slabStep[k];
                }
            }
            if (!may_read(c, options, p)) return column;
        }
        for (std::size_t k = 0; k < 3; ++k) {
            if constexpr (kFixed) {
                at[k] = wrap(std::int64_t{at[k]} + back[k]);
            } else {
                at[k] += back[k];
            }
        }
    }
    return limit;
}

template <class Sample, class Step>
void make_source(Random& random, ScanCase<Sample, Step>& c, const ScanOptions& options) {
    c.sourceWidth = random.once_in(4) ? random.between(2, 6) : random.between(7, 40);
    c.sourceHeight = random.once_in(4) ? random.between(2, 6) : random.between(7, 40);
    c.depth = random.once_in(4) ? random.between(1, 4) : random.between(5, 30);
    c.isSigned = random.once_in(2);
    c.bitDepth = random.once_in(3) ? std::min(12, options.bitDepthTo)
                                   : random.between(options.bitDepthFrom, options.bitDepthTo);
    const std::size_t samples =
        static_cast<std::size_t>(c.sourceWidth) * static_cast<std::size_t>(c.sourceHeight);
    const std::size_t neighbours = static_cast<std::size_t>(c.sourceWidth) + 1;
    const Readable about{static_cast<std::size_t>(options.neighboursBefore) * neighbours,
                         static_cast<std::size_t>(options.neighboursBehind) * neighbours};
    for (int z = 0; z < c.depth; ++z) {
        c.rasters.emplace_back(samples, about, random.bits());
        if constexpr (sizeof(Sample) == 4) {
            fill_nasty_pixels(random, c.rasters.back().data(), samples);
        } else {
            const int bits = sizeof(Sample) == 1 ? 8 : c.bitDepth;
            fill_nasty(random, c.rasters.back().data(), samples, c.isSigned, bits);
        }
    }
}

template <class Sample, class Step>
void make_table(ScanCase<Sample, Step>& c) {
    c.table.clear();
    for (int z = -2; z <= c.depth + 1; ++z) {
        const int slice = std::min(std::max(z, 0), c.depth - 1);
        c.table.push_back(c.rasters[static_cast<std::size_t>(slice)].data());
    }
}

/// One component of a step, in samples.
float step_component(Random& random) {
    if (random.once_in(3)) return random.pick({0.0F, 1.0F, -1.0F, 0.5F, -0.5F});
    if (random.once_in(6)) return random.real(-3.0F, 3.0F);
    return random.real(-1.0F, 1.0F);
}

/// A fraction of a sample where something could go wrong by one unit.
float nasty_fraction(Random& random) {
    return random.pick({0.0F, -3.0F / kOne, 1.0F / kOne, 8.0F / kOne, -8.0F / kOne, 0.5F, -0.5F,
                        262143.0F / kOne, -0.01F, 0.01F});
}

/// Matrix and steps: half of the cases run along source axes, with starts at nasty fractions.
template <class Sample, class Step>
void make_walk(Random& random, ScanCase<Sample, Step>& c, const ScanOptions& options) {
    float(*m)[4] = c.planeToIndex;
    for (int i = 0; i < 4; ++i) std::fill(m[i], m[i] + 4, 0.0F);
    const int dims[3] = {c.sourceWidth, c.sourceHeight, c.depth};
    float slab[3];
    const bool aligned = random.once_in(2);
    if (aligned) {
        const int columnAxis = random.between(0, 2);
        const int rowAxis = (columnAxis + random.between(1, 2)) % 3;
        const float columnSign = random.once_in(3) ? -1.0F : 1.0F;
        const float rowSign = random.once_in(3) ? -1.0F : 1.0F;
        const int axes[3] = {columnAxis, rowAxis, 3 - columnAxis - rowAxis};
        m[0][columnAxis] = columnSign * random.pick({1.0F, 1.0F, 0.5F, 0.25F, 1.5F});
        m[1][rowAxis] = rowSign * random.pick({1.0F, 1.0F, 0.5F, 2.0F});
        for (int i = 0; i < 3; ++i) {
            const bool fromStart = random.once_in(2) == (i == 0   ? columnSign > 0
                                                         : i == 1 ? rowSign > 0
                                                                  : true);
            const int whole =
                fromStart ? random.pick({0, 0, 0, 1, -1}) : random.between(0, dims[axes[i]] - 1);
            m[3][axes[i]] = static_cast<float>(whole) + nasty_fraction(random);
        }
    } else {
        for (int k = 0; k < 3; ++k) {
            m[0][k] = step_component(random);
            m[1][k] = step_component(random);
            const float low = options.reach == Reach::kAnywhere ? -2.0F : 0.0F;
            const float centre = random.real(low, static_cast<float>(dims[k]) - low);
            const float half = 0.5F;
            m[3][k] = centre - half * static_cast<float>(c.rowStride) * m[0][k] -
                      half * static_cast<float>(c.rowCount) * m[1][k];
        }
    }
    const int slabAxis = random.between(0, 2);
    const float scale = random.once_in(3) ? random.pick({0.5F, 0.25F, 0.03125F}) : 1.0F;
    for (int k = 0; k < 3; ++k) {
        slab[k] = (k == slabAxis ? random.pick({1.0F, -1.0F}) : step_component(random)) * scale;
        if (random.once_in(3) && k != slabAxis) slab[k] = 0.0F;
    }
    if (!options.negativeSlabStep && slab[0] < 0.0F) {
        for (float& s : slab) s = -s;
    }
    for (int k = 0; k < 3; ++k) {
        if constexpr (std::is_same_v<Step, int>) {
            c.columnStep[static_cast<std::size_t>(k)] = q18(m[0][k]);
            c.slabStep[static_cast<std::size_t>(k)] = q18(slab[k]);
        } else {
            c.columnStep[static_cast<std::size_t>(k)] = m[0][k];
            c.slabStep[static_cast<std::size_t>(k)] = slab[k];
        }
    }
    c.slabSteps = random.once_in(2) ? 0 : random.between(1, 4);
    if (random.once_in(6)) c.slabSteps = random.between(1, std::max(1, options.maxSlabSteps));
    if (options.negativeSlabSteps && random.once_in(25)) c.slabSteps = random.pick({-1, -2, -17, -32768});
}

template <class Sample, class Step>
void make_spans(Random& random, ScanCase<Sample, Step>& c, const ScanOptions& options) {
    c.spans.clear();
    for (int row = 0; row < c.rowCount; ++row) {
        int first = 1;
        int last = 0;
        const int kind = random.between(0, 11);
        if (kind == 0) {
            first = random.between(0, c.rowStride - 1);
            last = first;
        } else if (kind == 1) {
            first = random.between(-5, c.rowStride);
            last = random.between(-9, first);
        } else {
            // The longest safe run over some starts, now and then a part of it.
            int best = 0;
            for (int attempt = 0; attempt < 10 && best < c.rowStride / 2; ++attempt) {
                const int start = attempt == 0 ? 0 : random.between(0, c.rowStride - 1);
                const int columns = safe_columns(c, options, row, start, c.rowStride - start);
                if (columns <= best) continue;
                best = columns;
                first = start;
                last = start + columns - 1;
            }
            if (best > 2 && kind < 6) last = random.between(first, last);
        }
        c.spans.push_back(static_cast<short>(first));
        c.spans.push_back(static_cast<short>(last));
    }
}

template <class Case>
int rows_with_pixels(const Case& c) {
    int rows = 0;
    for (std::size_t i = 0; i < c.spans.size(); i += 2) rows += c.spans[i] < c.spans[i + 1] ? 1 : 0;
    return rows;
}

template <class T>
void print(std::ostream& out, const char* what, const T& want, const T& got) {
    if (want == got) return;
    out << what << ": want";
    for (const auto& v : want) out << ' ' << v;
    out << ", got";
    for (const auto& v : got) out << ' ' << v;
    out << '\n';
}

}  // namespace

template <class Case>
Case make_scan_case(Seed seed, const ScanOptions& options) {
    Random random(seed);
    Case c;
    c.seed = seed;
    make_source(random, c, options);
    make_table(c);
    c.rowCount = random.once_in(20) ? 0 : random.between(1, 9);
    c.rowStride = random.once_in(20) ? random.between(1, 3) : random.between(4, 40);
    // Most slabs and steps miss a small source; few cases shall be without any pixel.
    for (int attempt = 0; attempt < 12; ++attempt) {
        make_walk(random, c, options);
        make_spans(random, c, options);
        if (rows_with_pixels(c) * 2 >= c.rowCount) break;
    }
    c.bounds = {random.between(0, 12), random.between(-1, 8), random.between(0, 45), random.between(-1, 30)};
    if (random.once_in(2)) c.bounds = {c.rowCount, -1, c.rowStride, -1};
    return c;
}

template <class Case>
Case blank_scan_case(int sourceWidth, int sourceHeight, int depth, int rowCount, int rowStride) {
    Case c;
    c.seed = 1;
    c.sourceWidth = sourceWidth;
    c.sourceHeight = sourceHeight;
    c.depth = depth;
    c.rowCount = rowCount;
    c.rowStride = rowStride;
    const std::size_t samples =
        static_cast<std::size_t>(sourceWidth) * static_cast<std::size_t>(sourceHeight);
    for (int z = 0; z < depth; ++z) {
        c.rasters.emplace_back(samples);
        std::fill_n(c.rasters.back().data(), samples, typename std::decay_t<decltype(*c.slices()[0])>{});
    }
    make_table(c);
    for (int row = 0; row < rowCount; ++row) {
        c.spans.push_back(0);
        c.spans.push_back(static_cast<short>(rowStride - 1));
    }
    using Step = std::decay_t<decltype(c.columnStep[0])>;
    c.planeToIndex[0][0] = 1.0F;
    c.planeToIndex[1][1] = 1.0F;
    c.columnStep = {static_cast<Step>(std::is_same_v<Step, int> ? 262144 : 1), Step{}, Step{}};
    c.bounds = {rowCount, -1, rowStride, -1};
    return c;
}

template <class Sample, class Step>
std::string first_difference(const ScanCase<Sample, Step>& c, const Outcome<Sample, Step>& want,
                             const Outcome<Sample, Step>& got) {
    if (want == got) return "";
    std::ostringstream out;
    out << replay(c.seed) << "\nsource " << c.sourceWidth << 'x' << c.sourceHeight << 'x' << c.depth
        << ", raster " << c.rowStride << 'x' << c.rowCount << ", slabSteps " << c.slabSteps << ", bits "
        << c.bitDepth << (c.isSigned ? " signed" : " unsigned") << ", quality " << c.quality << '\n';
    print(out, "firstRow lastRow firstColumn lastColumn", want.bounds, got.bounds);
    print(out, "columnStep", want.columnStep, got.columnStep);
    print(out, "slabStep", want.slabStep, got.slabStep);
    print(out, "spans", want.spans, got.spans);
    if (!want.output.fencesIntact()) out << "the first kernel wrote outside the raster\n";
    if (!got.output.fencesIntact()) out << "the second kernel wrote outside the raster\n";
    int differing = 0;
    for (int row = 0; row < c.rowCount; ++row) {
        for (int column = 0; column < c.rowStride; ++column) {
            const auto i = static_cast<std::size_t>(row * c.rowStride + column);
            if (want.output.data()[i] == got.output.data()[i]) continue;
            if (++differing > 4) continue;
            const auto r = static_cast<std::size_t>(row) * 2;
            out << "column " << column << ", row " << row << ": want " << +want.output.data()[i] << ", got "
                << +got.output.data()[i] << ", before " << +want.output.before(i) << ", span " << c.spans[r]
                << " to " << c.spans[r + 1] << '\n';
        }
    }
    out << differing << " pixels differ\n";
    return out.str();
}

template ScanCase16 make_scan_case(Seed, const ScanOptions&);
template ScanCase8 make_scan_case(Seed, const ScanOptions&);
template ScanCase32 make_scan_case(Seed, const ScanOptions&);
template ScanCase16 blank_scan_case(int, int, int, int, int);
template ScanCase8 blank_scan_case(int, int, int, int, int);
template ScanCase32 blank_scan_case(int, int, int, int, int);
template std::string first_difference(const ScanCase16&, const Outcome<short, int>&,
                                      const Outcome<short, int>&);
template std::string first_difference(const ScanCase8&, const Outcome<unsigned char, float>&,
                                      const Outcome<unsigned char, float>&);
template std::string first_difference(const ScanCase32&, const Outcome<std::uint32_t, float>&,
                                      const Outcome<std::uint32_t, float>&);

}  // namespace rz_test
