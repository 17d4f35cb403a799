#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

#include "rz_obl/rz_obl.h"
#include "tests/cases/simple_request.h"

// Calls on different rasters run at once over one volume; the first cubic ones build the weight table between
// them.

namespace {

using namespace rz_test;

struct Picture {
    std::vector<short> raster;
    std::array<int, 4> bounds;
};

Picture draw(PlanarRequest& request, std::vector<RZ_Slice*> slices, std::vector<RZ_ShortSlice*> shorts,
             int quality, bool project) {
    const auto samples = static_cast<std::size_t>(request.outputBox.xDim * request.outputBox.yDim);
    Picture p{std::vector<short>(samples, 77), request.bounds};
    auto& b = p.bounds;
    const auto q = static_cast<RZ_OBL_RenditionQuality>(quality);
    if (project) {
        RZ_PlanarObliqueProjection(slices.data(), request.volume.box, request.volumeParams, request.plane,
                                   nullptr, reinterpret_cast<char*>(p.raster.data()), request.outputBox,
                                   &b[0], &b[1], &b[2], &b[3], 0, request.volume.box.zDim - 1, q, 1.0F,
                                   RZ_OBL_RenditionType::Average);
    } else {
        RZ_CalcOblique(shorts.data(), request.volume.box, request.volumeParams, request.plane, nullptr,
                       p.raster.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3], 0,
                       request.volume.box.zDim - 1, q, 1.0F, RZ_OBL_RenditionType::Average, true, 12);
    }
    return p;
}

TEST(Threads, calls_on_different_rasters_are_free) {
    auto request = simple_request({30, 28, 24}, {1.0, 1.0, 1.5});
    set_plane(request, {0.3, 0.5, 0.8}, {15, 14, 18}, {1, 0, 0});
    set_output(request, 40, 30, 0.7, 0.8, {-14, -12});
    const auto slices = request.volume.anySlices();
    const auto shorts = request.volume.shortSlices();
    std::vector<Picture> together(12);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < together.size(); ++i) {
        threads.emplace_back(
            [&, i] { together[i] = draw(request, slices, shorts, static_cast<int>(i % 3) + 2, i % 2 == 0); });
    }
    for (auto& thread : threads) thread.join();
    for (std::size_t i = 0; i < together.size(); ++i) {
        const Picture alone = draw(request, slices, shorts, static_cast<int>(i % 3) + 2, i % 2 == 0);
        EXPECT_EQ(together[i].raster, alone.raster) << i;
        EXPECT_EQ(together[i].bounds, alone.bounds) << i;
        EXPECT_NE(alone.raster, std::vector<short>(alone.raster.size(), 77));
    }
}

}  // namespace
