#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "lower/log/log.h"
#include "lower/settings/whiteboard.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_obl.h"
#include "tests/cases/planar_request.h"
#include "tests/curved/run_curved.h"

// Calls that may run at once do, and give what they give alone. Under the thread sanitizer this also shows
// that they share nothing but what they may.

namespace {

using namespace rz_test;

/// Runs task(0) to task(count - 1), each on its thread, all released together.
void run_together(std::size_t count, const std::function<void(std::size_t)>& task) {
    std::atomic<std::size_t> waiting{0};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            ++waiting;
            while (waiting < count) std::this_thread::yield();
            task(i);
        });
    }
    for (auto& thread : threads) thread.join();
}

struct Picture {
    std::vector<short> raster;
    std::array<int, 4> bounds{};
    friend bool operator==(const Picture& a, const Picture& b) {
        return a.raster == b.raster && a.bounds == b.bounds;
    }
};

/// The request by RZ_PlanarObliqueProjection, with another quality and type.
Picture project(PlanarRequest& request, int quality, int type) {
    const auto samples =
        static_cast<std::size_t>(request.outputBox.xDim) * static_cast<std::size_t>(request.outputBox.yDim);
    Picture p{std::vector<short>(samples, 77), request.bounds};
    auto slices = request.volume.anySlices();
    auto& b = p.bounds;
    RZ_PlanarObliqueProjection(slices.data(), request.volume.box, request.volumeParams, request.plane,
                               request.clipParams(), reinterpret_cast<char*>(p.raster.data()),
                               request.outputBox, &b[0], &b[1], &b[2], &b[3], 0, request.volume.box.zDim - 1,
                               static_cast<RZ_OBL_RenditionQuality>(quality), request.halfThickness,
                               static_cast<RZ_OBL_RenditionType>(type));
    return p;
}

template <class Sample>
bool draws(const std::vector<Sample>& raster, Sample background) {
    return std::any_of(raster.begin(), raster.end(), [=](Sample s) { return s != background; });
}

/// A request that draws something in 16 bits with the true cubic kernel.
PlanarRequest cubic_request() {
    Branches unused;
    for (Seed seed = 1;; ++seed) {
        PlanarRequest request = make_planar_request(seed, 0, unused);
        request.halfThickness = 0.0F;
        if (request.volume.box.GetSliceZf() > 3.0F) continue;
        if (draws(project(request, 4, 0).raster, short{77})) return request;
    }
}

// First in this file: it must find the table of the process empty.
TEST(Concurrency, sixteen_first_callers_of_the_weight_table) {
    PlanarRequest request = cubic_request();
    ASSERT_TRUE(rz_obl::g_cubicWeightTable.weights == nullptr || is_replay())
        << "an earlier test of this process built the table";
    std::vector<Picture> pictures(16);
    run_together(16, [&](std::size_t i) { pictures[i] = project(request, 3, 0); });
    const Picture alone = project(request, 3, 0);
    for (const Picture& p : pictures) EXPECT_TRUE(p == alone);
}

/// The request's bytes, whatever their layout, with the quality, slab and type of this round.
std::vector<char> reslice(PlanarRequest& request, int round) {
    const auto samples =
        static_cast<std::size_t>(request.outputBox.xDim) * static_cast<std::size_t>(request.outputBox.yDim);
    std::vector<char> raster(samples * 4, 'x');
    std::array<int, 4> b = request.bounds;
    auto slices = request.volume.anySlices();
    RZ_PlanarObliqueProjection(slices.data(), request.volume.box, request.volumeParams, request.plane,
                               nullptr, raster.data(), request.outputBox, &b[0], &b[1], &b[2], &b[3], 0,
                               request.volume.box.zDim - 1, static_cast<RZ_OBL_RenditionQuality>(round % 5),
                               static_cast<float>(round % 3), static_cast<RZ_OBL_RenditionType>(round % 3));
    return raster;
}

TEST(Concurrency, eight_threads_reslice_one_volume) {
    constexpr std::size_t kThreads = 8;
    constexpr int kRounds = 30;
    for (const int pixelKind : {0, 1, 2}) {
        Branches unused;
        Seed seed = 1;
        PlanarRequest request = make_planar_request(seed, pixelKind, unused);
        while (!draws(reslice(request, 0), 'x')) request = make_planar_request(++seed, pixelKind, unused);

        std::vector<std::vector<char>> want;
        for (int round = 0; round < kRounds; ++round) want.push_back(reslice(request, round));
        std::array<int, kThreads> differences{};
        run_together(kThreads, [&](std::size_t thread) {
            for (int round = 0; round < kRounds; ++round) {
                const int mine = (round + static_cast<int>(thread) * 3) % kRounds;
                if (reslice(request, mine) != want[static_cast<std::size_t>(mine)]) ++differences[thread];
            }
        });
        EXPECT_EQ(differences, (std::array<int, kThreads>{}));
    }
}

TEST(Concurrency, halves_of_a_curved_image_drawn_at_once_into_one_raster) {
    Branches unused;
    int drawn = 0;
    for (Seed seed = 1; seed <= 120; ++seed) {
        CurvedRequest request = make_curved_request(seed, 0, unused);
        RZ_CurveProjectData data;
        if (prepare(request, data) != 1) continue;
        // a negative margin widens the image beyond its row stride: its halves then share pixels
        if (request.imageBox.rowStride < request.imageBox.xDim) continue;
        ImageRaster<std::int16_t> whole(request);
        ImageRaster<std::int16_t> halves(request);
        draw(request, data, whole.data(), 0.0F, 1.0F, draw_by_entry, unused);
        run_together(2, [&](std::size_t half) {
            Branches own;
            const float from = half == 0 ? 0.0F : 0.5F;
            draw(request, data, halves.data(), from, from + 0.5F, draw_by_entry, own);
        });
        ASSERT_TRUE(halves == whole) << replay(seed);
        if (!whole.block().untouched()) ++drawn;
    }
    EXPECT_GT(drawn, 20);
}

void count_line(const Jrn_LogRecord& record, void* user) {
    const std::string text = record.text;
    if (text.find("MPR") != std::string::npos) ++*static_cast<std::atomic<int>*>(user);
}

TEST(Concurrency, log_and_whiteboard_under_load_while_images_are_drawn) {
    PlanarRequest request = cubic_request();
    std::atomic<int> lines{0};
    const int threshold = JrnGLog.GetThreshold();
    JrnGLog.SetSink(count_line, &lines);
    JrnGLog.SetThreshold(7);
    constexpr int kRounds = 50;
    std::array<int, 6> wrong{};
    const Picture want = project(request, 4, 0);
    lines = 0;
    run_together(6, [&](std::size_t i) {
        auto& board = RZ_Whiteboard::Instance();
        const std::string own = "concurrency." + std::to_string(i);
        for (int round = 0; round < kRounds; ++round) {
            if (i < 4) {
                if (!(project(request, 4, 0) == want)) ++wrong[i];
            } else {
                board.SetIntVal(own, round);
                if (board.GetIntVal(own, -1) != round) ++wrong[i];
                board.SetIntVal("concurrency.shared", round);
                if (board.GetIntVal("concurrency.shared", -1) < 0) ++wrong[i];
                board.Remove(own);
                JrnGLog.SetThreshold(7);
            }
        }
    });
    JrnGLog.SetThreshold(threshold);
    JrnGLog.SetSink(nullptr, nullptr);
    RZ_Whiteboard::Instance().Remove("concurrency.shared");
    EXPECT_EQ(wrong, (std::array<int, 6>{}));
    EXPECT_EQ(lines, 4 * kRounds);
}

}  // namespace
