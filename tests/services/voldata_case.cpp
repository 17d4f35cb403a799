#include "tests/services/voldata_case.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <typeinfo>

#include "tests/lower/geometry_cases.h"

namespace rz_test {
namespace {

using rz_reference::MadeSlice;
using rz_reference::MadeVolume;

BoxCase random_volume(Random& random) {
    BoxCase c = random_box(random, random.pick({0.0, 30.0}), 11);
    for (int& dim : c.dims) dim = std::max(dim, 2);
    if (random.once_in(2)) {
        for (double& spacing : c.spacing) spacing = random.pick({0.5, 1.0, 1.5, 0.1});
    }
    if (random.once_in(3)) c.axes = {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
    return c;
}

RZ_3Coord coord(const Vec3& v) {
    return RZ_3Coord(static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2]));
}

bool same_box(const RZ_Box& want, const RZ_Box& got) {
    double a[4][4];
    double b[4][4];
    want.params.GetPhysicalFromNorm(a);
    got.params.GetPhysicalFromNorm(b);
    return want.xDim == got.xDim && want.yDim == got.yDim && want.zDim == got.zDim &&
           want.rowStride == got.rowStride && std::memcmp(a, b, sizeof a) == 0;
}

std::string share_difference(const VoldataSource& source, int k, const RZ_Slice& slice) {
    if (!(typeid(slice) == typeid(RZ_Slice))) return "the class of a share";
    if (slice.MappedRaster() != source.raster(k)) return "the raster of a share";
    if (slice.computed) return "a share that claims to be computed";
    const RZ_Slice& from = *source.volume->GetSlice(static_cast<unsigned>(k));
    const bool same = slice.bitDepth == from.bitDepth && slice.isSigned == from.isSigned &&
                      slice.pixelKind == from.pixelKind;
    return same ? "" : "the fields of a share";
}

std::string computed_difference(const MadeSlice& want, const RZ_Slice& slice, short fresh,
                                Branches& branches) {
    if (!(typeid(slice) == typeid(RZ_ShortSlice))) return "the class of a computed slice";
    const PixelDataAttributes& attributes = slice.GetAttributes();
    const bool same = slice.computed && slice.pixelKind == 0 && attributes.width == want.width &&
                      attributes.height == want.height && attributes.bitsAllocated == 16 &&
                      attributes.samplesPerPixel == 1;
    if (!same) return "the fields of a computed slice";
    const short* got = static_cast<const RZ_ShortSlice&>(slice).GetMappedSlice();
    const auto first = std::mismatch(want.raster.begin(), want.raster.end(), got).first;
    if (first != want.raster.end()) return "sample " + std::to_string(first - want.raster.begin());
    if (want.raster.back() == fresh) branches.met("second half of a raster not cleared");
    if (want.raster.front() == 0) branches.met("first half of a raster cleared");
    if (std::any_of(want.raster.begin(), want.raster.end(), [=](short s) { return s != 0 && s != fresh; }))
        branches.met("plane drawn");
    return "";
}

}  // namespace

VoldataPlane::VoldataPlane(Seed seed) {
    Random random(seed);
    const BoxCase c = random_volume(random);
    source = std::make_unique<VoldataSource>(c.box(), seed);
    Vec3 at{};
    for (std::size_t k = 0; k < 3; ++k) at[k] = static_cast<double>(random.real(0.0F, 1.0F)) * c.dims[k];
    const auto axes = random_axes(random, false);
    plane = RZ_PlaneParams(coord(axes[0]), coord(c.physical(at)), coord(axes[1]));
    type = static_cast<RZ_OBL_RenditionType>(random.between(0, 2));
    if (!random.once_in(3)) thickness = random.real(0.1F, 6.0F);
}

VoldataRange::VoldataRange(Seed seed) {
    Random random(seed);
    const BoxCase c = random_volume(random);
    source = std::make_unique<VoldataSource>(c.box(), seed);
    first = static_cast<unsigned>(random.between(0, c.dims[2] - 1));
    last = static_cast<unsigned>(random.between(static_cast<int>(first), c.dims[2] - 1));
    const float d = source->volume->GetBox()->GetZMmPerPixel();
    spacing = d * random.pick({1.0F, 2.0F, 3.0F, 0.5F, 0.25F, 0.75F, 1.5F, 100.0F});
    if (random.once_in(3)) spacing = random.real(0.3F, 3.0F) * d;
    if (random.once_in(3)) spacing = random.pick({0.1F, 0.2F, 0.3F, 0.5F, 0.7F}) * (d < 1.0F ? 1.0F : d);
    if (random.once_in(25)) spacing = random.pick({0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN()});
}

std::string first_difference(const VoldataSource& source, const MadeVolume& want, const RZ_VolData* got,
                             short fresh, Branches& branches) {
    if (got == nullptr) return "no volume";
    if (!same_box(want.box, *got->GetBox())) return "the box";
    for (std::size_t i = 0; i < want.slices.size(); ++i) {
        const RZ_Slice* slice = got->GetSlice(static_cast<unsigned>(i));
        if (slice == nullptr) return "no slice " + std::to_string(i);
        const bool isShared = want.slices[i].sharedFrom >= 0;
        if (isShared) branches.met("slice shared");
        const std::string difference = isShared
                                           ? share_difference(source, want.slices[i].sharedFrom, *slice)
                                           : computed_difference(want.slices[i], *slice, fresh, branches);
        if (!difference.empty()) return difference + " of slice " + std::to_string(i);
    }
    if (got->GetSlice(static_cast<unsigned>(want.slices.size())) != nullptr) return "one slice too many";
    double a[2];
    double b[2];
    source.volume->GetRescaleTrans(&a[0], &a[1]);
    got->GetRescaleTrans(&b[0], &b[1]);
    if (std::memcmp(a, b, sizeof a) != 0) return "the rescale values";
    return source.untouched() ? "" : "the source";
}

}  // namespace rz_test
