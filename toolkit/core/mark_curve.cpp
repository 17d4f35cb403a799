#include "toolkit/core/mark_curve.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "toolkit/core/curve_fit.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

using Colour = std::array<double, 3>;
constexpr Colour kStart{255, 230, 60}, kEnd{240, 40, 40};

/// A round dot with a soft rim.
void dot_at(Image& image, double column, double row, double radius, const Colour& colour) {
    const int reach = static_cast<int>(std::ceil(radius + 1));
    const int middleColumn = static_cast<int>(std::lround(column)),
              middleRow = static_cast<int>(std::lround(row));
    for (int j = std::max(0, middleRow - reach); j <= std::min(image.height() - 1, middleRow + reach); ++j)
        for (int i = std::max(0, middleColumn - reach);
             i <= std::min(image.width() - 1, middleColumn + reach); ++i) {
            const double share = std::clamp(radius + 0.5 - std::hypot(i - column, j - row), 0.0, 1.0);
            const auto at = 4 * (static_cast<std::size_t>(j) * static_cast<std::size_t>(image.width()) +
                                 static_cast<std::size_t>(i));
            for (std::size_t c = 0; c < 3; ++c) {
                const auto under = static_cast<double>(image.samples[at + c]);
                image.samples[at + c] =
                    static_cast<std::byte>(std::lround(under + share * (colour[c] - under)));
            }
        }
}

}  // namespace

PlaneRequest plane_of_curve(const Volume& volume, const std::vector<Vec3>& points) {
    const CurveFit fit = fit_curve(points);
    PlaneRequest request;
    if (fit.straight()) {
        // Any plane through the line will do; the sweep that suits it lies along one.
        const Vec3 seen = cross(fit.axis[0], default_sweep(fit));
        request.normal = scaled(seen, 1 / length(seen));
    } else {
        request.normal = fit.axis[2];
    }
    // Views go to the head, to the back and to the patient's right.
    const Vec3& n = request.normal;
    const std::size_t most = std::abs(n[2]) >= std::max(std::abs(n[0]), std::abs(n[1])) ? 2
                             : std::abs(n[1]) >= std::abs(n[0])                         ? 1
                                                                                        : 0;
    if ((most == 0) == (n[most] > 0)) request.normal = scaled(n, -1);
    const Vec3 middle = volume.grid().centre();
    const double off = dot(added(fit.middle, scaled(middle, -1)), request.normal);
    request.centre = added(middle, scaled(request.normal, off));
    return request;
}

Image mark_curve(const Image& image, const Window& window, const std::vector<Vec3>& points) {
    Image marked = image;
    marked.kind = SampleKind::Rgb;
    marked.rescale = {};
    marked.isSigned = false;
    marked.bitDepth = 8;
    const std::vector<unsigned char> greys = apply_window(image, window);
    const std::size_t channels = image.kind == SampleKind::Rgb ? 3 : 1;
    marked.samples.assign(greys.size() / channels * 4, std::byte{0});
    for (std::size_t pixel = 0; pixel < greys.size() / channels; ++pixel)
        for (std::size_t c = 0; c < 3; ++c)
            marked.samples[4 * pixel + c] = static_cast<std::byte>(greys[pixel * channels + c % channels]);

    const double radius = std::max(0.7, std::max(image.width(), image.height()) / 400.0);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double share =
            static_cast<double>(i) / static_cast<double>(std::max<std::size_t>(1, points.size() - 1));
        Colour colour;
        for (std::size_t c = 0; c < 3; ++c) colour[c] = kStart[c] + share * (kEnd[c] - kStart[c]);
        const Vec3 from = image.grid.toIndex(points[i]);
        const Vec3 to = image.grid.toIndex(points[std::min(i + 1, points.size() - 1)]);
        const double apart = std::hypot(to[0] - from[0], to[1] - from[1]);
        const int steps = 1 + static_cast<int>(std::min(1000.0, apart / 0.5));
        for (int step = 0; step < steps; ++step) {
            const double t = static_cast<double>(step) / steps;
            dot_at(marked, from[0] + t * (to[0] - from[0]), from[1] + t * (to[1] - from[1]), radius, colour);
        }
    }
    return marked;
}

}  // namespace rzobl
