#include "tests/cases/curved/curved_request.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

namespace rz_test {
namespace {

double real(Random& random, double lo, double hi) {
    return static_cast<double>(random.real(static_cast<float>(lo), static_cast<float>(hi)));
}

struct Vec {
    double v[3];
};

Vec cross(const Vec& a, const Vec& b) {
    return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2],
             a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}

Vec scaled(const Vec& a, double factor) {
    return {{a.v[0] * factor, a.v[1] * factor, a.v[2] * factor}};
}

Vec unit(const Vec& a) {
    return scaled(a, 1.0 / std::sqrt(a.v[0] * a.v[0] + a.v[1] * a.v[1] + a.v[2] * a.v[2]));
}

Vec random_direction(Random& random) {
    for (;;) {
        const Vec a{{real(random, -1.0, 1.0), real(random, -1.0, 1.0), real(random, -1.0, 1.0)}};
        const double square = a.v[0] * a.v[0] + a.v[1] * a.v[1] + a.v[2] * a.v[2];
        if (square > 0.01 && square < 1.0) return unit(a);
    }
}

/// Three orthogonal directions: physical axes in any order and sign, or any.
void random_axes(Random& random, bool aligned, Vec axes[3]) {
    if (aligned) {
        const int first = random.between(0, 2);
        const int second = (first + random.between(1, 2)) % 3;
        const int order[3] = {first, second, 3 - first - second};
        for (int i = 0; i < 3; ++i) {
            axes[i] = {};
            axes[i].v[order[i]] = random.once_in(3) ? -1.0 : 1.0;
        }
        return;
    }
    axes[0] = random_direction(random);
    axes[1] = unit(cross(axes[0], random_direction(random)));
    axes[2] = scaled(cross(axes[0], axes[1]), random.once_in(2) ? 1.0 : -1.0);
}

RZ_3Coord inside(Random& random, const RZ_BoxParams& about, double reach) {
    double matrix[4][4];
    about.GetPhysicalFromNorm(matrix);
    float p[3];
    double n[3];
    for (double& component : n) component = 0.5 + real(random, -0.5, 0.5) * reach;
    for (int j = 0; j < 3; ++j) {
        p[j] = static_cast<float>(n[0] * matrix[0][j] + n[1] * matrix[1][j] + n[2] * matrix[2][j] +
                                  matrix[3][j]);
    }
    return RZ_3Coord(p);
}

RZ_3Coord random_sweep(Random& random, const RZ_BoxParams& about, Branches& branches) {
    RZ_3Coord d;
    const float sign = random.once_in(2) ? 1.0F : -1.0F;
    switch (random.between(0, 4)) {
        case 0: {
            branches.met("sweep along a physical axis");
            const int axis = random.between(0, 2);
            d = RZ_3Coord(axis == 0 ? sign : 0.0F, axis == 1 ? sign : 0.0F, axis == 2 ? sign : 0.0F);
            break;
        }
        case 1: {
            branches.met("sweep with a tie of components");
            const int left = random.between(0, 3);
            d = RZ_3Coord{left == 0 ? 0.0F : sign, left == 1 ? 0.0F : random.pick({1.0F, -1.0F}),
                          left == 2 ? 0.0F : random.pick({1.0F, -1.0F})};
            break;
        }
        case 2: {
            branches.met("sweep along a side of the volume");
            float side[3];
            about.GetSideVec(side, random.once_in(2) ? RZ_AxisX : RZ_AxisY);
            d = RZ_3Coord(side[0] * sign, side[1] * sign, side[2] * sign);
            break;
        }
        default: {
            branches.met("sweep of any direction");
            const Vec any = random_direction(random);
            d = RZ_3Coord(static_cast<float>(any.v[0]), static_cast<float>(any.v[1]),
                          static_cast<float>(any.v[2]));
        }
    }
    return d;
}

float random_thickness(Random& random, float spacing, int type, Branches& branches) {
    switch (random.between(0, 11)) {
        case 0:
        case 1:
        case 2:
            branches.met("no thickness");
            return random.once_in(4) ? -0.0F : 0.0F;
        case 3:
            branches.met("tiny thickness");
            return 0.0001F;
        case 4:
            branches.met("thickness below a sample");
            return spacing * random.real(0.05F, 0.4F);
        case 5:
            if (random.once_in(3)) {
                branches.met("thickness is not a number");
                return std::numeric_limits<float>::quiet_NaN();
            }
            if (random.once_in(2)) {
                branches.met("thickness beyond the volume");
                return random.pick({1.0e3F, 1.0e9F, std::numeric_limits<float>::infinity()});
            }
            // A mean of no sample at all. A maximum would walk out of the volume.
            if (type != 0) return spacing;
            branches.met("negative thickness");
            return -spacing * random.real(0.1F, 2.0F);
        case 6:
            branches.met("thickness of whole samples");
            return spacing * static_cast<float>(random.between(1, 3));
        default:
            branches.met("thickness of several samples");
            return spacing * random.real(0.5F, 4.0F);
    }
}

/// Blocks of 5 x 5 x 3 samples of one value each: within a block all samples of a slab tie, and at its faces
/// values jump.
void fill_blocks(CurvedVolume& volume, int z, Seed seed) {
    const auto value = [&](int x, int y, int least, int greatest) {
        const int block = ((z / 3) * 64 + y / 5) * 64 + x / 5;
        Random random(seed * 1000003 + static_cast<Seed>(block));
        const int any = random.between(least, greatest);
        return random.pick({least, greatest, 0, any, any});
    };
    for (int y = 0; y < volume.box.yDim; ++y) {
        for (int x = 0; x < volume.box.xDim; ++x) {
            const int at = y * volume.box.xDim + x;
            const auto slice = static_cast<std::size_t>(z);
            if (volume.pixelKind == 0) {
                volume.shorts[slice].data()[at] = static_cast<short>(value(x, y, -32768, 32767));
            } else {
                volume.bytes[slice].data()[at] = static_cast<unsigned char>(value(x, y, 0, 255));
            }
        }
    }
}

void make_crop(Random& random, CurvedRequest& request, Branches& branches) {
    const RZ_Box& box = request.volume.box;
    request.firstSlice = 0;
    request.lastSlice = box.zDim - 1;
    request.crop = box.params;
    float middle[3];
    box.params.GetMiddle(middle);
    const int kind = random.between(0, 5);
    if (kind == 0 && box.zDim >= 6) {
        branches.met("some slices only");
        request.firstSlice = random.between(0, 2);
        request.lastSlice = box.zDim - random.between(1, 3);
        // From slice 1 to slice zDim - 2, so that the entries about the table stay unread.
        const float part = static_cast<float>(box.zDim - 3) / static_cast<float>(box.zDim);
        request.crop.TScale(1.0F, 1.0F, part, middle);
    } else if (kind == 1) {
        branches.met("crop along the volume");
        const float by[3] = {random.real(0.3F, 0.99F), random.real(0.3F, 0.99F), random.real(0.3F, 0.99F)};
        request.crop.TScale(by[0], by[1], by[2], middle);
    } else if (kind == 2) {
        branches.met("crop across the volume");
        float size[3];
        box.params.GetSize(size);
        const double longest = static_cast<double>(std::min({size[0], size[1], size[2]})) / std::sqrt(3.0);
        Vec axes[3];
        random_axes(random, false, axes);
        for (Vec& axis : axes) axis = scaled(axis, longest * real(random, 0.6, 0.98));
        const double centre[3] = {static_cast<double>(middle[0]), static_cast<double>(middle[1]),
                                  static_cast<double>(middle[2])};
        request.crop = box_about(centre, axes[0].v, axes[1].v, axes[2].v);
    }
    request.frame = random.once_in(2) ? request.crop : box.params;
    if (random.once_in(3)) {
        branches.met("frame box of its own");
        request.frame = box.params;
        float about[3] = {middle[0], middle[1], middle[2]};
        const int axis = random.between(0, 2);
        about[axis] += random.real(-3.0F, 3.0F);
        const float by[3] = {random.real(0.2F, 2.0F), random.real(0.2F, 2.0F), random.real(0.2F, 2.0F)};
        request.frame.TScale(by[0], by[1], by[2], about);
    }
    if (random.once_in(25)) {
        branches.met("frame box elsewhere");
        request.frame = RZ_BoxParams(1.0F, 1.0F, 1.0F);
        request.frame.SetStart(5000.0F, 7000.0F, -3000.0F);
    }
}

/// Slabs along the mean normal stay in the volume only if the crop box leaves room on every side.
void leave_room_for_slab(Random& random, CurvedRequest& request, float spacing, Branches& branches) {
    const RZ_Box& box = request.volume.box;
    const float thickness = spacing * random.real(0.2F, 3.0F);
    float size[3];
    box.params.GetSize(size);
    float part[3];
    for (int k = 0; k < 3; ++k) {
        const float sample = size[k] / static_cast<float>(k == 0 ? box.xDim : k == 1 ? box.yDim : box.zDim);
        part[k] = 1.0F - 2.0F * (thickness + 2.0F * sample) / size[k];
        if (part[k] < 0.1F) return;
    }
    branches.met("slab along the mean normal");
    float middle[3];
    box.params.GetMiddle(middle);
    request.thickness = thickness;
    request.crop = box.params;
    request.crop.TScale(part[0], part[1], part[2], middle);
}

}  // namespace

std::vector<RZ_Slice*> CurvedVolume::anySlices() {
    std::vector<RZ_Slice*> all;
    for (auto& slice : slices) all.push_back(slice.get());
    return all;
}

CurvedVolume blank_curved_volume(const RZ_Box& box, int pixelKind) {
    CurvedVolume volume;
    volume.box = box;
    volume.pixelKind = pixelKind;
    const auto samples = static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim);
    // A line ends half a sample outside the last column and row at most, where a sample reads the next ones.
    const Readable about{0, static_cast<std::size_t>(box.xDim) + 1};
    const PixelDataAttributes attributes{box.xDim, box.yDim, 16, 1};
    for (int z = 0; z < box.zDim; ++z) {
        const auto noise = static_cast<Seed>(z + 1);
        if (pixelKind == 0) {
            auto& raster = volume.shorts.emplace_back(samples, about, noise);
            std::fill_n(raster.data(), samples, short{0});
            volume.slices.push_back(std::make_unique<RZ_ShortSlice>(raster.data(), attributes));
        } else {
            auto& raster = volume.bytes.emplace_back(samples, about, noise);
            std::fill_n(raster.data(), samples, static_cast<unsigned char>(0));
            volume.slices.push_back(
                std::make_unique<RZ_ShortSlice>(static_cast<std::uint8_t*>(raster.data()), attributes));
        }
    }
    return volume;
}

RZ_BoxParams box_about(const double centre[3], const double side0[3], const double side1[3],
                       const double side2[3]) {
    double start[3];
    for (int k = 0; k < 3; ++k) start[k] = centre[k] - (side0[k] + side1[k] + side2[k]) * 0.5;
    return RZ_BoxParams(start, side0, side1, side2);
}

RZ_Box image_box(int columns, int rows, double x, double y, double width, double height) {
    const double start[3] = {x, y, 0.0};
    const double side0[3] = {width, 0.0, 0.0};
    const double side1[3] = {0.0, height, 0.0};
    const double side2[3] = {0.0, 0.0, 1.0};
    return RZ_Box(columns, rows, 1, RZ_BoxParams(start, side0, side1, side2));
}

RZ_Box make_volume_box(Random& random, Branches& branches) {
    const bool aligned = random.once_in(3);
    Vec axes[3];
    random_axes(random, aligned, axes);
    const int dims[3] = {random.between(2, 26), random.between(2, 26),
                         random.once_in(8) ? random.between(1, 3) : random.between(4, 22)};
    Vec sides[3];
    const double even = real(random, 0.4, 2.0);
    const bool isotropic = random.once_in(2);
    for (int k = 0; k < 3; ++k) {
        double spacing = real(random, 0.3, 3.0);
        if (isotropic) spacing = even;
        if (aligned && random.once_in(2)) spacing = 1.0;
        sides[k] = scaled(axes[k], spacing * dims[k]);
    }
    branches.met(isotropic ? "equal spacing" : "unequal spacing");
    branches.met(aligned ? "volume along the axes" : "volume of any orientation");
    double centre[3] = {real(random, -9.0, 9.0), real(random, -9.0, 9.0), real(random, -9.0, 9.0)};
    if (random.once_in(8)) {
        branches.met("volume far from the origin");
        for (double& component : centre) component = real(random, -900.0, 900.0);
    }
    return RZ_Box(dims[0], dims[1], dims[2], box_about(centre, sides[0].v, sides[1].v, sides[2].v));
}

RZ_Spline make_spline(Random& random, const RZ_BoxParams& about, Branches& branches) {
    std::vector<RZ_3Coord> points;
    const int kind = random.between(0, 9);
    if (kind == 0) {
        branches.met("spline of two points");
        for (int i = 0; i < 2; ++i) points.push_back(inside(random, about, 1.2));
    } else if (kind <= 2) {
        const int count = random.pick({100, 101, 102, 110, 150, 207, 400});
        branches.met(count > 100 ? "dense spline" : "spline of a hundred points");
        const RZ_3Coord from = inside(random, about, 1.0);
        const RZ_3Coord to = inside(random, about, 1.0);
        const Vec direction = random_direction(random);
        const Vec swing = scaled(direction, real(random, 0.0, 3.0));
        const double turns = real(random, 0.5, 6.0);
        for (int i = 0; i < count; ++i) {
            const double t = i / (count - 1.0);
            const double s = std::sin(t * turns);
            const auto at = [&](float a, float b, double c) {
                return static_cast<float>(static_cast<double>(a) +
                                          (static_cast<double>(b) - static_cast<double>(a)) * t + s * c);
            };
            points.emplace_back(at(from.x, to.x, swing.v[0]), at(from.y, to.y, swing.v[1]),
                                at(from.z, to.z, swing.v[2]));
        }
    } else {
        branches.met("spline through random points");
        const int count = random.once_in(2) ? random.between(3, 8) : random.between(2, 40);
        const double reach = random.pick({0.5, 0.9, 1.3});
        for (int i = 0; i < count; ++i) points.push_back(inside(random, about, reach));
        if (random.once_in(15)) {
            branches.met("spline without length");
            for (RZ_3Coord& point : points) point = points[0];
        }
    }
    const EDGE_TYPE edge = random.once_in(10) ? EDGE_CLOSED : EDGE_OPEN;
    if (edge == EDGE_CLOSED) branches.met("closed spline");
    return RZ_Spline(points.data(), static_cast<int>(points.size()), random_sweep(random, about, branches),
                     SPLINE_CURVE, edge);
}

RZ_Box make_image_box(Random& random, float length, Branches& branches) {
    const int dims[2] = {random.between(3, 44), random.between(3, 44)};
    const double long_enough = std::max(static_cast<double>(length), 0.5);
    const double pixel = long_enough / random.between(3, 60);
    double extent[2] = {pixel * dims[0], pixel * dims[1]};
    if (random.once_in(8)) extent[random.between(0, 1)] *= real(random, 0.7, 1.4);
    double start[2];
    for (int k = 0; k < 2; ++k) {
        start[k] = -extent[k] * 0.5;
        if (random.once_in(3)) start[k] += real(random, -0.4, 0.4) * extent[k];
        if (random.once_in(10)) start[k] += random.pick({-1.0, 1.0}) * long_enough * real(random, 0.3, 1.4);
    }
    RZ_Box box = image_box(dims[0], dims[1], start[0], start[1], extent[0], extent[1]);
    if (random.once_in(2)) {
        branches.met("raster wider than the image");
        box.rowStride += random.between(1, 9);
    }
    return box;
}

CurvedRequest make_curved_request(Seed seed, int pixelKind, Branches& branches) {
    Random random(seed * 2 + static_cast<Seed>(pixelKind));
    CurvedRequest request;
    request.seed = seed;
    request.volume = blank_curved_volume(make_volume_box(random, branches), pixelKind);
    const bool blocks = random.once_in(3);
    branches.met(blocks ? "volume of blocks" : "volume of runs");
    for (std::size_t z = 0; z < request.volume.slices.size(); ++z) {
        if (blocks) {
            fill_blocks(request.volume, static_cast<int>(z), seed);
        } else if (pixelKind == 0) {
            auto& raster = request.volume.shorts[z];
            fill_nasty(random, raster.data(), raster.size(), true, random.pick({12, 16}));
        } else {
            auto& raster = request.volume.bytes[z];
            fill_nasty(random, raster.data(), raster.size(), false, 8);
        }
    }
    request.spline = make_spline(random, request.volume.box.params, branches);
    request.imageBox = make_image_box(random, request.spline.GetLength(0), branches);
    if (random.once_in(3)) request.secondBox = make_image_box(random, request.spline.GetLength(0), branches);
    if (random.once_in(4)) request.margin = random.between(-1, 2);
    if (random.once_in(40)) request.margin = 30;
    request.localFrames = random.once_in(2);
    if (random.once_in(4)) request.transposedIn = random.once_in(2);
    if (random.once_in(4)) request.signIn = random.pick({1, -1});
    if (random.once_in(60)) request.spline.splineKind = random.pick({1, 1, 2, -3});

    request.type = random.between(0, 2);
    if (random.once_in(30)) request.type = random.pick({3, -1, 77});
    request.quality = random.between(-1, 6);
    make_crop(random, request, branches);
    const RZ_Box& volume = request.volume.box;
    const float spacing =
        std::min({volume.GetXMmPerPixel(), volume.GetYMmPerPixel(), volume.GetZMmPerPixel()});
    request.thickness = random_thickness(random, spacing, request.type, branches);
    if (random.once_in(3)) {
        const float pixel = request.imageBox.GetXMmPerPixel();
        request.maxWidth =
            random.pick({0.1F, 0.11F, 0.2F, pixel, pixel * 3.5F, pixel * 8.0F, 1.0e12F, -4.0F});
    }
    request.requireInside = random.once_in(3) ? random.pick({1, -1, 7}) : 0;
    if (random.once_in(5)) request.columnOffset = random.between(-3, 3);
    if (random.once_in(5)) {
        const float a = random.real(0.0F, 1.0F);
        const float b = random.real(0.0F, 1.0F);
        request.rangeStart = std::min(a, b);
        request.rangeEnd = std::max(a, b);
        branches.met("part of the columns");
    }
    if (!request.localFrames && random.once_in(4)) {
        request.dropDirections = true;
        request.thickness = 0.0F;
        if (random.once_in(2)) leave_room_for_slab(random, request, spacing, branches);
    }
    return request;
}

std::string CurvedRequest::describe() const {
    std::ostringstream out;
    out << replay(seed) << "\nvolume " << volume.box.xDim << 'x' << volume.box.yDim << 'x' << volume.box.zDim
        << ", kind " << volume.pixelKind << ", image " << imageBox.xDim << 'x' << imageBox.yDim << " stride "
        << imageBox.rowStride << ", " << spline.NumOfPoints(1) << " points"
        << (localFrames ? ", local frames" : "") << ", margin " << margin << ", type " << type
        << ", thickness " << thickness << ", band " << maxWidth << ", requireInside " << requireInside
        << ", range " << rangeStart << " to " << rangeEnd << '\n';
    return out.str();
}

}  // namespace rz_test
