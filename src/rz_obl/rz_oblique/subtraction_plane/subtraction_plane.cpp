#include <algorithm>
#include <cmath>
#include <utility>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_oblique/log_line.h"
#include "rz_obl/rz_oblique/rz_oblique.h"
#include "rz_obl/rz_oblique/subtraction_plane/row_operations.h"
#include "rz_obl/rz_oblique/subtraction_plane/wide_rows.h"

namespace {

using rz_obl::ShiftWeights;
using rz_obl::wrap_sub;

constexpr char kFunction[] = "RZ_GetMultiSliceSubtractionPlane";
// Room for the block stores of the row operations.
constexpr std::size_t kRowSlack = 16;

/// What the pixel shift means for the rows.
struct Shift {
    ShiftWeights weights;
    int rowShift;
    bool blend;
    int firstActive;
    int lastActive;
};

Shift make_shift(const float pixelShift[2], int rows) {
    // required: the whole part along the columns only splits off the fraction; nothing is ever moved by it
    const float fx = pixelShift[0] - static_cast<float>(rz_obl::trunc_to_int(std::floor(pixelShift[0])));
    const int rowShift = rz_obl::trunc_to_int(std::floor(pixelShift[1]));
    const float fy = pixelShift[1] - static_cast<float>(rowShift);
    Shift shift{};
    shift.weights = rz_obl::make_shift_weights(fx, fy);
    shift.rowShift = rowShift;
    shift.blend = std::fabs(fy) > 0.001F;  // required: fx plays no part
    shift.firstActive = std::max(wrap_sub(0, rowShift), 0);
    shift.lastActive = wrap_sub(std::min(rows, wrap_sub(rows, rowShift)), 1);
    return shift;
}

struct Words {
    using Sample = std::int16_t;
    static void mean(const std::vector<const void*>& list, int row, int columns, Sample* to, bool isSigned,
                     bool wide) {
        const rz_obl::raster_rows rows{list.data(), list.size(), rz_obl::wrap_mul(row, columns)};
        if (wide && rz_obl::row_mean_16_avx2(rows, columns, to, isSigned)) return;
        rz_obl::row_mean_16(list, row, columns, to, isSigned);
    }
    static void blend(const Sample* current, const Sample* next, int columns, const ShiftWeights& weights,
                      Sample* to, bool isSigned) {
        rz_obl::shift_row_16(current, next, columns, weights, to, isSigned);
    }
    static void subtract(Sample* output, const Sample* other, int columns, int bitDepth, bool isSigned,
                         short offset) {
        rz_obl::subtract_row_16(output, other, columns, bitDepth, isSigned, offset);
    }
};

struct Bytes {
    using Sample = std::uint8_t;
    static void mean(const std::vector<const void*>& list, int row, int columns, Sample* to, bool isSigned,
                     bool wide) {
        const rz_obl::raster_rows rows{list.data(), list.size(), rz_obl::wrap_mul(row, columns)};
        if (wide && rz_obl::row_mean_8_avx2(rows, columns, to, isSigned)) return;
        rz_obl::row_mean_8(list, row, columns, to, isSigned);
    }
    static void blend(const Sample* current, const Sample* next, int columns, const ShiftWeights& weights,
                      Sample* to, bool isSigned) {
        rz_obl::shift_row_8(current, next, columns, weights, to, isSigned);
    }
    static void subtract(Sample* output, const Sample* other, int columns, int, bool isSigned, short offset) {
        rz_obl::subtract_row_8(output, other, columns, isSigned, static_cast<std::uint8_t>(offset));
    }
};

std::vector<const void*> list_of(const std::vector<void*>& slices, int first, int last) {
    std::vector<const void*> list;
    for (int i = first; i <= last; ++i) list.push_back(slices[static_cast<std::size_t>(i)]);
    return list;
}

bool unusable(const std::vector<const void*>& list) {
    return list.empty() || list[0] == nullptr;
}

/// Whether no row that is still to be read lies where blocks are stored; else only the narrow operations,
/// with their stores behind the rows, give their own result.
template <class Sample>
bool apart(const std::vector<const void*>& minuend, const std::vector<const void*>& subtrahend,
           const void* output, int rows, int columns) {
    const auto samples = static_cast<std::uintptr_t>(rz_obl::wrap_mul(rows, columns));
    const std::uintptr_t bytes = (samples + kRowSlack) * sizeof(Sample);
    const auto to = reinterpret_cast<std::uintptr_t>(output);
    const auto meets = [to, bytes](const void* raster) {
        const auto from = reinterpret_cast<std::uintptr_t>(raster);
        return from < to + bytes && to < from + bytes;
    };
    return std::none_of(minuend.begin(), minuend.end(), meets) &&
           std::none_of(subtrahend.begin(), subtrahend.end(), meets);
}

template <class Depth>
int subtract_planes(const std::vector<void*>& slices, int rows, int columns, int bitDepth, bool isSigned,
                    void* output, const RZ_SubOpParams& parameters, const Shift& shift) {
    using Sample = typename Depth::Sample;
    const std::vector<const void*> minuend =
        list_of(slices, parameters.minuend_first, parameters.minuend_last);
    if (unusable(minuend)) return -1;
    const std::vector<const void*> subtrahend =
        list_of(slices, parameters.subtrahend_first, parameters.subtrahend_last);
    if (unusable(subtrahend)) return -1;

    const bool wide =
        rz_obl::g_cpuFeatures.hasAvx2() && apart<Sample>(minuend, subtrahend, output, rows, columns);
    const std::size_t bufferSize = static_cast<std::size_t>(columns) + kRowSlack;
    std::vector<Sample> means(2 * bufferSize);
    std::vector<Sample> blended(bufferSize);
    Sample* current = means.data();
    Sample* next = current + bufferSize;

    for (int row = 0; row < rows; ++row) {
        Sample* out = static_cast<Sample*>(output) + rz_obl::wrap_mul(row, columns);
        Depth::mean(minuend, row, columns, out, isSigned, wide);
        if (row < shift.firstActive || row > shift.lastActive) continue;

        const int shifted = row + shift.rowShift;
        if (row == shift.firstActive) {
            Depth::mean(subtrahend, shifted, columns, current, isSigned, wide);
        } else {
            std::swap(current, next);
        }
        if (row < shift.lastActive) {
            Depth::mean(subtrahend, shifted + 1, columns, next, isSigned, wide);
        } else {
            // required: the last active row mixes with black, also where a next row exists
            std::fill(next, next + columns, Sample{0});
        }
        const Sample* other = current;
        if (shift.blend) {
            Depth::blend(current, next, columns, shift.weights, blended.data(), isSigned);
            other = blended.data();
        }
        Depth::subtract(out, other, columns, bitDepth, isSigned, parameters.offset);
    }
    return 1;
}

void log_samples(int line, int bitDepth, bool isSigned) {
    if (!rz_obl::wants_trace(kFunction, line)) return;
    JrnGLog.Log("RZ_GetMultiSliceSubtractionPlane bitdepth is %d and is_signed is %d\n", bitDepth,
                isSigned ? 1 : 0);
}

void log_shift(int line, const float shift[2]) {
    if (!rz_obl::wants_trace(kFunction, line)) return;
    JrnGLog.Log("RZ_GetMultiSliceSubtractionPlane pixel_shift is %f %f\n", static_cast<double>(shift[0]),
                static_cast<double>(shift[1]));
}

}  // namespace

int RZ_GetMultiSliceSubtractionPlane(const std::vector<void*>& slices, int rows, int columns, int bitdepth,
                                     bool is_signed, void* output, RZ_SubOpParams& parameters, void*,
                                     RZ_SubOpParams&) {
    // Two lines of the log, on two successive lines of the source.
    log_samples(__LINE__, bitdepth, is_signed);
    log_shift(__LINE__, parameters.pixel_shift);

    if (slices.empty() || slices[0] == nullptr || rz_obl::wrap_mul(rows, columns) < 1) return -1;
    if (parameters.minuend_last >= slices.size() || parameters.subtrahend_last >= slices.size()) return -1;
    if (parameters.minuend_last - parameters.minuend_first + 1 < 0) return -1;

    const Shift shift = make_shift(parameters.pixel_shift, rows);
    if (bitdepth >= 9 && bitdepth <= 16) {
        return subtract_planes<Words>(slices, rows, columns, bitdepth, is_signed, output, parameters, shift);
    }
    if (bitdepth == 8) {
        return subtract_planes<Bytes>(slices, rows, columns, bitdepth, is_signed, output, parameters, shift);
    }
    return 1;
}
