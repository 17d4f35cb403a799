#include <cstdint>

#include "lower/log/log.h"
#include "tests/curved/run_curved.h"
#include "tests/fuzz/fuzz.h"

// Whole curved requests: preparation and image, by the entry points and by their plain forms.

namespace {

using namespace rz_test;
using rz_fuzz::stop_at;
using rz_fuzz::stop_unless;

constexpr Seed kSeed = 1;

template <class Sample>
void compare(int pixelKind) {
    Branches unused;
    CurvedRequest request = make_curved_request(kSeed, pixelKind, unused);
    RZ_Box imageBox = request.imageBox;
    auto secondBox = request.secondBox;
    const bool transposedIn = request.transposedIn.value_or(false);
    const int signIn = request.signIn.value_or(0);
    rz_reference::CurveData want;
    const int expected = rz_reference::prepare_curve_data(
        request.spline, imageBox, request.localFrames, request.transposedIn ? &transposedIn : nullptr,
        request.signIn ? &signIn : nullptr, request.margin, want, secondBox ? &*secondBox : nullptr, unused);
    RZ_CurveProjectData data;
    stop_unless(prepare(request, data) == expected, "the result of the preparation");
    stop_unless(same_box(imageBox, request.imageBox), "the image box after the preparation");
    if (expected == 0) return;
    stop_at(difference(want, data));
    if (request.dropDirections) {
        delete[] data.directions;
        data.directions = nullptr;
    }

    ImageRaster<Sample> wantRaster(request);
    ImageRaster<Sample> gotRaster(request);
    const CurvedOutputs wantOut = draw(request, data, wantRaster.data(), request.rangeStart, request.rangeEnd,
                                       draw_by_reference, unused);
    const CurvedOutputs gotOut =
        draw(request, data, gotRaster.data(), request.rangeStart, request.rangeEnd, draw_by_entry, unused);
    if (!(wantOut == gotOut)) stop_at("want " + wantOut.describe() + "\ngot " + gotOut.describe());
    if (!(wantRaster == gotRaster)) stop_at("the raster of " + request.describe());
    stop_unless(gotRaster.block().fencesIntact(), "the fence of the raster");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    JrnGLog.SetThreshold(-1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int pixelKind = input.byte() % 2;
    input.put_on_tape(kSeed * 2 + static_cast<Seed>(pixelKind));
    if (pixelKind == 0) compare<std::int16_t>(0);
    if (pixelKind == 1) compare<std::uint8_t>(1);
    return 0;
}
