#include <string>

#include "bench/jobs/planar/planar.h"

namespace rz_bench {
namespace {

using Quality = RZ_OBL_RenditionQuality;
using Type = RZ_OBL_RenditionType;

// Fixed point loses up to 3 units and rounds down; a weight table of 64 positions is up to 1/64 sample off,
// which an edge of bone shows.
constexpr Tolerance kLinear{5.0, 4.0, 0.0};
constexpr Tolerance kCubic{120.0, 6.0, 0.0};
// one axis of these is linear, where the peer's is cubic
constexpr Tolerance kSemiCubic{250.0, 12.0, 0.0};
constexpr Tolerance kBytes{1.5, 0.8, 0.0};
// positions of these kernels add up in single precision along a run
constexpr Tolerance kByteSlab{8.0, 0.8, 0.0};

std::string work_of(const PlanarRequest& r) {
    std::string work = std::to_string(r.width) + " x " + std::to_string(r.height);
    if (r.planes > 1) work += " x " + std::to_string(r.planes);
    return work;
}

Case case_of(Volume& volume, const std::string& job, const std::string& name, const PlanarRequest& r,
             const Tolerance& tolerance) {
    Case c;
    c.job = job;
    c.name = name;
    c.volume = volume.name;
    c.work = work_of(r);
    c.samples = r.samples();
    c.tolerance = tolerance;
    c.contenders.push_back([&volume, r] { return planar_ours(volume, r); });
    c.reference = [&volume, r](const Picture& ours) { return planar_reference(volume, r, ours); };
#ifdef RZ_BENCH_PEERS
    c.contenders.push_back([&volume, r] { return planar_vtk(volume, r); });
    const bool cubic = r.tricubic || r.quality == Quality::Cubic || r.quality == Quality::SemiCubic;
    if (r.planes == 1 && !cubic && volume.kind != Kind::kPixels)
        c.contenders.push_back([&volume, r] { return planar_itk(volume, r); });
    if (r.planes > 1 && r.onGrid) {
        c.contenders.push_back([&volume, r] { return planar_opencv(volume, r); });
        c.contenders.push_back([&volume, r] { return planar_numpy(volume, r); });
    }
#endif
    const std::size_t floors = planar_floors(volume, r).size();
    for (std::size_t i = 0; i < floors; ++i)
        c.contenders.push_back([&volume, r, i] { return planar_floors(volume, r)[i]; });
    return c;
}

PlanarRequest request(const Orientation& orientation, std::array<double, 3> centre, int width, int height,
                      double pixel) {
    PlanarRequest r{};
    r.orientation = orientation;
    r.centre = centre;
    r.width = width;
    r.height = height;
    r.pixel = pixel;
    r.quality = Quality::Linear;
    r.type = Type::Average;
    r.planes = 1;
    return r;
}

PlanarRequest slab(PlanarRequest r, int planes, Type type, Quality quality) {
    r.planes = planes;
    r.type = type;
    r.quality = quality;
    return r;
}

PlanarRequest of_quality(PlanarRequest r, Quality quality) {
    r.quality = quality;
    return r;
}

PlanarRequest on_grid(PlanarRequest r) {
    r.onGrid = true;
    return r;
}

const char* name_of(Type type) {
    if (type == Type::Maximum) return "maximum";
    if (type == Type::Minimum) return "minimum";
    return "mean";
}

// Planes of the phantom that lie in it wholly, so that every pixel is work for everyone.
struct Planes {
    PlanarRequest oblique, obliqueZoomed, steep;
    PlanarRequest axialOn, axialOff, axialZoomed, coronalOn, coronalOff, sagittalOn, sagittalOff;

    explicit Planes(const Volume& v) {
        const double cx = 0.5 * (v.size[0] - 1), cy = 0.5 * (v.size[1] - 1), cz = 0.5 * (v.size[2] - 1);
        const int nx = v.size[0] - 2, ny = v.size[1] - 2, nz = v.size[2] - 2;
        oblique = request(turned(25, 20), {cx + 0.3, cy - 0.2, cz + 0.1}, 512, 512, 0.85);
        obliqueZoomed = oblique;
        obliqueZoomed.pixel *= 0.5;
        steep = request(turned(15, 65), {cx + 0.3, cy - 0.2, cz + 0.1}, 512, 512, 0.65);
        const double ax = cx, ay = cy, az = cz + 0.5;  // slice 200 of 400
        axialOn = on_grid(request(axial(), {ax, ay, az}, nx, ny, 1.0));
        axialOff = request(axial(), {ax - 0.3, ay - 0.4, az - 0.5}, nx, ny, 1.0);
        axialZoomed = request(axial(), {ax + 0.1, ay + 0.2, az - 0.5}, 512, 512, 0.5);
        coronalOn = on_grid(request(coronal(), {cx, cy + 0.5, cz}, nx, nz, 1.0));
        coronalOff = request(coronal(), {cx - 0.3, cy + 0.2, cz - 0.4}, nx, nz, 1.0);
        sagittalOn = on_grid(request(sagittal(), {cx + 0.5, cy, cz}, ny, nz, 1.0));
        sagittalOff = request(sagittal(), {cx + 0.2, cy - 0.3, cz - 0.4}, ny, nz, 1.0);
    }
};

void add_slabs(std::vector<Case>& cases, Volume& volume, const std::string& name, const PlanarRequest& r) {
    for (const Type type : {Type::Average, Type::Maximum, Type::Minimum})
        cases.push_back(
            case_of(volume, "slab", name + " " + name_of(type), slab(r, 41, type, Quality::Linear), kLinear));
}

void add_fast_slabs(std::vector<Case>& cases, Volume& volume, const std::string& name,
                    const PlanarRequest& r) {
    for (const Type type : {Type::Average, Type::Maximum, Type::Minimum}) {
        Case c = case_of(volume, "slab-fast", name + " " + name_of(type),
                         slab(r, 41, type, Quality::LinearFast), kLinear);
        // pixels between the computed ones are means of their neighbours
        if (type != Type::Average) c.tolerance = {2000.0, 60.0, 0.0};
        c.coverage = 0.997;  // the last of an even number of columns is not computed
        cases.push_back(c);
    }
}

std::vector<Case> phantom_cases(Volume& volume) {
    const Planes p(volume);
    std::vector<Case> cases;
    const auto plane = [&](const char* name, const PlanarRequest& r) {
        cases.push_back(case_of(volume, "plane", name, r, kLinear));
    };
    plane("oblique", p.oblique);
    plane("oblique, 2x zoomed", p.obliqueZoomed);
    plane("steep", p.steep);
    plane("axial, on the grid", p.axialOn);
    plane("axial, off the grid", p.axialOff);
    plane("axial, 2x zoomed", p.axialZoomed);
    plane("coronal, on the grid", p.coronalOn);
    plane("coronal, off the grid", p.coronalOff);
    plane("sagittal, on the grid", p.sagittalOn);
    plane("sagittal, off the grid", p.sagittalOff);

    add_slabs(cases, volume, "oblique", p.oblique);
    add_slabs(cases, volume, "steep", p.steep);
    add_slabs(cases, volume, "axial, on the grid,", p.axialOn);
    add_slabs(cases, volume, "axial, off the grid,", p.axialOff);
    add_slabs(cases, volume, "coronal, on the grid,", p.coronalOn);
    add_slabs(cases, volume, "sagittal, on the grid,", p.sagittalOn);
    add_fast_slabs(cases, volume, "oblique", p.oblique);
    add_fast_slabs(cases, volume, "axial, on the grid,", p.axialOn);
    add_fast_slabs(cases, volume, "coronal, on the grid,", p.coronalOn);
    add_fast_slabs(cases, volume, "sagittal, on the grid,", p.sagittalOn);

    const auto cubic = [&](const char* name, const PlanarRequest& r, const Tolerance& tolerance) {
        cases.push_back(case_of(volume, "cubic", name, r, tolerance));
    };
    cubic("cubic oblique plane", of_quality(p.oblique, Quality::Cubic), kCubic);
    // without the rim, where a neighbourhood of four is not there
    PlanarRequest axialInner = p.axialOff;
    axialInner.width -= 6;
    axialInner.height -= 6;
    cubic("cubic axial plane, off the grid", of_quality(axialInner, Quality::Cubic), kCubic);
    cubic("cubic oblique slab of 11", slab(p.oblique, 11, Type::Average, Quality::Cubic), kCubic);
    cubic("semi-cubic oblique plane", of_quality(p.oblique, Quality::SemiCubic), kSemiCubic);
    cubic("semi-cubic steep plane", of_quality(p.steep, Quality::SemiCubic), kSemiCubic);
    cubic("semi-cubic axial plane, off the grid", of_quality(axialInner, Quality::SemiCubic), kSemiCubic);
    PlanarRequest tricubic = p.oblique;
    tricubic.tricubic = true;
    cubic("tricubic oblique plane", tricubic, kCubic);
    return cases;
}

// A few of them on a real scan, whose depth is less than its width.
std::vector<Case> ct_cases(Volume& volume) {
    const std::array<double, 3> middle = {0.5 * (volume.size[0] - 1) * volume.spacing[0],
                                          0.5 * (volume.size[1] - 1) * volume.spacing[1],
                                          0.5 * (volume.size[2] - 1) * volume.spacing[2]};
    const double fit = std::min(0.9 * volume.spacing[0], volume.size[2] * volume.spacing[2] / 512.0 * 1.25);
    const PlanarRequest oblique = request(turned(10, 12), middle, 512, 512, fit);
    PlanarRequest axialOn =
        request(axial(), middle, volume.size[0] - 2, volume.size[1] - 2, volume.spacing[0]);
    axialOn.centre[2] = volume.spacing[2] * (volume.size[2] / 2);
    axialOn.onGrid = true;
    std::vector<Case> cases;
    cases.push_back(case_of(volume, "plane", "oblique", oblique, kLinear));
    cases.push_back(case_of(volume, "plane", "axial, on the grid", axialOn, kLinear));
    add_slabs(cases, volume, "oblique", oblique);
    add_slabs(cases, volume, "axial, on the grid,", axialOn);
    cases.push_back(case_of(volume, "cubic", "cubic oblique plane", of_quality(oblique, Quality::Cubic),
                            {400.0, 8.0, 0.0}));
    cases.push_back(case_of(volume, "cubic", "semi-cubic oblique plane",
                            of_quality(oblique, Quality::SemiCubic), {600.0, 12.0, 0.0}));
    return cases;
}

}  // namespace

std::vector<Case> planar_cases(Volume& volume) {
    return volume.name == "phantom" ? phantom_cases(volume) : ct_cases(volume);
}

std::vector<Case> byte_cases(Volume& volume) {
    const Planes p(volume);
    std::vector<Case> cases;
    const auto add = [&](const std::string& name, PlanarRequest r) {
        r.onGrid = false;
        cases.push_back(case_of(volume, "8-bit", name, r, r.planes > 1 ? kByteSlab : kBytes));
    };
    add("oblique plane", p.oblique);
    add("axial plane, off the grid", p.axialOff);
    for (const Type type : {Type::Average, Type::Maximum, Type::Minimum})
        add(std::string("oblique slab of 41, ") + name_of(type), slab(p.oblique, 41, type, Quality::Linear));
    return cases;
}

std::vector<Case> colour_cases(Volume& volume) {
    const Planes p(volume);
    std::vector<Case> cases;
    const auto add = [&](const char* name, const PlanarRequest& r, const Tolerance& tolerance) {
        cases.push_back(case_of(volume, "32-bit", name, r, tolerance));
    };
    add("oblique plane", p.oblique, kBytes);
    add("oblique slab of 41, mean", slab(p.oblique, 41, Type::Average, Quality::Linear), kByteSlab);
    add("cubic oblique plane", of_quality(p.oblique, Quality::Cubic), {16.0, 1.5, 0.0});
    return cases;
}

}  // namespace rz_bench
