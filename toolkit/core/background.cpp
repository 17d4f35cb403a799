#include "toolkit/core/background.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "toolkit/core/error.h"
#include "toolkit/core/text.h"

namespace rzobl {

namespace {

struct Bounds {
    int least, greatest;
};

/// Stored values that a sample of the volume can hold.
Bounds stored_bounds(const Volume& volume) {
    if (volume.kind() == SampleKind::Rgb) return {0, 255};
    if (volume.kind() == SampleKind::UInt8) return volume.isSigned ? Bounds{-128, 127} : Bounds{0, 255};
    return {std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max()};
}

template <class Sample>
int least_sample(const Volume& volume) {
    const Grid& grid = volume.grid();
    const auto count = static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
    Sample least = std::numeric_limits<Sample>::max();
    for (int k = 0; k < grid.size[2]; ++k) {
        const auto* const raster = static_cast<const Sample*>(volume.raster(k));
        for (std::size_t i = 0; i < count; ++i) least = std::min(least, raster[i]);
    }
    return least;
}

Rescale rescale_of(const Volume& volume) {
    return volume.kind() == SampleKind::Rgb ? Rescale{} : volume.rescale;
}

}  // namespace

double default_background(const Volume& volume) {
    int stored = 0;
    if (volume.kind() == SampleKind::Rgb)
        stored = 0;
    else if (volume.padding)
        stored = *volume.padding;
    else if (volume.kind() == SampleKind::Int16)
        stored = least_sample<std::int16_t>(volume);
    else
        stored = volume.isSigned ? least_sample<std::int8_t>(volume) : least_sample<std::uint8_t>(volume);
    const Rescale rescale = rescale_of(volume);
    return stored * rescale.slope + rescale.intercept;
}

int stored_background(const Volume& volume, double value) {
    const Rescale rescale = rescale_of(volume);
    const double stored = std::round((value - rescale.intercept) / rescale.slope);
    const Bounds bounds = stored_bounds(volume);
    if (!(stored >= bounds.least && stored <= bounds.greatest)) {
        const double a = bounds.least * rescale.slope + rescale.intercept;
        const double b = bounds.greatest * rescale.slope + rescale.intercept;
        throw Error("a background of " + text(value) + " does not fit the volume's samples, which hold " +
                    text(std::min(a, b)) + " to " + text(std::max(a, b)));
    }
    return static_cast<int>(stored);
}

}  // namespace rzobl
