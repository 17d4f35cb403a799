#include "tests/reference/services/plane_polygon.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "lower/definitions/coord.h"

namespace rz_reference {
namespace {

struct Record {
    int index;
    float x;
    float y;
};

int compare_records(const void* left, const void* right) {
    const auto& p = *static_cast<const Record*>(left);
    const auto& q = *static_cast<const Record*>(right);
    if (p.y == 0.0F) return p.x > 0.0F ? 1 : -1;
    if (q.y == 0.0F) return q.x > 0.0F ? -1 : 1;
    return p.x / p.y > q.x / q.y ? 1 : -1;
}

void order_polygon(float (*polygon)[3], const std::vector<RZ_3Coord>& projected,
                   rz_test::Branches& branches) {
    std::vector<Record> records;
    for (std::size_t j = 0; j < projected.size(); ++j) {
        records.push_back({static_cast<int>(j), projected[j].x, projected[j].y});
    }
    std::size_t lowest = 0;
    for (std::size_t j = 1; j < records.size(); ++j) {
        if (records[j].y < records[lowest].y) lowest = j;
    }
    if (lowest != 0) {
        branches.met("pivot exchanged");
        std::swap(records[0], records[lowest]);
    }
    for (std::size_t j = 1; j < records.size(); ++j) {
        records[j].x -= records[0].x;
        records[j].y -= records[0].y;
        if (records[j].y == 0.0F) {
            branches.met(records[j].x > 0.0F ? "level on the right" : "level on the left");
        }
    }
    static_assert(sizeof(Record) == 12, "records are 12 bytes");
    std::qsort(records.data() + 1, records.size() - 1, sizeof(Record), compare_records);
    std::vector<RZ_3Coord> copy;
    for (std::size_t j = 0; j < records.size(); ++j) copy.emplace_back(polygon[j]);
    for (std::size_t j = 0; j < records.size(); ++j) {
        const RZ_3Coord& from = copy[static_cast<std::size_t>(records[j].index)];
        polygon[j][0] = from.x;
        polygon[j][1] = from.y;
        polygon[j][2] = from.z;
    }
}

}  // namespace

int get_plane_box_polygon(const RZ_BoxParams& box, const RZ_PlaneParams& plane, float (*polygon)[3],
                          RZ_BoxParams& result, int ordered, rz_test::Branches& branches) {
    float m[4][4];
    plane.Get2Projection(m);
    float e[4];
    plane.GetPlaneEq(e);

    int n = 0;
    float v[8][3];
    float dist[8];
    for (int i = 0; i < 8; ++i) {
        box.GetVertex(i, v[i]);
        dist[i] = RZ_dot(v[i], e) + e[3];
        if (dist[i] == 0.0F) {
            branches.met("vertex on the plane");
            for (int k = 0; k < 3; ++k) polygon[n][k] = v[i][k];
            ++n;
        }
    }
    for (const auto& edge : RZ_BoxParams::c_edges) {
        const int a = edge[0];
        const int b = edge[1];
        if (0.0F > dist[a] * dist[b]) {
            branches.met("edge crosses");
            const float t = dist[a] / (dist[a] - dist[b]);
            const float s = 1.0F - t;
            for (int k = 0; k < 3; ++k) polygon[n][k] = t * v[b][k] + s * v[a][k];
            ++n;
        } else if ((dist[a] < 0.0F && dist[b] > 0.0F) || (dist[a] > 0.0F && dist[b] < 0.0F)) {
            branches.met("crossing too small to see");
        }
    }
    if (n == 0) {
        branches.met("missed");
        return 0;
    }
    std::vector<RZ_3Coord> q(static_cast<std::size_t>(n));
    for (int j = 0; j < n; ++j) RZ_vec3mlt(polygon[j], m, q[static_cast<std::size_t>(j)]);
    if (n == 1) {
        branches.met("one point");
        return 0;
    }
    float low[2] = {q[0].x, q[0].y};
    float high[2] = {q[0].x, q[0].y};
    for (const RZ_3Coord& point : q) {
        low[0] = std::min(low[0], point.x);
        low[1] = std::min(low[1], point.y);
        high[0] = std::max(high[0], point.x);
        high[1] = std::max(high[1], point.y);
    }
    const RZ_BoxParams bounds(high[0] - low[0], high[1] - low[1], 1.0F);
    result = bounds;
    result.SetStart(low[0], low[1], 0.0F);
    if (ordered != 0) order_polygon(polygon, q, branches);
    return n;
}

}  // namespace rz_reference
