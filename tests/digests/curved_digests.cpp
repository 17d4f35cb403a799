#include <algorithm>
#include <cstdint>
#include <vector>

#include "rz_obl/rz_obl.h"
#include "tests/curved/run_curved.h"
#include "tests/digests/digest.h"

namespace rz_digests {
namespace {

using namespace rz_test;

constexpr int kRequests = 800;

void add(Digest& digest, const RZ_3Coord* points, int count) {
    for (int i = 0; i < count; ++i) {
        digest.add(points[i].x);
        digest.add(points[i].y);
        digest.add(points[i].z);
    }
}

void add(Digest& digest, const RZ_CurveProjectData& data) {
    for (const int value : {data.curveColumns, data.viewStart, data.viewEnd, data.firstSample,
                            data.lastSample, data.sampleCount}) {
        digest.add(value);
    }
    add(digest, data.points, data.sampleCount);
    add(digest, data.directions, data.sampleCount);
    add(digest, data.normals, data.sampleCount);
}

void add(Digest& digest, const CurvedOutputs& out) {
    for (const int value : {out.firstRow, out.lastRow, out.columnBounds[0], out.columnBounds[1],
                            out.transposedOut, out.signOut, out.crossFirst, out.result}) {
        digest.add(value);
    }
    digest.add(out.corner, 3);
    for (const float value : {out.startFraction, out.endFraction, out.alongRemainder, out.crossRemainder})
        digest.add(value);
}

template <class Sample>
void images(const char* preparedName, const char* imageName, int pixelKind) {
    Digest prepared;
    Digest image;
    Branches branches;
    for (Seed seed = 1; seed <= kRequests; ++seed) {
        auto request = make_curved_request(seed, pixelKind, branches);
        RZ_CurveProjectData data;
        const int done = prepare(request, data);
        prepared.add(done);
        if (done == 0) continue;
        add(prepared, data);
        ImageRaster<Sample> raster(request);
        add(image, draw(request, data, raster.data(), request.rangeStart, request.rangeEnd, draw_by_entry,
                        branches));
        image.add(raster.block().data(), raster.block().size());
    }
    print_line(preparedName, prepared);
    print_line(imageName, image);
}

/// A curve, an image box and a point near the curve, for the conversions.
struct Place {
    Place(Seed seed, Branches& branches) {
        Random random(seed + 700000);
        box = make_volume_box(random, branches);
        spline = make_spline(random, box.params, branches);
        image = make_image_box(random, spline.GetLength(0), branches);
        float middle[3];
        box.params.GetMiddle(middle);
        for (int k = 0; k < 3; ++k) point[k] = middle[k] + random.real(-20.0F, 20.0F);
        fraction = random.real(0.0F, 1.0F);
    }
    RZ_Box box;
    RZ_Spline spline{SPLINE_CURVE, EDGE_OPEN};
    RZ_Box image;
    float point[3];
    float fraction;
};

void conversions() {
    Digest toSpline;
    Digest toPhysical;
    Digest toRaster;
    Digest planeBox;
    Branches branches;
    for (Seed seed = 1; seed <= kRequests; ++seed) {
        Place place(seed, branches);
        const auto& [box, spline, image, point, fraction] = place;
        auto& curve = place.spline;

        std::vector<RZ_3Coord> points(static_cast<std::size_t>(std::max({image.xDim, image.yDim, 1})));
        int out[3] = {0, 0, 0};
        const int transposed =
            RZ_PrepareSplineTrans(box, box.params, curve, image, &out[0], &out[1], &out[2], points.data());
        toSpline.add(transposed);
        toSpline.add(out, 3);
        const int count = RZ_GetWpixels(curve, image);
        add(toSpline, points.data(), count);

        // A pixel that lies along the curve.
        const float along =
            static_cast<float>(out[0]) + fraction * static_cast<float>(std::max(count - 1, 1));
        const float across = 9.5F * fraction;
        const float raster[2] = {transposed != 0 ? across : along, transposed != 0 ? along : across};
        float physical[3] = {0.0F, 0.0F, 0.0F};
        toPhysical.add(RZ_CurvedRasterToPhysical(physical, box, box.params, curve, image, raster));
        toPhysical.add(physical, 3);

        float pixel[2] = {0.0F, 0.0F};
        toRaster.add(RZ_CurvedPhysicalToRaster(point, box, box.params, curve, image, pixel));
        toRaster.add(pixel, 2);

        RZ_BoxParams flat(1.0F, 2.0F, 3.0F);
        planeBox.add(RZ_GetPlaneBox(box.params, curve, flat, static_cast<int>(seed % 2)));
        float size[3];
        flat.GetSize(size);
        planeBox.add(size, 3);
    }
    print_line("RZ_PrepareSplineTrans", toSpline);
    print_line("RZ_CurvedRasterToPhysical", toPhysical);
    print_line("RZ_CurvedPhysicalToRaster", toRaster);
    print_line("RZ_GetPlaneBox", planeBox);
}

}  // namespace

void curved_digests() {
    images<std::int16_t>("RZ_PrepareCurveData", "RZ_CalcCurved/16_bits", 0);
    images<std::uint8_t>("RZ_PrepareCurveData/other", "RZ_CalcCurved/8_bits", 1);
    conversions();
}

}  // namespace rz_digests
