#include "tests/cases/planar_request.h"

#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

namespace rz_test {
namespace {

struct Vec {
    double v[3];

    double operator[](int i) const { return v[i]; }
};

Vec scaled(const Vec& a, double factor) {
    return {{a[0] * factor, a[1] * factor, a[2] * factor}};
}

Vec plus(const Vec& a, const Vec& b) {
    return {{a[0] + b[0], a[1] + b[1], a[2] + b[2]}};
}

Vec cross(const Vec& a, const Vec& b) {
    return {{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}};
}

double length(const Vec& a) {
    return std::sqrt(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]);
}

Vec random_direction(Random& random) {
    for (;;) {
        const Vec a{{static_cast<double>(random.real(-1.0F, 1.0F)),
                     static_cast<double>(random.real(-1.0F, 1.0F)),
                     static_cast<double>(random.real(-1.0F, 1.0F))}};
        if (length(a) > 0.1 && length(a) < 1.0) return scaled(a, 1.0 / length(a));
    }
}

/// Three orthogonal directions: a permutation of the physical axes with signs, or any.
struct Axes {
    Vec d[3];
};

Axes random_axes(Random& random, bool aligned) {
    Axes axes{};
    if (aligned) {
        const int first = random.between(0, 2);
        const int second = (first + random.between(1, 2)) % 3;
        const int order[3] = {first, second, 3 - first - second};
        for (int i = 0; i < 3; ++i) axes.d[i].v[order[i]] = random.once_in(3) ? -1.0 : 1.0;
        return axes;
    }
    axes.d[0] = random_direction(random);
    const Vec other = cross(axes.d[0], random_direction(random));
    axes.d[1] = scaled(other, 1.0 / length(other));
    axes.d[2] = scaled(cross(axes.d[0], axes.d[1]), random.once_in(2) ? 1.0 : -1.0);
    return axes;
}

struct Placed {
    Axes axes;
    double spacing[3];
    Vec centre;
    bool aligned;
};

RZ_BoxParams box_about(const Vec& centre, const Vec& side0, const Vec& side1, const Vec& side2) {
    const Vec half = scaled(plus(plus(side0, side1), side2), -0.5);
    const Vec start = plus(centre, half);
    return {start.v, side0.v, side1.v, side2.v};
}

Placed make_volume(Random& random, PlanarVolume& volume, int pixelKind, Branches& branches) {
    Placed placed{};
    placed.aligned = random.once_in(3);
    placed.axes = random_axes(random, placed.aligned);
    const bool equal = placed.aligned && random.once_in(2);
    for (double& spacing : placed.spacing) {
        spacing = equal || placed.aligned ? random.pick({0.5, 1.0, 1.0, 2.0})
                                          : static_cast<double>(random.real(0.3F, 3.0F));
        if (equal) spacing = 1.0;
    }
    // Slices far apart: beyond the ratio that gates cubic interpolation.
    if (random.once_in(6)) placed.spacing[2] = placed.spacing[0] * random.pick({4.0, 4.5, 8.0});
    const int dims[3] = {random.between(2, 28), random.between(2, 28),
                         random.once_in(5) ? random.between(1, 3) : random.between(4, 24)};
    placed.centre = placed.aligned ? Vec{{8.0, -4.0, 2.0}} : scaled(random_direction(random), 400.0);
    Vec sides[3];
    for (int k = 0; k < 3; ++k) sides[k] = scaled(placed.axes.d[k], placed.spacing[k] * dims[k]);
    if (random.once_in(12)) {
        sides[2] = plus(sides[2], scaled(sides[1], 0.2));
        branches.met("sheared volume");
    }
    const Vec normal = cross(sides[0], sides[1]);
    const double handed = normal[0] * sides[2][0] + normal[1] * sides[2][1] + normal[2] * sides[2][2];
    branches.met(handed < 0.0 ? "left-handed volume" : "right-handed volume");
    volume.box = RZ_Box(dims[0], dims[1], dims[2], box_about(placed.centre, sides[0], sides[1], sides[2]));

    volume.pixelKind = pixelKind;
    volume.isSigned = random.once_in(2);
    volume.bitDepth = pixelKind == 0 ? random.between(8, 16) : 8;
    const std::size_t samples = static_cast<std::size_t>(dims[0]) * static_cast<std::size_t>(dims[1]);
    for (int z = 0; z < dims[2]; ++z) {
        if (pixelKind == 0) {
            volume.shorts.emplace_back(samples);
            fill_nasty(random, volume.shorts.back().data(), samples, volume.isSigned, volume.bitDepth);
        } else if (pixelKind == 1) {
            volume.bytes.emplace_back(samples);
            fill_nasty(random, volume.bytes.back().data(), samples, volume.isSigned, 8);
        } else {
            // The cubic kernel of this layout reads a row and a pixel before and behind the raster.
            const std::size_t about = static_cast<std::size_t>(dims[0]) + 1;
            volume.pixels.emplace_back(samples, Readable{about, about}, random.bits());
            fill_nasty_pixels(random, volume.pixels.back().data(), samples);
        }
    }
    wrap_rasters(volume);
    return placed;
}

void make_plane(Random& random, const Placed& placed, PlanarRequest& request, Branches& branches) {
    const Axes& a = placed.axes;
    Vec normal = random_direction(random);
    switch (random.between(0, 7)) {
        case 0:
        case 1: {
            const int axis = random.between(0, 2);
            normal = scaled(a.d[axis], random.once_in(2) ? 1.0 : -1.0);
            branches.met("plane along a source axis");
            break;
        }
        case 2: {
            const int axis = random.between(0, 2);
            normal = plus(a.d[axis], scaled(a.d[(axis + 1) % 3], random.once_in(2) ? 1.0 : -1.0));
            if (placed.aligned) branches.met("tie of two axes");
            break;
        }
        case 3:
            normal = plus(plus(a.d[0], a.d[1]), scaled(a.d[2], random.once_in(2) ? 1.0 : -1.0));
            if (placed.aligned) branches.met("tie of three axes");
            break;
        default:
            break;
    }
    Vec origin = placed.centre;
    const RZ_Box& box = request.volume.box;
    const int dims[3] = {box.xDim, box.yDim, box.zDim};
    const float reach = random.once_in(20) ? 2.0F : 0.3F;
    for (int k = 0; k < 3; ++k) {
        const double part = random.once_in(3) ? 0.0 : static_cast<double>(random.real(-reach, reach));
        origin = plus(origin, scaled(a.d[k], part * placed.spacing[k] * dims[k]));
    }
    Vec unit = random_direction(random);
    if (random.once_in(2)) unit = a.d[random.between(0, 2)];
    if (length(cross(normal, unit)) < 0.05) unit = plus(unit, {{0.3, 0.5, 0.7}});
    float n[3];
    float o[3];
    float u[3];
    for (int k = 0; k < 3; ++k) {
        n[k] = static_cast<float>(normal[k]);
        o[k] = static_cast<float>(origin[k]);
        u[k] = static_cast<float>(unit[k]);
    }
    request.plane = RZ_PlaneParams(n, o, u);
}

void make_output(Random& random, const Placed& placed, PlanarRequest& request, Branches& branches) {
    const RZ_Box& box = request.volume.box;
    const int width = random.once_in(15) ? random.between(1, 3) : random.between(4, 44);
    const int height = random.once_in(15) ? random.between(1, 3) : random.between(2, 18);
    const double extent = (placed.spacing[0] * box.xDim + placed.spacing[1] * box.yDim) * 0.5;
    double sides[2];
    for (double& side : sides) side = extent * static_cast<double>(random.real(0.3F, 1.5F));
    if (random.once_in(4)) {
        // Pixels as large as samples, on the samples' own grid where plane and volume are aligned.
        sides[0] = placed.spacing[0] * width;
        sides[1] = placed.spacing[1] * height;
    }
    if (random.once_in(25)) {
        sides[0] *= static_cast<double>(random.real(400.0F, 3000.0F));
        branches.met("column step beyond 512 samples");
    }
    double angle = random.once_in(2) ? 0.0 : static_cast<double>(random.real(-3.0F, 3.0F));
    const double mirror = random.once_in(4) ? -1.0 : 1.0;
    const Vec side0{{std::cos(angle) * sides[0], std::sin(angle) * sides[0], 0.0}};
    const Vec side1{{-std::sin(angle) * sides[1] * mirror, std::cos(angle) * sides[1] * mirror, 0.0}};
    const double lift = random.once_in(4) ? static_cast<double>(random.real(-50.0F, 50.0F)) : 0.0;
    const Vec side2{{0.0, 0.0, random.pick({0.0, 1.0, 2.5})}};
    Vec centre{{0.0, 0.0, lift}};
    for (int k = 0; k < 2; ++k) {
        if (random.once_in(2)) centre.v[k] = static_cast<double>(random.real(-0.3F, 0.3F)) * extent;
    }
    request.outputBox = RZ_Box(width, height, 1, box_about(centre, side0, side1, side2));

    if (random.once_in(2)) return;
    request.hasClip = true;
    request.clip = request.outputBox.params;
    if (random.once_in(3)) {
        branches.met("clip by the raster's own box");
        return;
    }
    const double turn = random.once_in(2) ? angle : static_cast<double>(random.real(-3.0F, 3.0F));
    const double w = sides[0] * static_cast<double>(random.real(0.3F, 1.2F));
    const double h = sides[1] * static_cast<double>(random.real(0.3F, 1.2F));
    request.clip = box_about(centre, {{std::cos(turn) * w, std::sin(turn) * w, 0.0}},
                             {{-std::sin(turn) * h, std::cos(turn) * h, 0.0}}, {{0.0, 0.0, 1.0}});
    branches.met("clip by another box");
}

void make_slab(Random& random, const Placed& placed, PlanarRequest& request, Branches& branches) {
    if (random.once_in(3)) return;
    const float spacing = static_cast<float>(placed.spacing[random.between(0, 2)]);
    request.halfThickness = spacing * random.real(0.0F, 4.0F);
    if (random.once_in(4)) request.halfThickness = spacing * static_cast<float>(random.between(1, 3));
    if (random.once_in(8)) request.halfThickness = spacing * 0.3F;
    // Maximum and minimum of a negative number of planes walk out of the volume.
    if (request.type == 0 && random.once_in(12)) {
        request.halfThickness = -request.halfThickness;
        branches.met("negative half thickness");
    }
    if (random.once_in(30)) {
        request.halfThickness = random.pick({1.0e9F, std::numeric_limits<float>::quiet_NaN(), 1.0e-30F, -0.0F,
                                             std::numeric_limits<float>::infinity()});
        branches.met("half thickness out of the ordinary");
    }
}

}  // namespace

std::vector<short*> PlanarVolume::shortRasters() {
    std::vector<short*> rasters;
    for (auto& raster : shorts) rasters.push_back(raster.data());
    return rasters;
}

std::vector<RZ_ShortSlice*> PlanarVolume::shortSlices() {
    std::vector<RZ_ShortSlice*> all;
    for (auto& slice : slices) all.push_back(static_cast<RZ_ShortSlice*>(slice.get()));
    return all;
}

std::vector<RZ_Slice*> PlanarVolume::anySlices() {
    std::vector<RZ_Slice*> all;
    for (auto& slice : slices) all.push_back(slice.get());
    return all;
}

void wrap_rasters(PlanarVolume& volume) {
    const PixelDataAttributes attributes{volume.box.xDim, volume.box.yDim, 16, 1};
    volume.slices.clear();
    for (auto& raster : volume.shorts) {
        volume.slices.push_back(std::make_unique<RZ_ShortSlice>(raster.data(), attributes));
    }
    for (auto& raster : volume.bytes) {
        volume.slices.push_back(
            std::make_unique<RZ_ShortSlice>(reinterpret_cast<short*>(raster.data()), attributes));
    }
    for (auto& raster : volume.pixels) {
        volume.slices.push_back(
            std::make_unique<RZ_LongSlice>(reinterpret_cast<std::int32_t*>(raster.data()), attributes));
    }
    for (auto& slice : volume.slices) {
        slice->pixelKind = volume.pixelKind;
        slice->isSigned = volume.isSigned;
        slice->bitDepth = volume.bitDepth;
    }
}

PlanarRequest make_planar_request(Seed seed, int pixelKind, Branches& branches) {
    Random random(seed * 4 + static_cast<Seed>(pixelKind));
    PlanarRequest request;
    request.seed = seed;
    request.type = random.between(0, 2);
    if (random.once_in(15)) request.type = random.pick({3, -1, 77});
    const Placed placed = make_volume(random, request.volume, pixelKind, branches);
    make_plane(random, placed, request, branches);
    make_output(random, placed, request, branches);
    make_slab(random, placed, request, branches);
    request.volumeParams = request.volume.box.params;
    if (random.once_in(4)) {
        // A part of the volume, along its own axes.
        const float p[3] = {random.real(0.5F, 1.0F), random.real(0.5F, 1.0F), random.real(0.5F, 1.0F)};
        float middle[3];
        request.volumeParams.GetMiddle(middle);
        request.volumeParams.TScale(p[0], p[1], p[2], middle);
        branches.met("part of the volume");
    }
    request.quality = random.between(0, 4);
    if (random.once_in(12)) request.quality = random.pick({-1, 5, 6, 1000, INT32_MIN});
    request.bounds = {random.between(0, 20), random.between(-1, 9), random.between(0, 45),
                      random.between(-1, 20)};
    if (random.once_in(2)) request.bounds = {request.outputBox.yDim, -1, request.outputBox.xDim, -1};
    return request;
}

std::string PlanarRequest::describe() const {
    std::ostringstream out;
    out << replay(seed) << "\nvolume " << volume.box.xDim << 'x' << volume.box.yDim << 'x' << volume.box.zDim
        << ", kind " << volume.pixelKind << ", raster " << outputBox.xDim << 'x' << outputBox.yDim
        << ", quality " << quality << ", type " << type << ", halfThickness " << halfThickness
        << (hasClip ? ", clip" : "") << '\n';
    return out.str();
}

}  // namespace rz_test
