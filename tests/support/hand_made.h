#pragma once

#include <algorithm>
#include <cstddef>

#include "tests/support/scan_case.h"

// Filling in a blank case of 16-bit samples by hand, and looking at what a kernel made of it.

namespace rz_test {

using Outcome16 = Outcome<short, int>;

/// One sample in Q18.
constexpr int kSample = 262144;

inline void fill_slice(ScanCase16& c, int z, short value) {
    auto& raster = c.rasters[static_cast<std::size_t>(z)];
    std::fill_n(raster.data(), raster.size(), value);
}

inline void fill_all(ScanCase16& c, short value) {
    for (int z = 0; z < c.depth; ++z) fill_slice(c, z, value);
}

inline short& sample_at(ScanCase16& c, int x, int y, int z) {
    return c.rasters[static_cast<std::size_t>(z)].data()[y * c.sourceWidth + x];
}

/// value(x, y, z) everywhere.
template <class Value>
void fill_by(ScanCase16& c, Value value) {
    for (int z = 0; z < c.depth; ++z) {
        for (int y = 0; y < c.sourceHeight; ++y) {
            for (int x = 0; x < c.sourceWidth; ++x)
                sample_at(c, x, y, z) = static_cast<short>(value(x, y, z));
        }
    }
}

inline void set_span(ScanCase16& c, int row, int first, int last) {
    c.spans[static_cast<std::size_t>(2 * row)] = static_cast<short>(first);
    c.spans[static_cast<std::size_t>(2 * row + 1)] = static_cast<short>(last);
}

/// Where output sample (0, 0) lies, in samples of the source.
inline void set_origin(ScanCase16& c, float x, float y, float z) {
    c.planeToIndex[3][0] = x;
    c.planeToIndex[3][1] = y;
    c.planeToIndex[3][2] = z;
}

/// How the source position moves per output row, in samples.
inline void set_row_step(ScanCase16& c, float x, float y, float z) {
    c.planeToIndex[1][0] = x;
    c.planeToIndex[1][1] = y;
    c.planeToIndex[1][2] = z;
}

/// How it moves per column, in samples.
inline void set_column_step(ScanCase16& c, float x, float y, float z) {
    const float step[3] = {x, y, z};
    for (std::size_t k = 0; k < 3; ++k) {
        c.planeToIndex[0][k] = step[k];
        c.columnStep[k] = static_cast<int>(step[k] * static_cast<float>(kSample));
    }
}

/// slabSteps planes on each side, step in Q18.
inline void set_slab(ScanCase16& c, int slabSteps, int x, int y, int z) {
    c.slabSteps = slabSteps;
    c.slabStep = {x, y, z};
}

inline short pixel(const ScanCase16& c, const Outcome16& o, int column, int row) {
    return o.output.data()[row * c.rowStride + column];
}

inline short content_before(const ScanCase16& c, const Outcome16& o, int column, int row) {
    return o.output.before(static_cast<std::size_t>(row * c.rowStride + column));
}

/// The pixels of a row from a column on.
inline std::vector<short> pixels(const ScanCase16& c, const Outcome16& o, int row, int first, int count) {
    const short* from = o.output.data() + row * c.rowStride + first;
    return std::vector<short>(from, from + count);
}

}  // namespace rz_test
