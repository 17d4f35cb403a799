#include <cstring>

#include "lower/log/log.h"
#include "rz_obl/rz_obl.h"
#include "tests/cases/curved/curved_request.h"
#include "tests/fuzz/fuzz.h"
#include "tests/reference/curved/plane_box.h"
#include "tests/reference/services/plane_polygon.h"

// Boxes of planes and of swept surfaces, and their plain forms. Planes and boxes of any numbers: these
// functions read no memory by them.

namespace {

using namespace rz_test;
using rz_fuzz::stop_unless;

constexpr Seed kSeed = 1;

bool same_bits(const RZ_BoxParams& a, const RZ_BoxParams& b) {
    double x[4][4];
    double y[4][4];
    a.GetPhysicalFromNorm(x);
    b.GetPhysicalFromNorm(y);
    for (int i = 0; i < 4; ++i) {
        for (int k = 0; k < 4; ++k) {
            const bool bothNaN = x[i][k] != x[i][k] && y[i][k] != y[i][k];
            if (!bothNaN && std::memcmp(&x[i][k], &y[i][k], sizeof(double)) != 0) return false;
        }
    }
    return true;
}

/// Small whole numbers, ordinary numbers, or any bits at all.
float number(Random& random, int kind) {
    if (kind == 0) return static_cast<float>(random.between(-3, 3));
    if (kind == 1) return random.real(-100.0F, 100.0F);
    const auto bits = static_cast<std::uint32_t>(random.bits() << 16 | (random.bits() & 0xffffU));
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void polygon() {
    Random random(kSeed);
    const int kind = random.between(0, 2);
    double box[4][3];
    for (auto& row : box) {
        for (double& x : row) x = static_cast<double>(number(random, kind));
    }
    if (random.once_in(2)) {  // along the axes
        for (int k = 0; k < 3; ++k) {
            for (int i = 0; i < 3; ++i) {
                if (i != k) box[1 + k][i] = 0.0;
            }
        }
    }
    float plane[3][3];
    for (auto& row : plane) {
        for (float& x : row) x = number(random, kind);
    }
    const RZ_BoxParams params(box[0], box[1], box[2], box[3]);
    const RZ_PlaneParams cut(plane[0], plane[1], plane[2]);
    const int ordered = random.between(0, 1);

    Branches unused;
    float want[20][3] = {};
    float got[20][3] = {};
    RZ_BoxParams wantBox(1.0F, 2.0F, 3.0F);
    RZ_BoxParams gotBox(1.0F, 2.0F, 3.0F);
    const int expected = rz_reference::get_plane_box_polygon(params, cut, want, wantBox, ordered, unused);
    stop_unless(RZ_GetPlaneBoxPolygon(params, cut, got, gotBox, ordered) == expected, "count of corners");
    for (int i = 0; i < 20; ++i) {
        for (int k = 0; k < 3; ++k) {
            const float a = want[i][k];
            const float b = got[i][k];
            stop_unless((a != a && b != b) || std::memcmp(&a, &b, sizeof a) == 0, "a corner of the polygon");
        }
    }
    stop_unless(same_bits(wantBox, gotBox), "the box of the polygon");
}

void surface() {
    Random random(kSeed);
    Branches unused;
    const RZ_Box box = make_volume_box(random, unused);
    RZ_Spline spline = make_spline(random, box.params, unused);
    if (random.once_in(8)) spline.splineKind = random.between(-1, 2);
    const int insideOnly = random.between(0, 1);
    RZ_BoxParams want(1.0F, 2.0F, 3.0F);
    RZ_BoxParams got(1.0F, 2.0F, 3.0F);
    const int expected = rz_reference::get_plane_box(box.params, spline, want, insideOnly, unused);
    stop_unless(RZ_GetPlaneBox(box.params, spline, got, insideOnly) == expected,
                "whether there is a surface");
    stop_unless(same_bits(want, got), "the box of the surface");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    JrnGLog.SetThreshold(-1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const bool isPolygon = input.byte() % 2 == 0;
    input.put_on_tape(kSeed);
    if (isPolygon) polygon();
    if (!isPolygon) surface();
    return 0;
}
