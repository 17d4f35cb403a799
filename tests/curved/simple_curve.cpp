#include "tests/curved/simple_curve.h"

namespace rz_test {

int telling(int x, int y, int z) {
    return 1000 + x + 20 * y + 400 * z;
}

int telling_byte(int x, int y, int z) {
    return 4 * x + 2 * y + z;
}

RZ_Spline straight_spline(const RZ_3Coord& from, const RZ_3Coord& to, const RZ_3Coord& sweep) {
    const RZ_3Coord points[2] = {from, to};
    return RZ_Spline(points, 2, sweep);
}

CurvedRequest simple_request(int pixelKind) {
    CurvedRequest request;
    request.seed = 1;
    const RZ_Box box(16, 16, 16, RZ_BoxParams(16.0F, 16.0F, 16.0F));
    request.volume = blank_curved_volume(box, pixelKind);
    if (pixelKind == 0) fill_volume(request.volume, telling);
    if (pixelKind == 1) fill_volume(request.volume, telling_byte);
    request.spline = straight_spline({2.0F, 8.5F, 8.5F}, {14.0F, 8.5F, 8.5F}, {0.0F, 1.0F, 0.0F});
    request.imageBox = image_box(12, 16, -6.0, -8.0, 12.0, 16.0);
    request.frame = box.params;
    request.crop = box.params;
    request.lastSlice = 15;
    return request;
}

CurvedRequest transposed_request(int pixelKind) {
    CurvedRequest request = simple_request(pixelKind);
    request.spline = straight_spline({8.5F, 2.0F, 8.5F}, {8.5F, 14.0F, 8.5F}, {1.0F, 0.0F, 0.0F});
    request.imageBox = image_box(16, 12, -8.0, -6.0, 16.0, 12.0);
    return request;
}

}  // namespace rz_test
