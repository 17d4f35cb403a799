#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "lower/definitions/coord.h"
#include "rz_obl/rz_oblique/rz_oblique.h"

namespace {

// Six for a proper box; every vertex and edge of a flat one.
constexpr int kMostPoints = 20;

struct OrderingRecord {
    int index;
    float x;
    float y;
};

/// By x / y rising about the pivot, that is by falling angle. Never 0; points of equal ratio are left to the
/// sort.
int compare_records(const void* a, const void* b) {
    const auto& p = *static_cast<const OrderingRecord*>(a);
    const auto& q = *static_cast<const OrderingRecord*>(b);
    if (p.y == 0.0F) return p.x > 0.0F ? 1 : -1;
    if (q.y == 0.0F) return q.x > 0.0F ? -1 : 1;
    return p.x / p.y > q.x / q.y ? 1 : -1;
}

/// Puts count points into perimeter order; projected are the same points in the plane's frame.
void order_polygon(float (*polygon)[3], const RZ_3Coord* projected, int count) {
    std::array<OrderingRecord, kMostPoints> records;
    for (int j = 0; j < count; ++j)
        records[static_cast<std::size_t>(j)] = {j, projected[j].x, projected[j].y};
    std::size_t lowest = 0;
    const auto n = static_cast<std::size_t>(count);
    for (std::size_t j = 1; j < n; ++j) {
        if (records[j].y < records[lowest].y) lowest = j;
    }
    if (lowest != 0) std::swap(records[0], records[lowest]);
    for (std::size_t j = 1; j < n; ++j) {
        records[j].x -= records[0].x;
        records[j].y -= records[0].y;
    }
    std::qsort(records.data() + 1, n - 1, sizeof(OrderingRecord), compare_records);

    float copy[kMostPoints][3];
    std::memcpy(copy, polygon, n * sizeof(copy[0]));
    for (std::size_t j = 0; j < n; ++j) std::memcpy(polygon[j], copy[records[j].index], sizeof(copy[0]));
}

}  // namespace

int RZ_GetPlaneBoxPolygon(const RZ_BoxParams& box, const RZ_PlaneParams& plane, float (*polygon)[3],
                          RZ_BoxParams& result, int ordered) {
    float projection[4][4];
    plane.Get2Projection(projection);
    float equation[4];
    plane.GetPlaneEq(equation);

    float vertices[8][3];
    float distance[8];
    int count = 0;
    for (int i = 0; i < 8; ++i) {
        box.GetVertex(i, vertices[i]);
        distance[i] = RZ_dot(vertices[i], equation) + equation[3];
        if (distance[i] == 0.0F) std::memcpy(polygon[count++], vertices[i], sizeof(vertices[i]));
    }
    for (const auto& edge : RZ_BoxParams::c_edges) {
        const int a = edge[0];
        const int b = edge[1];
        // An edge with an end on the plane adds nothing: the vertex stands for it.
        if (!(0.0F > distance[a] * distance[b])) continue;
        const float t = distance[a] / (distance[a] - distance[b]);
        const float s = 1.0F - t;
        for (int k = 0; k < 3; ++k) polygon[count][k] = t * vertices[b][k] + s * vertices[a][k];
        ++count;
    }
    if (count == 0) return 0;

    RZ_3Coord projected[kMostPoints];
    for (int j = 0; j < count; ++j) RZ_vec3mlt(polygon[j], projection, projected[j]);
    if (count == 1) return 0;

    float least[2] = {projected[0].x, projected[0].y};
    float greatest[2] = {projected[0].x, projected[0].y};
    for (int j = 1; j < count; ++j) {
        least[0] = std::min(least[0], projected[j].x);
        least[1] = std::min(least[1], projected[j].y);
        greatest[0] = std::max(greatest[0], projected[j].x);
        greatest[1] = std::max(greatest[1], projected[j].y);
    }
    result = RZ_BoxParams(greatest[0] - least[0], greatest[1] - least[1], 1.0F);
    result.SetStart(least[0], least[1], 0.0F);
    if (ordered != 0) order_polygon(polygon, projected, count);
    return count;
}
