#include <vector>

#include "lower/lower.h"
#include "rz_obl/rz_obl.h"
#include "tests/cases/curved/curved_request.h"
#include "tests/cases/planar_request.h"
#include "tests/digests/digest.h"

namespace rz_digests {
namespace {

using namespace rz_test;

constexpr int kShapes = 500;

void add(Digest& digest, const std::vector<RZ_3Coord>& points) {
    for (const RZ_3Coord& p : points) {
        digest.add(p.x);
        digest.add(p.y);
        digest.add(p.z);
    }
}

void boxes_and_planes() {
    Digest transforms;
    Digest planes;
    Digest polygons;
    Branches branches;
    for (Seed seed = 1; seed <= kShapes; ++seed) {
        const auto request = make_planar_request(seed, 0, branches);
        float matrix[4][4];
        float inverse[4][4];
        request.volume.box.GetIndexToPhysicalTrans(matrix);
        RZ_Minv(matrix, inverse);
        transforms.add(matrix[0], 16);
        transforms.add(inverse[0], 16);
        request.volume.box.GetPhysicalToIndexFromCorner(matrix);
        transforms.add(matrix[0], 16);
        request.outputBox.GetBoxToBoxTrans(&request.volume.box, matrix);
        transforms.add(matrix[0], 16);
        transforms.add(request.volume.box.GetSliceZf());

        request.plane.Get2Projection(matrix);
        planes.add(matrix[0], 16);
        float equation[4];
        request.plane.GetPlaneEq(equation);
        planes.add(equation, 4);

        float polygon[20][3] = {};
        RZ_BoxParams flat(1.0F, 2.0F, 3.0F);
        const int corners = RZ_GetPlaneBoxPolygon(request.volume.box.params, request.plane, polygon, flat,
                                                  static_cast<int>(seed % 2));
        polygons.add(corners);
        polygons.add(polygon[0], 60);
        float size[3];
        flat.GetSize(size);
        polygons.add(size, 3);
    }
    print_line("boxes", transforms);
    print_line("planes", planes);
    print_line("RZ_GetPlaneBoxPolygon", polygons);
}

void splines() {
    Digest digest;
    Branches branches;
    for (Seed seed = 1; seed <= kShapes / 2; ++seed) {
        Random random(seed);
        const RZ_Box box = make_volume_box(random, branches);
        RZ_Spline spline = make_spline(random, box.params, branches);
        digest.add(spline.GetLength(0));
        const int count = random.between(2, 60);
        std::vector<RZ_3Coord> points(static_cast<std::size_t>(count));
        std::vector<RZ_3Coord> tangents(points.size());
        std::vector<RZ_3Coord> directions(points.size());
        directions[0] = spline.sweepDirection;
        spline.InterpolateEDCurveWithTangents(points.data(), tangents.data(), count, 1, 1, directions.data(),
                                              0, 0);
        add(digest, points);
        add(digest, tangents);
        add(digest, directions);
    }
    print_line("RZ_Spline", digest);
}

void clip_bounds() {
    Digest digest;
    for (Seed seed = 1; seed <= kShapes; ++seed) {
        Random random(seed);
        const int width = random.between(1, 50);
        const int height = random.between(1, 20);
        std::vector<short> spans;
        for (int row = 0; row < height; ++row) {
            spans.push_back(0);
            spans.push_back(static_cast<short>(width - 1));
        }
        for (int i = 0; i < 3; ++i) {
            const float a = random.real(-1.0F, 1.0F);
            const float b = random.real(-1.0F, 1.0F);
            const float c = random.real(-20.0F, 20.0F);
            RZ_update_clip_bounds(a, b, c, width, height, spans.data());
        }
        digest.add(spans.data(), spans.size());
    }
    print_line("RZ_update_clip_bounds", digest);
}

}  // namespace

void geometry_digests() {
    boxes_and_planes();
    splines();
    clip_bounds();
}

}  // namespace rz_digests
