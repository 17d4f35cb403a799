#include <array>
#include <vector>

#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/digests/digest.h"

namespace rz_digests {
namespace {

using namespace rz_test;

constexpr int kRequests = 1200;

struct Picture {
    explicit Picture(const PlanarRequest& request, std::size_t bytesPerSample)
        : output(
              static_cast<std::size_t>(request.outputBox.xDim * request.outputBox.yDim) * bytesPerSample / 2,
              request.seed),
          bounds(request.bounds) {}
    Fenced<short> output;
    std::array<int, 4> bounds;
    int result = 0;

    void add_to(Digest& digest) const {
        digest.add(output.data(), output.size());
        digest.add(bounds.data(), bounds.size());
        digest.add(result);
        digest.add(output.fencesIntact());
    }
};

/// An even number of bytes, whatever a sample has.
void make_width_even(PlanarRequest& request) {
    if (request.outputBox.xDim % 2 != 0 && request.outputBox.yDim % 2 != 0) ++request.outputBox.yDim;
}

void calc_oblique(const char* name) {
    Digest digest;
    Branches branches;
    for (Seed seed = 1; seed <= kRequests; ++seed) {
        auto r = make_planar_request(seed, 0, branches);
        auto slices = r.volume.shortSlices();
        Picture p(r, 2);
        auto& b = p.bounds;
        p.result =
            RZ_CalcOblique(slices.data(), r.volume.box, r.volumeParams, r.plane, r.clipParams(),
                           p.output.data(), r.outputBox, &b[0], &b[1], &b[2], &b[3], 0, r.volume.box.zDim - 1,
                           static_cast<RZ_OBL_RenditionQuality>(r.quality), r.halfThickness,
                           static_cast<RZ_OBL_RenditionType>(r.type), r.volume.isSigned, r.volume.bitDepth);
        p.add_to(digest);
    }
    print_line(name, digest);
}

void project(const char* name, int pixelKind, std::size_t bytesPerSample) {
    Digest digest;
    Branches branches;
    for (Seed seed = 1; seed <= kRequests; ++seed) {
        auto r = make_planar_request(seed, pixelKind, branches);
        make_width_even(r);
        auto slices = r.volume.anySlices();
        Picture p(r, bytesPerSample);
        auto& b = p.bounds;
        p.result = RZ_PlanarObliqueProjection(
            slices.data(), r.volume.box, r.volumeParams, r.plane, r.clipParams(),
            reinterpret_cast<char*>(p.output.data()), r.outputBox, &b[0], &b[1], &b[2], &b[3], 0,
            r.volume.box.zDim - 1, static_cast<RZ_OBL_RenditionQuality>(r.quality), r.halfThickness,
            static_cast<RZ_OBL_RenditionType>(r.type));
        p.add_to(digest);
    }
    print_line(name, digest);
}

}  // namespace

void planar_digests() {
    calc_oblique("RZ_CalcOblique");
    project("RZ_PlanarObliqueProjection/16_bits", 0, 2);
    project("RZ_PlanarObliqueProjection/8_bits", 1, 1);
    project("RZ_PlanarObliqueProjection/32_bits", 2, 4);
}

}  // namespace rz_digests
