#include "tests/reference/slabs/subtraction.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <utility>

namespace rz_reference {
namespace {

using rz_test::Branches;

// What a conversion to 32 bits makes of a NaN and of numbers too large.
std::int32_t truncated(float x) {
    if (x >= -2147483648.0F && x < 2147483648.0F) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

std::int32_t truncated(double x) {
    if (x > -2147483649.0 && x < 2147483648.0) return static_cast<std::int32_t>(x);
    return INT32_MIN;
}

std::int32_t wrapped(std::int64_t x) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(x)));
}

std::uint16_t low16(std::int32_t x) {
    return static_cast<std::uint16_t>(static_cast<std::uint32_t>(x) & 0xffffU);
}

std::uint8_t low8(std::int32_t x) {
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(x) & 0xffU);
}

std::int32_t limited(std::int32_t x, std::int32_t least, std::int32_t greatest) {
    return std::min(std::max(x, least), greatest);
}

std::int32_t as_signed16(std::int32_t x) {
    return static_cast<std::int16_t>(low16(x));
}

// A 16-bit or 8-bit pattern, read as the samples' sign says.
std::int32_t extended(std::uint16_t pattern, bool is_signed) {
    return is_signed ? static_cast<std::int16_t>(pattern) : pattern;
}

std::int32_t extended(std::uint8_t pattern, bool is_signed) {
    return is_signed ? static_cast<std::int8_t>(pattern) : pattern;
}

// First sample that the blocks of a row leave to the remainder.
int start_of_remainder(int columns, int block) {
    if (columns <= block) return 0;
    return block * ((columns - block + block - 1) / block);
}

struct Shift {
    std::int32_t iy;
    bool blend;
    float w[4];
    std::uint16_t W[4];
};

Shift make_shift(const float pixel_shift[2], Branches& branches) {
    const std::int32_t ix = truncated(std::floor(pixel_shift[0]));
    const float fx = pixel_shift[0] - static_cast<float>(ix);
    Shift shift{};
    shift.iy = truncated(std::floor(pixel_shift[1]));
    const float fy = pixel_shift[1] - static_cast<float>(shift.iy);
    shift.blend = std::fabs(fy) > 0.001F;
    shift.w[0] = (1.0F - fx) * (1.0F - fy);
    shift.w[1] = (1.0F - fy) * fx;
    shift.w[2] = (1.0F - fx) * fy;
    shift.w[3] = fy * fx;
    for (int k = 0; k < 4; ++k) shift.W[k] = low16(truncated(shift.w[k] * 65535.0F + 0.5F));

    if (fx == 1.0F || fy == 1.0F) branches.met("fraction rounds up to one");
    if (std::isnan(pixel_shift[0]) || std::isnan(pixel_shift[1])) branches.met("shift is no number");
    if (fy > 0.0F && !shift.blend) branches.met("fraction too small to blend");
    if (fx > 0.0F && !shift.blend) branches.met("fraction of component 0 ignored");
    if (ix != 0 && fx == 0.0F) branches.met("whole component 0 moves nothing");
    return shift;
}

// A row of a raster, P, Q or T; the rows behind P, Q and T read as zeros, which no result shows.
template <class Sample>
using Row = std::vector<Sample>;

template <class Sample>
Row<Sample> row_of(const void* slice, int row, int columns) {
    const auto* samples = static_cast<const Sample*>(slice);
    const std::int32_t offset = wrapped(std::int64_t{row} * columns);
    return Row<Sample>(samples + offset, samples + offset + columns);
}

template <class Sample>
std::int32_t mean_of_single(const std::vector<Row<Sample>>& list, int i, bool is_signed) {
    std::int32_t sum = 0;
    for (const Row<Sample>& row : list) sum += extended(row[static_cast<std::size_t>(i)], is_signed);
    const double reciprocal = 1.0 / static_cast<double>(list.size());
    return truncated(static_cast<double>(sum) * reciprocal + 0.5);
}

Row<std::uint16_t> row_mean(const std::vector<Row<std::uint16_t>>& list, int columns, bool is_signed,
                            Branches& branches) {
    Row<std::uint16_t> d(static_cast<std::size_t>(columns));
    const auto at = [](auto& row, int i) -> auto& {
        return row[static_cast<std::size_t>(i)];
    };
    const double reciprocal = 1.0 / static_cast<double>(list.size());
    const std::int32_t q = truncated(reciprocal * 1023.0 + 0.5);
    const int remainder = start_of_remainder(columns, 4);
    for (int i = 0; i < remainder; ++i) {
        if (list.size() == 1) {
            branches.met("mean16/block copied");
            at(d, i) = at(list[0], i);
            continue;
        }
        std::uint32_t lane = 0;
        for (const auto& row : list) lane += static_cast<std::uint32_t>(extended(at(row, i), is_signed));
        lane *= static_cast<std::uint32_t>(q);
        if (is_signed) {
            branches.met("mean16/signed block");
            d[static_cast<std::size_t>(i)] =
                low16(limited(static_cast<std::int32_t>(lane) >> 10, -32768, 32767));
        } else {
            branches.met("mean16/unsigned block");
            d[static_cast<std::size_t>(i)] = low16(limited(static_cast<std::int32_t>(lane >> 10), 0, 65535));
        }
    }
    for (int i = remainder; i < columns; ++i) {
        branches.met(is_signed ? "mean16/signed remainder" : "mean16/unsigned remainder");
        at(d, i) = low16(mean_of_single(list, i, is_signed));
    }
    return d;
}

Row<std::uint8_t> row_mean(const std::vector<Row<std::uint8_t>>& list, int columns, bool is_signed,
                           Branches& branches) {
    Row<std::uint8_t> d(static_cast<std::size_t>(columns));
    const auto at = [](auto& row, int i) -> auto& {
        return row[static_cast<std::size_t>(i)];
    };
    const double reciprocal = 1.0 / static_cast<double>(list.size());
    const std::uint16_t q = low16(truncated(reciprocal * 65535.0 + 0.5));
    const int remainder = start_of_remainder(columns, 8);
    for (int i = 0; i < remainder; ++i) {
        if (list.size() == 1) {
            branches.met("mean8/block copied");
            at(d, i) = at(list[0], i);
            continue;
        }
        if (is_signed) {
            // Both bytes of a pair take the upper one.
            const int odd = i | 1;
            std::int32_t lane = 0;
            for (const auto& row : list) {
                lane = lane + extended(at(row, odd), true);
                if (lane != limited(lane, -32768, 32767)) branches.met("mean8/signed sum saturates");
                lane = limited(lane, -32768, 32767);
            }
            branches.met(as_signed16(q) < 0 ? "mean8/signed block negated" : "mean8/signed block");
            const std::int32_t upper = (lane * as_signed16(q)) >> 16;
            at(d, i) = low8(limited(upper, -128, 127));
        } else {
            std::int32_t lane = 0;
            for (const auto& row : list) {
                lane = lane + at(row, i);
                if (lane > 65535) branches.met("mean8/unsigned sum saturates");
                lane = std::min(lane, 65535);
            }
            branches.met("mean8/unsigned block");
            const auto upper = static_cast<std::int32_t>((static_cast<std::uint32_t>(lane) * q) >> 16);
            at(d, i) = low8(limited(as_signed16(upper), 0, 255));
        }
    }
    for (int i = remainder; i < columns; ++i) {
        branches.met(is_signed ? "mean8/signed remainder" : "mean8/unsigned remainder");
        at(d, i) = low8(mean_of_single(list, i, is_signed));
    }
    return d;
}

// Upper 16 bits of the product of two words.
std::int32_t times_signed(std::uint16_t x, std::uint16_t weight) {
    return (as_signed16(x) * as_signed16(weight)) >> 16;
}

std::int32_t times_unsigned(std::uint16_t x, std::uint16_t weight) {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(x) * weight) >> 16);
}

// a + b + c + d from left to right, saturating each time.
std::int32_t sum_signed(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    std::int32_t sum = limited(a + b, -32768, 32767);
    sum = limited(sum + c, -32768, 32767);
    return limited(sum + d, -32768, 32767);
}

std::int32_t sum_unsigned(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
    std::int32_t sum = std::min(a + b, 65535);
    sum = std::min(sum + c, 65535);
    return std::min(sum + d, 65535);
}

// Samples from `first` on: one by one, then the last column by its own rule.
template <class Sample>
void blend_singles(const Row<Sample>& c, const Row<Sample>& n, int columns, int first, const float w[4],
                   bool is_signed, Row<Sample>& d, Branches& branches) {
    const auto value = [is_signed](const Row<Sample>& row, int i) {
        return static_cast<float>(extended(row[static_cast<std::size_t>(i)], is_signed));
    };
    for (int j = first; j <= columns - 2; ++j) {
        branches.met("blend/single sample");
        float sum = value(c, j) * w[0] + value(c, j + 1) * w[1];
        sum = sum + value(n, j) * w[2];
        sum = sum + value(n, j + 1) * w[3];
        sum = sum + 0.5F;
        d[static_cast<std::size_t>(j)] = static_cast<Sample>(low16(truncated(sum)));
    }
    const int j = columns - 1;
    const float sum = (w[3] + w[2]) * value(n, j) + value(c, j) * (w[1] + w[0]);
    d[static_cast<std::size_t>(j)] = static_cast<Sample>(low16(truncated(sum)));
}

Row<std::uint16_t> shift_row(const Row<std::uint16_t>& c, const Row<std::uint16_t>& n, int columns,
                             const Shift& shift, bool is_signed, Branches& branches) {
    Row<std::uint16_t> d(static_cast<std::size_t>(columns));
    const std::uint16_t* W = shift.W;
    const int singles = start_of_remainder(columns, 8);
    for (int i = 0; i < singles; ++i) {
        const auto j = static_cast<std::size_t>(i);
        if (is_signed) {
            for (int k = 0; k < 4; ++k) {
                if (W[k] >= 0x8000) branches.met("blend16/weight acts as negative");
            }
            branches.met("blend16/signed block");
            d[j] = low16(sum_signed(times_signed(c[j], W[0]), times_signed(n[j], W[1]),
                                    times_signed(c[j + 1], W[2]), times_signed(n[j + 1], W[3])));
        } else {
            branches.met("blend16/unsigned block");
            d[j] = low16(sum_unsigned(times_unsigned(c[j], W[0]), times_unsigned(n[j], W[1]),
                                      times_unsigned(c[j + 1], W[2]), times_unsigned(n[j + 1], W[3])));
        }
    }
    blend_singles(c, n, columns, singles, shift.w, is_signed, d, branches);
    return d;
}

std::uint16_t word_at(const Row<std::uint8_t>& row, int i) {
    const auto k = static_cast<std::size_t>(i);
    return static_cast<std::uint16_t>(row[k] | (row[k + 1] << 8));
}

std::uint16_t fill(std::uint16_t word) {
    return (word & 0x8000) != 0 ? 0xffff : 0;
}

std::uint8_t packed_signed(std::int32_t x) {
    return low8(limited(x, -128, 127));
}

std::uint8_t packed_unsigned(std::int32_t x) {
    return low8(limited(as_signed16(x), 0, 255));
}

Row<std::uint8_t> shift_row(const Row<std::uint8_t>& c, const Row<std::uint8_t>& n, int columns,
                            const Shift& shift, bool is_signed, Branches& branches) {
    Row<std::uint8_t> d(static_cast<std::size_t>(columns));
    const std::uint16_t w0 = shift.W[0];
    const std::uint16_t w1 = shift.W[1];
    const int singles = start_of_remainder(columns, 16);
    for (int i = 0; i < singles; i += 16) {
        std::uint16_t a[8];
        std::uint16_t b[8];
        std::uint16_t e[8];
        std::uint16_t g[8];
        for (int k = 0; k < 8; ++k) {
            a[k] = word_at(c, i + 2 * k);
            b[k] = word_at(n, i + 2 * k);
            e[k] = word_at(c, i + 1 + 2 * k);
            g[k] = word_at(n, i + 1 + 2 * k);
        }
        for (int k = 0; k < 8; ++k) {
            const auto low = static_cast<std::size_t>(i + 2 * k);
            if (is_signed) {
                branches.met("blend8/signed block");
                d[low] = packed_signed(sum_signed(times_signed(b[k], w1), times_signed(a[k], w0),
                                                  times_signed(e[k], w0), times_signed(g[k], w1)));
                d[low + 1] =
                    packed_signed(sum_signed(times_signed(fill(b[k]), w1), times_signed(fill(a[k]), w0),
                                             times_signed(fill(e[k]), w0), times_signed(fill(g[k]), w1)));
            } else if (k < 4) {
                branches.met("blend8/unsigned first half");
                d[low] = packed_unsigned(sum_unsigned(times_unsigned(a[k], w0), times_unsigned(b[k], w1),
                                                      times_unsigned(e[k], w0), times_unsigned(g[k], w1)));
                d[low + 1] = 0;
            } else {
                branches.met("blend8/unsigned second half");
                const int m = k - 4;
                d[low] = packed_unsigned(sum_unsigned(times_unsigned(a[k], w0), times_unsigned(b[m], w1),
                                                      times_unsigned(e[m], w0), times_unsigned(g[m], w1)));
                d[low + 1] = packed_unsigned(times_unsigned(fill(a[k]), w0));
                if (d[low + 1] != 0) branches.met("blend8/fill shows");
            }
        }
    }
    blend_singles(c, n, columns, singles, shift.w, is_signed, d, branches);
    return d;
}

void subtract_row(std::uint16_t* output, const Row<std::uint16_t>& x, int columns, int bitdepth,
                  bool is_signed, short offset, Branches& branches) {
    const std::int32_t limit = as_signed16(truncated(std::pow(2.0, static_cast<double>(bitdepth)) - 1.0));
    const std::int32_t raise = low16(offset);
    for (int i = 0; i < columns; ++i) {
        const std::uint16_t s = x[static_cast<std::size_t>(i)];
        if (is_signed) {
            const std::int32_t difference = as_signed16(output[i]) - as_signed16(s);
            if (difference != limited(difference, -32768, 32767)) branches.met("subtract16/signed saturates");
            output[i] = low16(limited(difference, -32768, 32767));
            continue;
        }
        std::int32_t t = output[i] + raise;
        if (t > 65535) branches.met("subtract16/offset saturates");
        t = std::min(t, 65535);
        t = t - s;
        if (t < 0) branches.met("subtract16/zero");
        t = std::max(t, 0);
        if (as_signed16(t) < 0) branches.met("subtract16/upper half kept");
        if (as_signed16(t) > limit) {
            branches.met(limit < 0 ? "subtract16/lower half becomes 0xffff" : "subtract16/limited");
        }
        output[i] = low16(std::min(as_signed16(t), limit));
    }
}

void subtract_row(std::uint8_t* output, const Row<std::uint8_t>& x, int columns, int, bool is_signed,
                  short offset, Branches& branches) {
    const std::int32_t f = low8(offset);
    for (int i = 0; i < columns; ++i) {
        const std::uint8_t s = x[static_cast<std::size_t>(i)];
        if (is_signed) {
            const std::int32_t difference = extended(output[i], true) - extended(s, true);
            if (difference != limited(difference, -128, 127)) branches.met("subtract8/signed saturates");
            output[i] = low8(limited(difference, -128, 127));
            continue;
        }
        const std::int32_t p = std::max(s - f, 0);
        const std::int32_t q = std::max(f - s, 0);
        const std::int32_t lowered = std::max(output[i] - p, 0);
        if (output[i] < p) branches.met("subtract8/zero");
        if (lowered + q > 255) branches.met("subtract8/saturates");
        output[i] = low8(std::min(lowered + q, 255));
    }
}

std::vector<void*> listed(const std::vector<void*>& slices, int first, int last) {
    std::vector<void*> list;
    for (int s = first; s <= last; ++s) list.push_back(slices[static_cast<std::size_t>(s)]);
    return list;
}

template <class Sample>
int subtract(const std::vector<void*>& slices, int rows, int columns, int bitdepth, bool is_signed,
             void* output, const RZ_SubOpParams& parameters, const Shift& shift, int first_active,
             int last_active, Branches& branches) {
    const auto minuend = listed(slices, parameters.minuend_first, parameters.minuend_last);
    if (minuend.empty()) return -1;
    if (!minuend[0]) return -1;
    const auto subtrahend = listed(slices, parameters.subtrahend_first, parameters.subtrahend_last);
    if (subtrahend.empty()) return -1;
    if (!subtrahend[0]) return -1;

    const auto mean = [&](const std::vector<void*>& list, int row) {
        std::vector<Row<Sample>> samples;
        for (const void* slice : list) samples.push_back(row_of<Sample>(slice, row, columns));
        return row_mean(samples, columns, is_signed, branches);
    };
    Row<Sample> p(static_cast<std::size_t>(columns));
    Row<Sample> q(static_cast<std::size_t>(columns));
    Row<Sample> t(static_cast<std::size_t>(columns));
    auto* line = static_cast<Sample*>(output);
    for (int r = 0; r < rows; ++r, line += columns) {
        const Row<Sample> plain = mean(minuend, r);
        std::copy(plain.begin(), plain.end(), line);
        if (r < first_active || r > last_active) {
            branches.met(r < first_active ? "row before the active ones" : "row behind the active ones");
            continue;
        }
        const int s = r + shift.iy;
        if (r == first_active) {
            branches.met("first active row");
            p = mean(subtrahend, s);
        } else {
            std::swap(p, q);
        }
        if (r < last_active) {
            q = mean(subtrahend, s + 1);
        } else {
            if (shift.blend) branches.met("last active row blends with black");
            if (shift.blend && s + 1 < rows) branches.met("black although a next row exists");
            std::fill(q.begin(), q.end(), Sample{0});
        }
        if (shift.blend) {
            branches.met("blended");
            t = shift_row(p, q, columns, shift, is_signed, branches);
        } else {
            branches.met("not blended");
            t = p;
        }
        subtract_row(line, t, columns, bitdepth, is_signed, parameters.offset, branches);
    }
    return 1;
}

}  // namespace

int get_multi_slice_subtraction_plane(const std::vector<void*>& slices, int rows, int columns, int bitdepth,
                                      bool is_signed, void* output, const RZ_SubOpParams& parameters,
                                      Branches& branches) {
    if (slices.empty()) return -1;
    if (!slices[0]) return -1;
    if (wrapped(std::int64_t{rows} * columns) < 1) return -1;
    if (!(parameters.minuend_last < slices.size())) return -1;
    if (!(parameters.subtrahend_last < slices.size())) return -1;
    if (parameters.minuend_last - parameters.minuend_first + 1 < 0) return -1;

    const Shift shift = make_shift(parameters.pixel_shift, branches);
    const std::int32_t first_active = std::max(wrapped(-std::int64_t{shift.iy}), 0);
    const std::int32_t last_active = std::min(rows, wrapped(std::int64_t{rows} - shift.iy)) - 1;
    if (last_active < first_active) branches.met("no active row");

    if (bitdepth >= 9 && bitdepth <= 16) {
        return subtract<std::uint16_t>(slices, rows, columns, bitdepth, is_signed, output, parameters, shift,
                                       first_active, last_active, branches);
    }
    if (bitdepth == 8) {
        return subtract<std::uint8_t>(slices, rows, columns, bitdepth, is_signed, output, parameters, shift,
                                      first_active, last_active, branches);
    }
    branches.met("no such depth");
    return 1;
}

}  // namespace rz_reference
