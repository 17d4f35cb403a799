#pragma once

#include <vector>

#include "tests/curved/run_curved.h"

// A scene for numbers worked out by hand: 16 x 16 x 16 samples of 1 mm from the physical origin on, so that
// sample i lies at i + 0.5 mm, and a straight curve of 12 mm through its middle.

namespace rz_test {

/// 1000 + x + 20 y + 400 z: every sample of its own.
int telling(int x, int y, int z);
/// 8-bit: 4 x + 2 y + z, below 128.
int telling_byte(int x, int y, int z);

/// Sets value(x, y, z) everywhere.
template <class Value>
void fill_volume(CurvedVolume& volume, Value value) {
    for (int z = 0; z < volume.box.zDim; ++z) {
        for (int y = 0; y < volume.box.yDim; ++y) {
            for (int x = 0; x < volume.box.xDim; ++x) {
                const int at = y * volume.box.xDim + x;
                if (volume.pixelKind == 0) {
                    volume.shorts[static_cast<std::size_t>(z)].data()[at] =
                        static_cast<short>(value(x, y, z));
                } else {
                    volume.bytes[static_cast<std::size_t>(z)].data()[at] =
                        static_cast<unsigned char>(value(x, y, z));
                }
            }
        }
    }
}

RZ_Spline straight_spline(const RZ_3Coord& from, const RZ_3Coord& to, const RZ_3Coord& sweep);

/// Curve along x from (2, 8.5, 8.5) to (14, 8.5, 8.5), sweep along y, image of 12 x 16 pixels of 1 mm about
/// the curve's middle. Curve index c stands at sample x = 2 + c, cross index j at sample y = 8 + j; z is 8.
CurvedRequest simple_request(int pixelKind = 0);
/// The same with x and y exchanged: curve along y, sweep along x, image of 16 x 12.
CurvedRequest transposed_request(int pixelKind = 0);

/// One whole drawing: preparation, then the image.
template <class Sample>
struct Drawing {
    explicit Drawing(CurvedRequest& request) : prepared(prepare(request, data)), raster(request) {
        Branches unused;
        out = draw(request, data, raster.data(), request.rangeStart, request.rangeEnd, draw_by_entry, unused);
    }
    /// Whether the pixel keeps its value.
    bool kept(int column, int row) const { return raster.at(column, row) == raster.before(column, row); }

    RZ_CurveProjectData data;
    int prepared;
    ImageRaster<Sample> raster;
    CurvedOutputs out;
};

}  // namespace rz_test
