#include "toolkit/core/outline.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

/// Room that serves any box.
constexpr int kMostCorners = 20;
constexpr double kPicture = 360;
constexpr double kMargin = 24;

using Point = std::array<double, 2>;

/// Seen along a slanted line: right and down on the page.
Point projected(const Vec3& p) {
    return {0.92 * p[0] + 0.39 * p[1], -0.94 * p[2] + 0.13 * p[0] - 0.31 * p[1]};
}

std::vector<Vec3> corners_of(const RZ_BoxParams& params) {
    std::vector<Vec3> corners;
    for (int vertex = 0; vertex < 8; ++vertex) {
        float at[3];
        params.GetVertex(vertex, at);
        corners.push_back(
            {static_cast<double>(at[0]), static_cast<double>(at[1]), static_cast<double>(at[2])});
    }
    return corners;
}

/// Onto the page.
class Page {
  public:
    explicit Page(const std::vector<Vec3>& corners) {
        Point least = projected(corners[0]), greatest = least;
        for (const Vec3& corner : corners)
            for (std::size_t k = 0; k < 2; ++k) {
                least[k] = std::min(least[k], projected(corner)[k]);
                greatest[k] = std::max(greatest[k], projected(corner)[k]);
            }
        start_ = least;
        scale_ = kPicture / std::max(greatest[0] - least[0], greatest[1] - least[1]);
        size_ = {(greatest[0] - least[0]) * scale_ + 2 * kMargin,
                 (greatest[1] - least[1]) * scale_ + 2 * kMargin};
    }
    std::string at(const Vec3& point) const {
        const Point p = projected(point);
        char text[64];
        std::snprintf(text, sizeof text, "%.1f,%.1f", (p[0] - start_[0]) * scale_ + kMargin,
                      (p[1] - start_[1]) * scale_ + kMargin);
        return text;
    }
    std::string head() const {
        char text[160];
        std::snprintf(text, sizeof text,
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
                      "viewBox=\"0 0 %.0f %.0f\">\n",
                      size_[0], size_[1], size_[0], size_[1]);
        return text;
    }

  private:
    Point start_{}, size_{};
    double scale_ = 1;
};

}  // namespace

std::vector<Vec3> outline(const Grid& grid, const Vec3& normal, const Vec3& point) {
    grid.check();
    if (!is_finite(normal) || !is_finite(point))
        throw Error("the plane through " + text(point) + " with normal " + text(normal) + " is not finite");
    const double largest = std::max({std::abs(normal[0]), std::abs(normal[1]), std::abs(normal[2])});
    if (!(largest > 0)) throw Error("the normal is the zero vector, which has no direction");
    float direction[3], origin[3];
    for (std::size_t k = 0; k < 3; ++k) {
        direction[k] = static_cast<float>(normal[k] / largest);
        origin[k] = static_cast<float>(point[k]);
    }
    const float none[3] = {0, 0, 0};
    const RZ_BoxParams params = grid.box().params;
    float polygon[kMostCorners][3];
    RZ_BoxParams about;
    const int count =
        RZ_GetPlaneBoxPolygon(params, RZ_PlaneParams(direction, origin, none), polygon, about, 1);
    std::vector<Vec3> corners;
    for (int i = 0; i < count; ++i)
        corners.push_back({static_cast<double>(polygon[i][0]), static_cast<double>(polygon[i][1]),
                           static_cast<double>(polygon[i][2])});
    return corners;
}

std::string outline_svg(const Grid& grid, const std::vector<Vec3>& polygon) {
    const std::vector<Vec3> corners = corners_of(grid.box().params);
    const Page page(corners);
    std::string svg = page.head();
    svg += "<g stroke=\"#8a94a6\" stroke-width=\"1.5\">\n";
    for (const int(&edge)[2] : RZ_BoxParams::c_edges)
        svg += "<path d=\"M" + page.at(corners[static_cast<std::size_t>(edge[0])]) + "L" +
               page.at(corners[static_cast<std::size_t>(edge[1])]) + "\"/>\n";
    svg += "</g>\n";
    if (!polygon.empty()) {
        svg +=
            "<polygon fill=\"#3b82f6\" fill-opacity=\"0.35\" stroke=\"#3b82f6\" stroke-width=\"2\" points=\"";
        for (const Vec3& corner : polygon) svg += page.at(corner) + " ";
        svg += "\"/>\n";
    }
    return svg + "</svg>\n";
}

}  // namespace rzobl
