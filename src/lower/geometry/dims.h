#pragma once

/// Sample counts of a box along its three axes, and the row step of its raster.
class RZ_Dims {
  public:
    int xDim = 0;
    int yDim = 0;
    int zDim = 0;
    /// Samples from one raster row to the next. Set to xDim when a box is constructed from dimensions; the
    /// caller's afterwards, nothing here writes it again.
    int rowStride = 0;

    RZ_Dims() = default;
    RZ_Dims(int x, int y, int z) : xDim(x), yDim(y), zDim(z), rowStride(x) {}

    void GetDims(int out[3]) const {
        out[0] = xDim;
        out[1] = yDim;
        out[2] = zDim;
    }
};
