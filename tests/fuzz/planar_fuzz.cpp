#include <array>

#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/fuzz/fuzz.h"
#include "tests/reference/planar.h"

// Whole planar requests: RZ_CalcOblique, or RZ_PlanarObliqueProjection of any layout, and the plain frame
// with the plain kernels.

namespace {

using namespace rz_test;

constexpr Seed kSeed = 1;

std::size_t pixels_of(const PlanarRequest& r) {
    return static_cast<std::size_t>(r.outputBox.xDim) * static_cast<std::size_t>(r.outputBox.yDim);
}

template <class Sample>
void expect_equal(const PlanarRequest& request, const Fenced<Sample>& want, const Fenced<Sample>& got,
                  const std::array<int, 4>& wantBounds, const std::array<int, 4>& gotBounds) {
    if (!(want == got)) rz_fuzz::stop_at("the raster of " + request.describe());
    if (!got.fencesIntact()) rz_fuzz::stop_at("the fence of " + request.describe());
    if (wantBounds != gotBounds) rz_fuzz::stop_at("the bounds of " + request.describe());
}

void calc_oblique(PlanarRequest& r) {
    Fenced<short> want(pixels_of(r), kSeed + 1);
    Fenced<short> got(pixels_of(r), kSeed + 1);
    auto wantBounds = r.bounds;
    auto b = r.bounds;
    auto slices = r.volume.shortSlices();
    RZ_CalcOblique(slices.data(), r.volume.box, r.volumeParams, r.plane, r.clipParams(), got.data(),
                   r.outputBox, &b[0], &b[1], &b[2], &b[3], 0, r.volume.box.zDim - 1,
                   static_cast<RZ_OBL_RenditionQuality>(r.quality), r.halfThickness,
                   static_cast<RZ_OBL_RenditionType>(r.type), r.volume.isSigned, r.volume.bitDepth);
    rz_reference::calc_oblique(r, want.data(), wantBounds);
    expect_equal(r, want, got, wantBounds, b);
}

template <class Sample>
void project(PlanarRequest& r) {
    Fenced<Sample> want(pixels_of(r), kSeed + 1);
    Fenced<Sample> got(pixels_of(r), kSeed + 1);
    auto wantBounds = r.bounds;
    auto b = r.bounds;
    auto slices = r.volume.anySlices();
    RZ_PlanarObliqueProjection(slices.data(), r.volume.box, r.volumeParams, r.plane, r.clipParams(),
                               reinterpret_cast<char*>(got.data()), r.outputBox, &b[0], &b[1], &b[2], &b[3],
                               0, r.volume.box.zDim - 1, static_cast<RZ_OBL_RenditionQuality>(r.quality),
                               r.halfThickness, static_cast<RZ_OBL_RenditionType>(r.type));
    rz_reference::planar_projection(r, want.data(), wantBounds);
    expect_equal(r, want, got, wantBounds, b);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte() % 4;
    const int pixelKind = which % 3;
    // The seed that the maker's own generator has.
    input.put_on_tape(kSeed * 4 + static_cast<Seed>(pixelKind));
    Branches unused;
    PlanarRequest request = make_planar_request(kSeed, pixelKind, unused);
    if (which == 3) calc_oblique(request);
    if (which == 0) project<short>(request);
    if (which == 1) project<unsigned char>(request);
    if (which == 2) project<std::uint32_t>(request);
    return 0;
}
