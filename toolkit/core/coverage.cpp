#include "toolkit/core/coverage.h"

#include <algorithm>
#include <memory>

#include "lower/volume/slice.h"
#include "rz_obl/rz_obl.h"

namespace rzobl {

namespace {

constexpr short kUntouched = -1;

/// Scans one plane through slices of zeros: what is no longer untouched was written.
std::vector<RowRange> plane_rows(std::vector<RZ_ShortSlice*>& zeros, const RZ_Box& volumeBox,
                                 const RZ_PlaneParams& plane, const RZ_Box& outputBox) {
    const auto width = static_cast<std::size_t>(outputBox.xDim);
    const auto height = static_cast<std::size_t>(outputBox.yDim);
    std::vector<short> raster(width * height, kUntouched);
    int firstRow = outputBox.yDim, lastRow = -1, firstColumn = outputBox.xDim, lastColumn = -1;
    RZ_CalcOblique(zeros.data(), volumeBox, volumeBox.params, plane, nullptr, raster.data(), outputBox,
                   &firstRow, &lastRow, &firstColumn, &lastColumn, 0, volumeBox.zDim - 1,
                   RZ_OBL_RenditionQuality::Linear, 0, RZ_OBL_RenditionType::Average, true, 16);
    std::vector<RowRange> rows(height);
    for (std::size_t row = 0; row < height; ++row) {
        const short* const begin = &raster[row * width];
        const short* const end = begin + width;
        const auto written = [](short sample) { return sample != kUntouched; };
        const short* const first = std::find_if(begin, end, written);
        if (first == end) continue;
        const short* const last = std::find(first, end, kUntouched);
        rows[row] = {static_cast<int>(first - begin), static_cast<int>(last - begin) - 1};
    }
    return rows;
}

void intersect(std::vector<RowRange>& rows, const std::vector<RowRange>& others) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
        rows[row].first = std::max(rows[row].first, others[row].first);
        rows[row].last = std::min(rows[row].last, others[row].last);
        if (rows[row].first >= rows[row].last) rows[row] = {};
    }
}

}  // namespace

std::vector<RowRange> scanned_rows(const RZ_Box& volumeBox, const RZ_PlaneParams& plane,
                                   const RZ_Box& outputBox, float halfThickness) {
    std::vector<short> raster(static_cast<std::size_t>(volumeBox.xDim) *
                              static_cast<std::size_t>(volumeBox.yDim));
    RZ_ShortSlice zero(raster.data(), {volumeBox.xDim, volumeBox.yDim, 16, 1});
    std::vector<RZ_ShortSlice*> zeros(static_cast<std::size_t>(volumeBox.zDim), &zero);

    std::vector<RowRange> rows = plane_rows(zeros, volumeBox, plane, outputBox);
    if (halfThickness != 0) {
        // The faces as the reslice itself places them, one after the other on one copy of the plane.
        RZ_PlaneParams face = plane;
        face.ParallelTranslate(halfThickness * 1.01F);
        intersect(rows, plane_rows(zeros, volumeBox, face, outputBox));
        face.ParallelTranslate(halfThickness * -2.02F);
        intersect(rows, plane_rows(zeros, volumeBox, face, outputBox));
    }
    return rows;
}

std::vector<RowRange> fast_rows(const std::vector<RowRange>& scanned) {
    const int count = static_cast<int>(scanned.size());
    int rightmost = 0;
    const auto at = [](int row) { return static_cast<std::size_t>(row); };
    std::vector<RowRange> rows(scanned.size());
    for (int row = 0; row < count; ++row) {
        if (row % 2 != 0 && row != count - 1) continue;
        const RowRange& range = scanned[at(row)];
        if (range.first >= range.last) continue;
        // Columns first, first + 2, ...: the last one of an even number is never reached.
        rows[at(row)] = {range.first, range.first + (range.last - range.first) / 2 * 2};
        rightmost = std::max(rightmost, range.last);
    }
    for (int row = 1; row + 1 < count; row += 2) {
        const RowRange& above = rows[at(row - 1)];
        const RowRange& below = rows[at(row + 1)];
        if (above.first > above.last || below.first > below.last) continue;
        // The row fill stops short of the rightmost column.
        rows[at(row)] = {std::max(above.first, below.first),
                         std::min({above.last, below.last, rightmost - 1})};
    }
    return rows;
}

}  // namespace rzobl
