#include "tests/reference/slabs/multi_slice.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace rz_reference {
namespace {

struct Range {
    int first;
    int last;
};

// Both signs take the pattern: -1 counts as 65535.
std::uint32_t widened(short sample) {
    return static_cast<std::uint16_t>(sample);
}

short scaled(std::uint32_t lane, double factor) {
    const double value = static_cast<double>(static_cast<std::int32_t>(lane)) * factor + 0.5;
    const auto whole = static_cast<std::int32_t>(value);
    return static_cast<short>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(whole)));
}

bool is_incremental(RZ_OBL_SlabbingType type, const short* previous, Range now, Range before,
                    rz_test::Branches& branches) {
    if (type != RZ_OBL_SlabbingType::SlabAverage) {
        if (previous) branches.met("earlier mean is of no use to an extreme");
        return false;
    }
    if (!previous) {
        branches.met("no earlier mean");
        return false;
    }
    if (before.first > before.last) branches.met("earlier range reversed");
    const int overlap = std::min(now.last, before.last) - std::max(now.first, before.first) + 1;
    if (!(overlap > 0)) {
        branches.met(overlap == 0 ? "ranges only touch" : "ranges apart");
        return false;
    }
    if (overlap == 1) branches.met("ranges share one slice");
    const int leaving = std::max(now.first - before.first, 0) + std::max(before.last - now.last, 0);
    const int entering = std::max(before.first - now.first, 0) + std::max(now.last - before.last, 0);
    const int count = now.last - now.first + 1;
    const int gain = count - (leaving + entering + 2);
    if (gain == 3) branches.met("one slice too few for an update");
    if (gain == 4) branches.met("just enough slices for an update");
    if (gain > 3 && leaving == 0 && entering == 0) branches.met("update of an unmoved range");
    return gain > 3;
}

void update_mean(const std::vector<short*>& slices, int samples, bool is_signed, short* output,
                 const short* previous, Range now, Range before, double factor, rz_test::Branches& branches) {
    const int m = before.last - before.first + 1;
    for (int i = 0; i < samples; i += 4) {
        std::uint32_t lanes[4];
        for (int k = 0; k < 4; ++k) lanes[k] = widened(previous[i + k]) * static_cast<std::uint32_t>(m);
        for (int s = now.first; s < before.first; ++s) {
            branches.met("slice enters below");
            for (int k = 0; k < 4; ++k) lanes[k] += widened(slices[static_cast<std::size_t>(s)][i + k]);
        }
        for (int s = before.last + 1; s <= now.last; ++s) {
            branches.met("slice enters above");
            for (int k = 0; k < 4; ++k) lanes[k] += widened(slices[static_cast<std::size_t>(s)][i + k]);
        }
        for (int s = before.first; s < now.first; ++s) {
            branches.met("slice leaves below");
            for (int k = 0; k < 4; ++k) lanes[k] -= widened(slices[static_cast<std::size_t>(s)][i + k]);
        }
        for (int s = now.last + 1; s <= before.last; ++s) {
            branches.met("slice leaves above");
            for (int k = 0; k < 4; ++k) lanes[k] -= widened(slices[static_cast<std::size_t>(s)][i + k]);
        }
        for (int k = 0; k < 4; ++k) {
            if (static_cast<std::int32_t>(lanes[k]) < 0) {
                branches.met(is_signed ? "negative sum kept" : "negative sum clamped");
                if (!is_signed) lanes[k] = 0;
            }
        }
        for (int k = 0; k < 4; ++k) {
            output[i + k] = scaled(lanes[k], factor);
            if (i + k >= samples) branches.met("mean written past the count");
        }
    }
}

void full_mean(const std::vector<short*>& list, int samples, short* output, double factor,
               rz_test::Branches& branches) {
    for (int i = 0; i < samples; i += 4) {
        std::uint32_t lanes[4] = {0, 0, 0, 0};
        for (const short* raster : list) {
            for (int k = 0; k < 4; ++k) lanes[k] += widened(raster[i + k]);
        }
        for (int k = 0; k < 4; ++k) {
            output[i + k] = scaled(lanes[k], factor);
            if (i + k >= samples) branches.met("mean written past the count");
        }
    }
}

short smaller(short a, short b, bool is_signed) {
    if (is_signed) return b < a ? b : a;
    return static_cast<std::uint16_t>(b) < static_cast<std::uint16_t>(a) ? b : a;
}

short larger(short a, short b, bool is_signed) {
    if (is_signed) return b > a ? b : a;
    return static_cast<std::uint16_t>(b) > static_cast<std::uint16_t>(a) ? b : a;
}

void extreme(const std::vector<short*>& list, int samples, bool is_signed, bool minimum, short* output,
             rz_test::Branches& branches) {
    std::memmove(output, list[0], 2 * static_cast<std::size_t>(samples));
    for (std::size_t s = 1; s < list.size(); ++s) {
        for (int i = 0; i < samples; i += 8) {
            for (int k = 0; k < 8; ++k) {
                const short a = output[i + k];
                const short b = list[s][i + k];
                if ((a < 0) != (b < 0)) {
                    branches.met(is_signed ? "compared signed across the sign" : "compared unsigned");
                }
                output[i + k] = minimum ? smaller(a, b, is_signed) : larger(a, b, is_signed);
                if (i + k >= samples) branches.met("extreme written past the count");
            }
        }
    }
    if (list.size() == 1) branches.met("extreme of one slice is a copy");
}

}  // namespace

int get_multi_slice_plane(const std::vector<short*>& slices, int rows, int columns, bool is_signed,
                          RZ_OBL_SlabbingType type, short* output, unsigned short first_slice,
                          unsigned short last_slice, short* previous_output,
                          unsigned short previous_first_slice, unsigned short previous_last_slice,
                          rz_test::Branches& branches) {
    if (slices.empty()) return -1;
    if (!slices[0]) return -1;
    const auto samples =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(rows) * static_cast<std::uint32_t>(columns));
    if (samples < 1) return -1;

    const Range now{first_slice, last_slice};
    const Range before{previous_first_slice, previous_last_slice};
    const std::int32_t n = now.last - now.first + 1;
    const double factor = 1.0 / n;

    if (is_incremental(type, previous_output, now, before, branches)) {
        if (previous_output == output) branches.met("update in place");
        update_mean(slices, samples, is_signed, output, previous_output, now, before, factor, branches);
        return 1;
    }

    std::vector<short*> list;
    for (int s = now.first; s <= now.last; ++s) list.push_back(slices[static_cast<std::size_t>(s)]);
    if (list.empty()) return -1;
    if (!list[0]) return -1;
    for (std::size_t s = 0; s < list.size(); ++s) {
        if (list[s] == output) branches.met(s == 0 ? "output is the first slice" : "output is a later slice");
    }
    switch (type) {
        case RZ_OBL_SlabbingType::SlabMinimum:
            extreme(list, samples, is_signed, true, output, branches);
            break;
        case RZ_OBL_SlabbingType::SlabMaximum:
            extreme(list, samples, is_signed, false, output, branches);
            break;
        case RZ_OBL_SlabbingType::SlabAverage:
            full_mean(list, samples, output, factor, branches);
            break;
        default:
            branches.met("no such type");
            break;
    }
    return 1;
}

}  // namespace rz_reference
