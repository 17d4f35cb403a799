#include "tests/cases/simple_request.h"

namespace rz_test {

PlanarRequest simple_request(std::array<int, 3> dims, Point spacing) {
    PlanarRequest request;
    const double start[3] = {0.0, 0.0, 0.0};
    const double x[3] = {dims[0] * spacing[0], 0.0, 0.0};
    const double y[3] = {0.0, dims[1] * spacing[1], 0.0};
    const double z[3] = {0.0, 0.0, dims[2] * spacing[2]};
    request.volume.box = RZ_Box(dims[0], dims[1], dims[2], RZ_BoxParams(start, x, y, z));
    request.volumeParams = request.volume.box.params;
    for (int k = 0; k < dims[2]; ++k) {
        request.volume.shorts.emplace_back(static_cast<std::size_t>(dims[0] * dims[1]));
        short* raster = request.volume.shorts.back().data();
        for (int j = 0; j < dims[1]; ++j) {
            for (int i = 0; i < dims[0]; ++i)
                raster[j * dims[0] + i] = static_cast<short>(-(i + 40 * j + 1000 * k));
        }
    }
    wrap_rasters(request.volume);
    set_plane(request, {0.0, 0.0, 1.0}, {0.0, 0.0, 0.5 * spacing[2]}, {1.0, 0.0, 0.0});
    set_output(request, dims[0], dims[1], spacing[0], spacing[1]);
    return request;
}

void set_plane(PlanarRequest& request, Point normal, Point origin, Point unit) {
    float n[3];
    float o[3];
    float u[3];
    for (std::size_t k = 0; k < 3; ++k) {
        n[k] = static_cast<float>(normal[k]);
        o[k] = static_cast<float>(origin[k]);
        u[k] = static_cast<float>(unit[k]);
    }
    request.plane = RZ_PlaneParams(n, o, u);
}

void set_output(PlanarRequest& request, int width, int height, double pixelX, double pixelY,
                std::array<double, 2> start) {
    const double corner[3] = {start[0], start[1], 0.0};
    const double x[3] = {width * pixelX, 0.0, 0.0};
    const double y[3] = {0.0, height * pixelY, 0.0};
    const double z[3] = {0.0, 0.0, 1.0};
    request.outputBox = RZ_Box(width, height, 1, RZ_BoxParams(corner, x, y, z));
    request.bounds = {height, -1, width, -1};
}

}  // namespace rz_test
