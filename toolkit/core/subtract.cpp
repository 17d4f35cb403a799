#include "toolkit/core/subtract.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>

#include "toolkit/core/error.h"
#include "toolkit/core/slab.h"
#include "toolkit/core/subtract_rows.h"
#include "toolkit/core/text.h"

namespace rzobl {

namespace {

/// Whole and fractional part as the library takes them, in single precision.
Shift split(const SubtractRequest& request, int rows) {
    const double across = request.shift[0], down = request.shift[1];
    if (!std::isfinite(across) || !std::isfinite(down))
        throw Error("the shift must be two finite numbers, not " + text(across) + "," + text(down));
    const auto x = static_cast<float>(across), y = static_cast<float>(down);
    if (std::floor(x) != 0)
        throw Error("the first part of the shift must be 0 or more and less than 1, not " + text(across) +
                    ": columns are not moved by whole samples");
    if (!(std::abs(y) < static_cast<float>(rows)))
        throw Error("a shift by " + text(down) + " rows moves the subtrahend off the picture, which has " +
                    std::to_string(rows));
    Shift shift;
    shift.rows = static_cast<int>(std::floor(y));
    shift.fractions = {x, y - std::floor(y)};
    return shift;
}

void check_offset(const Volume& volume, int offset) {
    if (volume.isSigned) {
        if (offset != 0)
            throw Error(
                "an offset is for unsigned samples; signed ones hold differences below 0 as they are");
        return;
    }
    const int most = volume.kind() == SampleKind::UInt8 ? 255 : 32767;
    if (offset < 0 || offset > most)
        throw Error("the offset must be 0 to " + std::to_string(most) + " for these samples, not " +
                    std::to_string(offset));
}

}  // namespace

Image subtract(const Volume& volume, const SubtractRequest& request) {
    const Grid& grid = volume.grid();
    grid.check();
    check(request.minuend, grid.size[2], "the minuend");
    check(request.subtrahend, grid.size[2], "the subtrahend");
    if (volume.kind() == SampleKind::Rgb)
        throw Error("colours cannot be subtracted; a volume of 8-bit or 16-bit samples can");
    const Shift shift = split(request, grid.size[1]);
    check_offset(volume, request.offset);

    Image image;
    image.grid = merged(grid, request.minuend);
    image.kind = volume.kind();
    image.isSigned = volume.isSigned;
    image.bitDepth = volume.bitDepth;
    // The intercepts of the two sides cancel each other.
    image.rescale = {volume.rescale.slope, -request.offset * volume.rescale.slope};
    image.background = request.offset;
    image.lastColumn = image.width() - 1;
    image.firstRow = std::max(-shift.rows, 0);
    image.lastRow = std::min(image.height(), image.height() - shift.rows) - 1;
    image.samples.resize(static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.height()) *
                         bytesPerSample(image.kind));
    if (request.wholeRows)
        subtract_whole_rows(volume, request, shift, image);
    else
        subtract_samples(volume, request, shift, image);
    return image;
}

}  // namespace rzobl
