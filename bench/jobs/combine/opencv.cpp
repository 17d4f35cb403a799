#include <algorithm>
#include <array>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/harness/peers_opencv.h"
#include "bench/jobs/combine/combine.h"

namespace rz_bench {
namespace {

struct State {
    std::vector<cv::Mat> slices;
    cv::Mat earlier;
    cv::Mat sums;
    std::array<cv::Mat, 2> output;
};

// A stack of bands of rows: pieces that stay in the second cache.
constexpr int kBand = 64;

void maximum(const State& state, cv::Mat& out) {
    for (int y = 0; y < out.rows; y += kBand) {
        const cv::Range rows(y, std::min(y + kBand, out.rows));
        cv::Mat band = out.rowRange(rows);
        cv::max(state.slices[kFirst].rowRange(rows), state.slices[kFirst + 1].rowRange(rows), band);
        for (std::size_t z = kFirst + 2; z < kFirst + kSlices; ++z)
            cv::max(band, state.slices[z].rowRange(rows), band);
    }
}

void mean(State& state, cv::Mat& out) {
    for (int y = 0; y < out.rows; ++y) {
        const auto step = static_cast<std::size_t>(state.slices[1].data - state.slices[0].data);
        const cv::Mat stack(kSlices, out.cols, CV_16U, state.slices[kFirst].row(y).data, step);
        cv::reduce(stack, state.sums, 0, cv::REDUCE_AVG, CV_32F);
        state.sums.convertTo(out.row(y), CV_16U);
    }
}

void incremental(State& state, cv::Mat& out) {
    state.earlier.convertTo(state.sums, CV_32F, kSlices);
    cv::accumulate(state.slices[kSlices], state.sums);
    cv::subtract(state.sums, state.slices[0], state.sums, cv::noArray(), CV_32F);
    state.sums.convertTo(out, CV_16U, 1.0 / kSlices);
}

}  // namespace

Contender combine_opencv(Volume& stack, Combination how) {
    const auto state = std::make_shared<State>();
    for (int z = 0; z < stack.size[2]; ++z) {
        state->slices.emplace_back(
            stack.size[1], stack.size[0], CV_16U,
            static_cast<unsigned short*>(stack.block()) + static_cast<std::size_t>(z) * stack.sliceSamples());
    }
    for (cv::Mat& out : state->output) out.create(stack.size[1], stack.size[0], CV_16U);
    std::vector<short> earlier = plain_mean(stack, 0);
    cv::Mat(stack.size[1], stack.size[0], CV_16U, earlier.data()).copyTo(state->earlier);
    cv::setNumThreads(1);

    Contender opencv;
    opencv.name = opencv_name();
    opencv.run = [state, how](int buffer) {
        cv::Mat& out = state->output[static_cast<std::size_t>(buffer)];
        if (how == Combination::kMaximum) maximum(*state, out);
        if (how == Combination::kMean) mean(*state, out);
        if (how == Combination::kIncrementalMean) incremental(*state, out);
    };
    opencv.picture = [state](int buffer) {
        const cv::Mat& out = state->output[static_cast<std::size_t>(buffer)];
        return Picture(out.begin<unsigned short>(), out.end<unsigned short>());
    };
    opencv.refresh = [&stack] { stack.refreshBlock(); };
    return opencv;
}

}  // namespace rz_bench
