#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <opencv2/core.hpp>

#include "bench/harness/peers_opencv.h"
#include "bench/jobs/planar/planar.h"

namespace rz_bench {
namespace {

// The samples of a slab on the grid, as first index and count along each source axis.
struct Region {
    std::array<int, 3> first;
    std::array<int, 3> count;
};

Region region_of(const Volume& volume, const PlanarRequest& request) {
    const auto start = request.firstIndex(volume);
    const auto steps = request.indexSteps(volume);
    const int counts[3] = {request.width, request.height, request.planes};
    Region region{};
    for (std::size_t k = 0; k < 3; ++k) {
        double end = start[k];
        int count = 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            end += steps[axis][k] * (counts[axis] - 1);
            if (std::fabs(steps[axis][k]) > 0.5) count = counts[axis];
        }
        region.first[k] = static_cast<int>(std::lround(std::min(start[k], end)));
        region.count[k] = count;
    }
    return region;
}

int reduction(RZ_OBL_RenditionType type) {
    if (type == RZ_OBL_RenditionType::Maximum) return cv::REDUCE_MAX;
    if (type == RZ_OBL_RenditionType::Minimum) return cv::REDUCE_MIN;
    return cv::REDUCE_AVG;
}

// A matrix over samples of the block: rows and columns a fixed number of samples apart.
cv::Mat window(const Volume& volume, const std::array<int, 3>& first, int rows, int columns,
               std::size_t rowStep) {
    const auto nx = static_cast<std::size_t>(volume.size[0]);
    const auto ny = static_cast<std::size_t>(volume.size[1]);
    const std::size_t offset =
        (static_cast<std::size_t>(first[2]) * ny + static_cast<std::size_t>(first[1])) * nx +
        static_cast<std::size_t>(first[0]);
    return cv::Mat(rows, columns, CV_16S, static_cast<short*>(volume.block()) + offset,
                   rowStep * sizeof(short));
}

void axial_slab(const Volume& volume, const Region& r, RZ_OBL_RenditionType type, cv::Mat& out,
                cv::Mat& sums) {
    const auto nx = static_cast<std::size_t>(volume.size[0]);
    if (type == RZ_OBL_RenditionType::Average) {
        // row by row, so that the sums stay in the nearest cache
        for (int y = 0; y < r.count[1]; ++y) {
            const cv::Mat stack = window(volume, {r.first[0], r.first[1] + y, r.first[2]}, r.count[2],
                                         r.count[0], volume.sliceSamples());
            cv::reduce(stack, sums, 0, cv::REDUCE_AVG, CV_32F);
            sums.convertTo(out.row(y), CV_16S);
        }
        return;
    }
    // bands of rows that stay in the second cache
    constexpr int kBand = 64;
    for (int y = 0; y < r.count[1]; y += kBand) {
        const int rows = std::min(kBand, r.count[1] - y);
        cv::Mat band = out.rowRange(y, y + rows);
        for (int z = 0; z < r.count[2]; ++z) {
            const cv::Mat slice =
                window(volume, {r.first[0], r.first[1] + y, r.first[2] + z}, rows, r.count[0], nx);
            if (z == 0) {
                slice.copyTo(band);
            } else if (type == RZ_OBL_RenditionType::Maximum) {
                cv::max(band, slice, band);
            } else {
                cv::min(band, slice, band);
            }
        }
    }
}

// Pictures whose rows are slices: one reduction of a part of each slice.
void upright_slab(const Volume& volume, const Region& r, bool alongX, RZ_OBL_RenditionType type, cv::Mat& out,
                  cv::Mat& reduced) {
    for (int z = 0; z < r.count[2]; ++z) {
        const cv::Mat part = window(volume, {r.first[0], r.first[1], r.first[2] + z}, r.count[1], r.count[0],
                                    static_cast<std::size_t>(volume.size[0]));
        cv::reduce(part, reduced, alongX ? 1 : 0, reduction(type),
                   type == RZ_OBL_RenditionType::Average ? CV_32F : CV_16S);
        cv::Mat row = out.row(z);
        reduced.reshape(1, 1).convertTo(row, CV_16S);
    }
}

}  // namespace

Contender planar_opencv(Volume& volume, const PlanarRequest& request) {
    const Region region = region_of(volume, request);
    const auto out = std::make_shared<std::array<cv::Mat, 2>>();
    for (cv::Mat& mat : *out) mat.create(request.height, request.width, CV_16S);
    const auto scratch = std::make_shared<cv::Mat>();
    cv::setNumThreads(1);

    Contender opencv;
    opencv.name = opencv_name();
    opencv.run = [&volume, request, region, out, scratch](int buffer) {
        cv::Mat& mat = (*out)[static_cast<std::size_t>(buffer)];
        if (region.count[2] == request.planes) {
            axial_slab(volume, region, request.type, mat, *scratch);
        } else {
            upright_slab(volume, region, region.count[0] == request.planes, request.type, mat, *scratch);
        }
    };
    opencv.picture = [out](int buffer) {
        const cv::Mat& mat = (*out)[static_cast<std::size_t>(buffer)];
        return Picture(mat.begin<short>(), mat.end<short>());
    };
    opencv.refresh = [&volume] { volume.refreshBlock(); };
    return opencv;
}

}  // namespace rz_bench
