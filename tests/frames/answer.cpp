#include "tests/frames/answer.h"

namespace rz_test {
namespace {

template <class Call>
Answer answer(PlanarRequest& request, bool run, Call&& call) {
    const auto samples =
        static_cast<std::size_t>(request.outputBox.xDim) * static_cast<std::size_t>(request.outputBox.yDim);
    Answer a{0, Fenced<short>(samples, 5), request.bounds, std::nullopt};
    recorder() = {};
    recorder().depth = request.volume.box.zDim;
    recorder().callThrough = run;
    a.result = call(a);
    if (!recorder().calls.empty()) a.scan = recorder().calls[0];
    return a;
}

}  // namespace

Answer calc_oblique(PlanarRequest& request, bool run) {
    auto slices = request.volume.shortSlices();
    return answer(request, run, [&](Answer& a) {
        return RZ_CalcOblique(slices.data(), request.volume.box, request.volumeParams, request.plane,
                              request.clipParams(), a.output.data(), request.outputBox, &a.bounds[0],
                              &a.bounds[1], &a.bounds[2], &a.bounds[3], 0, request.volume.box.zDim - 1,
                              static_cast<RZ_OBL_RenditionQuality>(request.quality), request.halfThickness,
                              static_cast<RZ_OBL_RenditionType>(request.type), request.volume.isSigned,
                              request.volume.bitDepth);
    });
}

Answer project(PlanarRequest& request, bool run) {
    auto slices = request.volume.anySlices();
    return answer(request, run, [&](Answer& a) {
        return RZ_PlanarObliqueProjection(
            slices.data(), request.volume.box, request.volumeParams, request.plane, request.clipParams(),
            reinterpret_cast<char*>(a.output.data()), request.outputBox, &a.bounds[0], &a.bounds[1],
            &a.bounds[2], &a.bounds[3], 0, request.volume.box.zDim - 1,
            static_cast<RZ_OBL_RenditionQuality>(request.quality), request.halfThickness,
            static_cast<RZ_OBL_RenditionType>(request.type));
    });
}

}  // namespace rz_test
