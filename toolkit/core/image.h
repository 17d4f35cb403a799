#pragma once

#include <cstddef>
#include <vector>

#include "toolkit/core/grid.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// A picture cut from a volume, and where it lies. Value semantics.
struct Image {
    /// Width x height x 1. direction[0] runs to the picture's right, [1] down, [2] away from the viewer; the
    /// third spacing is the thickness that the picture stands for.
    Grid grid;
    SampleKind kind = SampleKind::Int16;
    bool isSigned = true;
    int bitDepth = 16;
    Rescale rescale;
    /// Stored value of pixels that the volume does not reach; Rgb: of each channel.
    int background = 0;
    /// Row-major, unpadded, bytesPerSample(kind) each; Rgb as in a Volume.
    std::vector<std::byte> samples;
    /// Rectangle outside which nothing was drawn, inclusive.
    int firstRow = 0, lastRow = -1, firstColumn = 0, lastColumn = -1;

    int width() const { return grid.size[0]; }
    int height() const { return grid.size[1]; }
    /// Stored sample of an Int16 or UInt8 picture.
    int stored(int column, int row) const;
    /// Channel 0 red, 1 green, 2 blue of an Rgb picture.
    int channel(int column, int row, int channel) const;
    /// Stored x slope + intercept.
    double value(int column, int row) const {
        return stored(column, row) * rescale.slope + rescale.intercept;
    }
};

/// Greys of a picture: values from centre - width / 2 to centre + width / 2 run from black to white.
struct Window {
    double centre = 0;
    double width = 1;
};

/// Throws Error unless the centre is finite and the width positive and finite.
void check(const Window& window);

/// A window for a picture that nobody knows: from the 1st to the 99.5th percentile of the values drawn. For
/// Rgb the channels as they stand.
Window auto_window(const Image& image);

/// 8-bit greys (or red, green, blue in turn for Rgb), row-major.
std::vector<unsigned char> apply_window(const Image& image, const Window& window);

}  // namespace rzobl
