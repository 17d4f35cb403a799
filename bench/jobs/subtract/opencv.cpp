#include <array>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "bench/harness/peers_opencv.h"
#include "bench/jobs/subtract/subtract.h"

namespace rz_bench {
namespace {

struct State {
    cv::Mat minuend;
    cv::Mat subtrahend;
    cv::Mat shifted;
    std::array<cv::Mat, 2> output;
};

// Mean of slices first to first + 19, row by row, so that the sums stay in the nearest cache.
void mean(const Volume& stack, int first, cv::Mat& out) {
    const int type = stack.kind == Kind::kUInt8 ? CV_8U : CV_16U;
    const std::size_t step = stack.sliceSamples() * stack.bytesPerSample();
    auto* const start = static_cast<unsigned char*>(stack.block()) + static_cast<std::size_t>(first) * step;
    for (int y = 0; y < out.rows; ++y) {
        const std::size_t row =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(out.cols) * stack.bytesPerSample();
        cv::Mat sums = out.row(y);
        cv::reduce(cv::Mat(kRange, out.cols, type, start + row, step), sums, 0, cv::REDUCE_AVG, CV_32F);
    }
}

}  // namespace

Contender subtract_opencv(Volume& stack, Shift shift) {
    const auto state = std::make_shared<State>();
    const bool bytes = stack.kind == Kind::kUInt8;
    for (cv::Mat* mat : {&state->minuend, &state->subtrahend})
        mat->create(stack.size[1], stack.size[0], CV_32F);
    for (cv::Mat& mat : state->output) mat.create(stack.size[1], stack.size[0], bytes ? CV_8U : CV_16U);
    cv::setNumThreads(1);

    Contender opencv;
    opencv.name = opencv_name();
    opencv.run = [&stack, state, shift, bytes](int buffer) {
        mean(stack, kMinuend, state->minuend);
        mean(stack, kSubtrahend, state->subtrahend);
        const cv::Mat* what = &state->subtrahend;
        if (shift.samples != 0.0F) {
            // half a sample: the mean of four neighbours
            cv::boxFilter(state->subtrahend, state->shifted, CV_32F, cv::Size(2, 2), cv::Point(0, 0), true,
                          cv::BORDER_REPLICATE);
            what = &state->shifted;
        }
        cv::subtract(state->minuend, *what, state->minuend);
        const double most = bytes ? 255.0 : 4095.0;
        cv::Mat& out = state->output[static_cast<std::size_t>(buffer)];
        state->minuend.convertTo(out, out.type(), 1.0, bytes ? kOffset8 : kOffset16);
        if (!bytes) cv::min(out, most, out);
    };
    opencv.picture = [state, bytes](int buffer) {
        const cv::Mat& out = state->output[static_cast<std::size_t>(buffer)];
        if (bytes) return Picture(out.begin<unsigned char>(), out.end<unsigned char>());
        return Picture(out.begin<unsigned short>(), out.end<unsigned short>());
    };
    opencv.refresh = [&stack] { stack.refreshBlock(); };
    return opencv;
}

}  // namespace rz_bench
