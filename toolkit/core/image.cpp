#include "toolkit/core/image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "toolkit/core/error.h"
#include "toolkit/core/text.h"

namespace rzobl {

namespace {

std::size_t offset(const Image& image, int column, int row) {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width()) +
           static_cast<std::size_t>(column);
}

unsigned char grey(double value, const Window& window) {
    const double share = (value - window.centre) / window.width + 0.5;
    return static_cast<unsigned char>(std::lround(255 * std::clamp(share, 0.0, 1.0)));
}

}  // namespace

int Image::stored(int column, int row) const {
    const std::size_t at = offset(*this, column, row);
    if (kind == SampleKind::Int16) {
        std::int16_t sample;
        std::memcpy(&sample, &samples[2 * at], 2);
        return sample;
    }
    const auto byte = static_cast<std::uint8_t>(samples[at]);
    return isSigned ? static_cast<std::int8_t>(byte) : byte;
}

int Image::channel(int column, int row, int channel) const {
    return static_cast<std::uint8_t>(
        samples[4 * offset(*this, column, row) + static_cast<std::size_t>(channel)]);
}

void check(const Window& window) {
    if (!std::isfinite(window.centre))
        throw Error("the centre of a window must be a finite number, not " + text(window.centre));
    if (!(window.width > 0) || !std::isfinite(window.width))
        throw Error("the width of a window must be a positive number, not " + text(window.width));
}

Window auto_window(const Image& image) {
    if (image.kind == SampleKind::Rgb) return {127.5, 255};
    std::vector<int> drawn;
    for (int row = image.firstRow; row <= image.lastRow; ++row)
        for (int column = image.firstColumn; column <= image.lastColumn; ++column) {
            const int sample = image.stored(column, row);
            if (sample != image.background) drawn.push_back(sample);
        }
    if (drawn.empty()) drawn.push_back(image.background);
    const auto percentile = [&drawn](double share) {
        const auto rank = static_cast<std::ptrdiff_t>(share * static_cast<double>(drawn.size() - 1));
        std::nth_element(drawn.begin(), drawn.begin() + rank, drawn.end());
        return drawn[static_cast<std::size_t>(rank)];
    };
    const double low = percentile(0.01) * image.rescale.slope + image.rescale.intercept;
    const double high = percentile(0.995) * image.rescale.slope + image.rescale.intercept;
    return {0.5 * (low + high), std::max(std::abs(high - low), std::abs(image.rescale.slope))};
}

std::vector<unsigned char> apply_window(const Image& image, const Window& window) {
    check(window);
    std::vector<unsigned char> greys;
    const int channels = image.kind == SampleKind::Rgb ? 3 : 1;
    greys.reserve(offset(image, 0, image.height()) * static_cast<std::size_t>(channels));
    for (int row = 0; row < image.height(); ++row)
        for (int column = 0; column < image.width(); ++column) {
            if (channels == 1) {
                greys.push_back(grey(image.value(column, row), window));
                continue;
            }
            for (int c = 0; c < 3; ++c) greys.push_back(grey(image.channel(column, row, c), window));
        }
    return greys;
}

}  // namespace rzobl
