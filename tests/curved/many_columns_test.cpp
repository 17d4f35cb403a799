#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "lower/definitions/matrix.h"
#include "rz_obl/RZ_OBLcurved/workers/curve_worker.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/curved/workers.h"
#include "tests/support/rasters.h"

// Curve workers on hundreds of columns with long lines and thick slabs, so that wide workers have whole
// groups of lines, and all kinds of incomplete ones. Both forms against the plain one.

namespace {

using namespace rz_test;
using rz_reference::Combination;

constexpr int kDims[3] = {61, 47, 53};
constexpr float kSpacing[3] = {1.0F, 1.25F, 0.5F};

float& part(RZ_3Coord& coord, int k) {
    return static_cast<float*>(coord)[k];
}

float part(const RZ_3Coord& coord, int k) {
    return static_cast<const float*>(coord)[k];
}

RZ_3Coord any_direction(Random& random) {
    RZ_3Coord d;
    d.x = random.real(-1.0F, 1.0F);
    d.y = random.real(-1.0F, 1.0F);
    d.z = random.real(-1.0F, 1.0F);
    if (random.once_in(3)) part(d, random.between(0, 2)) = 3.0F;
    d.Normalize();
    return d;
}

RZ_3Coord nearly(Random& random, const RZ_3Coord& direction, float noise) {
    RZ_3Coord d = direction;
    for (float* k : {&d.x, &d.y, &d.z}) *k += random.real(-noise, noise);
    return d;
}

/// Whether a slab of `half` samples on each side of an index position lies among the samples.
bool holds(const double p[3], const double through[3], int half) {
    for (int k = 0; k < 3; ++k) {
        const double reach = (half + 0.5) * std::fabs(through[k]);
        if (p[k] - reach < 0.03 || p[k] + reach > kDims[k] - 1.03) return false;
    }
    return true;
}

RZ_Box volume_box() {
    const double start[3] = {0.0, 0.0, 0.0};
    double sides[3][3] = {};
    for (int k = 0; k < 3; ++k) sides[k][k] = static_cast<double>(kSpacing[k]) * kDims[k];
    return RZ_Box(kDims[0], kDims[1], kDims[2], RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

template <class Sample>
class ManyColumns {
  public:
    explicit ManyColumns(Random& random, Branches& branches) : box_(volume_box()) {
        const int bits = std::is_same_v<Sample, std::int16_t> ? random.pick({12, 16}) : 8;
        const std::size_t samples = static_cast<std::size_t>(kDims[0]) * static_cast<std::size_t>(kDims[1]);
        for (int z = 0; z < kDims[2]; ++z) {
            rasters_.push_back(
                std::make_unique<SourceRaster<Sample>>(samples, Readable{}, static_cast<Seed>(z + 1)));
            fill_nasty(random, rasters_.back()->data(), samples, std::is_same_v<Sample, std::int16_t>, bits);
        }
        table_.push_back(rasters_.front()->data());
        for (const auto& raster : rasters_) table_.push_back(raster->data());
        table_.push_back(rasters_.back()->data());
        RZ_Midnt(toIndex_);
        for (int k = 0; k < 3; ++k) toIndex_[k][k] = 1.0F / kSpacing[k];

        localFrames_ = !random.once_in(3);
        thickness_ = random.pick({0.0F, 0.0F, 0.3F, 1.5F, 4.0F, 11.0F, 20.0F});
        columns_ = random.pick({random.between(1, 40), random.between(60, 300), 128, 600});
        firstSample_ = random.between(0, 5);
        ragged_ = random.pick({0, 1, 30});
        step_ = any_direction(random);
        const float pixel = random.pick({0.11F, 0.3F, 0.8F});
        step_ *= pixel;
        normal_ = any_direction(random);
        float point[3];
        for (int k = 0; k < 3; ++k) point[k] = kSpacing[k] * static_cast<float>(kDims[k]) * 0.5F;
        for (int c = 0; c < columns_; ++c) {
            for (float& k : point) k += random.real(-0.05F, 0.05F);
            add_column(random, RZ_3Coord(point), pixel);
        }
        place(random);
        note(branches);
    }

    std::string compare(Combination how, void (*worker)(const rz_obl::curve_worker_args&),
                        Branches& branches) const {
        Fenced<Sample> want(rasterSamples_, 5);
        Fenced<Sample> got(rasterSamples_, 5);
        rz_reference::CurveWorkerArguments plain{};
        plain.rowStride = rowStride_;
        plain.halfSamples = frameHalf_;
        plain.spans = spans_.data();
        std::copy_n(&toIndex_[0][0], 16, &plain.physicalToIndex[0][0]);
        rz_obl::curve_worker_args args{};
        for (int k = 0; k < 3; ++k) {
            plain.crossStep[k] = part(frameCross_, k);
            plain.thickStep[k] = part(frameThick_, k);
        }
        plain.rasters = table_.data();
        plain.raster = want.data();
        plain.sourceWidth = kDims[0];
        plain.transposed = transposed_;
        plain.firstSample = firstSample_;
        plain.points = points_.data();
        plain.d = step_;
        plain.from = static_cast<short>(firstSample_);
        plain.to = static_cast<short>(firstSample_ + columns_ - 1);
        plain.rowShift = static_cast<short>(-least_);
        plain.directions = localFrames_ ? directions_.data() : nullptr;
        plain.normals = normals_.data();
        plain.thickness = thickness_;
        plain.volumeBox = &box_;
        if constexpr (std::is_same_v<Sample, std::int16_t>) {
            rz_reference::curve_worker_16(plain, how, branches);
        } else {
            rz_reference::curve_worker_8(plain, how, branches);
        }
        std::vector<rz_obl::SweepSpan> spans(static_cast<std::size_t>(firstSample_));
        for (const auto& span : spans_) spans.push_back({span.first, span.end});
        args.rowStride = rowStride_;
        args.halfSamples = frameHalf_;
        args.spans = spans.data();
        args.toIndex = toIndex_;
        args.crossStep = frameCross_;
        args.thickStep = frameThick_;
        args.rasters = table_.data() + 1;
        args.raster = got.data();
        args.sourceWidth = kDims[0];
        args.transposed = transposed_;
        args.points = points_.data();
        args.sweepStep = step_;
        args.from = plain.from;
        args.to = plain.to;
        args.rowShift = plain.rowShift;
        args.directions = plain.directions;
        args.normals = normals_.data();
        args.firstSample = firstSample_;
        args.thickness = thickness_;
        args.volumeBox = &box_;
        worker(args);
        if (!got.fencesIntact()) return "a fence";
        for (std::size_t i = 0; i < rasterSamples_; ++i) {
            if (want.data()[i] == got.data()[i]) continue;
            return "pixel " + std::to_string(i) + " of rows of " + std::to_string(rowStride_) + ": want " +
                   std::to_string(want.data()[i]) + ", got " + std::to_string(got.data()[i]);
        }
        return "";
    }

  private:
    void add_column(Random& random, const RZ_3Coord& point, float pixel) {
        RZ_3Coord direction = step_;
        RZ_3Coord normal = normal_;
        if (localFrames_) {
            direction = nearly(random, step_, 0.05F * pixel);
            normal = nearly(random, normal_, turning_);
            normal.Normalize();
        }
        double through[3];
        double longest = 0.0;
        for (int k = 0; k < 3; ++k) {
            through[k] = static_cast<double>(part(normal, k)) / static_cast<double>(kSpacing[k]);
            longest = std::max(longest, std::fabs(through[k]));
        }
        for (double& k : through) k /= longest;
        const int half = static_cast<int>(static_cast<double>(thickness_) * longest + 0.01);
        const auto inside = [&](int j) {
            double p[3];
            for (int k = 0; k < 3; ++k) {
                p[k] = (static_cast<double>(part(point, k)) + j * static_cast<double>(part(direction, k))) /
                       static_cast<double>(kSpacing[k]);
            }
            return holds(p, through, half);
        };
        rz_reference::SweepSpan span{0, 0};
        while (span.end < 400 && inside(span.end)) ++span.end;
        while (span.first > -400 && span.end > 0 && inside(span.first - 1)) --span.first;
        span.first += random.between(0, ragged_);
        span.end -= random.between(0, ragged_);
        if (random.once_in(40)) span.end = span.first;
        points_.push_back(point);
        directions_.push_back(direction);
        normals_.push_back(normal);
        spans_.push_back(span);
        if (span.first >= span.end) return;
        least_ = std::min(least_, span.first);
        greatest_ = std::max(greatest_, span.end);
        halves_.push_back(static_cast<int>(std::floor(static_cast<double>(thickness_) * longest)));
    }

    void place(Random& random) {
        transposed_ = random.once_in(2);
        if (least_ > greatest_) least_ = greatest_ = 0;
        const int lines = std::max(columns_, 1);
        const int extent = std::max(greatest_ - least_, 1);
        rowStride_ = (transposed_ ? extent : lines) + random.pick({0, 0, 7});
        rasterSamples_ =
            static_cast<std::size_t>(rowStride_) * static_cast<std::size_t>(transposed_ ? lines : extent);
        // as the frame sets the lines up where no column has a frame of its own
        double longest = 0.0;
        for (int k = 0; k < 3; ++k) {
            part(frameCross_, k) = part(step_, k) / kSpacing[k];
            part(frameThick_, k) = part(normal_, k) / kSpacing[k];
            longest = std::max(longest, std::fabs(static_cast<double>(part(frameThick_, k))));
        }
        frameThick_ *= static_cast<float>(1.0 / longest);
        frameHalf_ = static_cast<int>(static_cast<double>(thickness_) * longest);
    }

    void note(Branches& branches) const {
        branches.met(localFrames_ ? "frames of their own" : "one frame");
        branches.met(transposed_ ? "lines along rows" : "lines down columns");
        if (columns_ > 512) branches.met("more than 64 columns between two checks");
        if (greatest_ - least_ > 64) branches.met("lines longer than 64");
        if (ragged_ > 0) branches.met("ragged lines");
        if (halves_.empty()) return;
        const auto ends = std::minmax_element(halves_.begin(), halves_.end());
        if (localFrames_ && *ends.first != *ends.second) branches.met("numbers of samples differ");
        if (*ends.second >= 8) branches.met("more than 16 samples");
        if (*ends.first >= 1 && *ends.second < 8) branches.met("up to 16 samples");
        if (*ends.second == 0) branches.met("one sample");
    }

    RZ_Box box_;
    std::vector<std::unique_ptr<SourceRaster<Sample>>> rasters_;
    std::vector<const void*> table_;
    float toIndex_[4][4];
    bool localFrames_;
    bool transposed_ = false;
    float thickness_;
    float turning_ = 0.2F;
    int columns_;
    int firstSample_;
    int ragged_;
    RZ_3Coord step_;
    RZ_3Coord normal_;
    std::vector<RZ_3Coord> points_;
    std::vector<RZ_3Coord> directions_;
    std::vector<RZ_3Coord> normals_;
    std::vector<rz_reference::SweepSpan> spans_;
    std::vector<int> halves_;
    int least_ = std::numeric_limits<int>::max();
    int greatest_ = std::numeric_limits<int>::min();
    int rowStride_ = 0;
    std::size_t rasterSamples_ = 0;
    int frameHalf_ = 0;
    RZ_3Coord frameCross_{0.0F, 0.0F, 0.0F};
    RZ_3Coord frameThick_{0.0F, 0.0F, 0.0F};
};

struct Form {
    Combination how;
    void (*narrow)(const rz_obl::curve_worker_args&);
    void (*wide)(const rz_obl::curve_worker_args&);
};

template <class Sample>
void compare_all(const Form (&forms)[3]) {
    const bool wide = rz_obl::g_cpuFeatures.hasAvx2();
    Branches branches;
    for (const Seed seed : seeds(96)) {
        Random random(seed);
        const ManyColumns<Sample> columns(random, branches);
        const Form& form = forms[seed % 3];
        if (wide) {
            ASSERT_EQ(columns.compare(form.how, form.wide, branches), "") << replay(seed);
        }
        if (seed % 4 == 0) {
            ASSERT_EQ(columns.compare(form.how, form.narrow, branches), "") << replay(seed);
        }
    }
    EXPECT_EQ(
        branches.never_met({"frames of their own", "one frame", "lines along rows", "lines down columns",
                            "more than 64 columns between two checks", "lines longer than 64", "ragged lines",
                            "numbers of samples differ", "more than 16 samples", "up to 16 samples",
                            "one sample", "column without a span", "seed at the last extreme's depth"}),
        "");
    if (!wide) GTEST_SKIP() << "this processor has no AVX2: the wide workers did not run";
}

TEST(ManyColumns, SixteenBits) {
    compare_all<std::int16_t>({{Combination::kMean, rz_obl::curve_avg_16, rz_obl::curve_avg_16_avx2},
                               {Combination::kMaximum, rz_obl::curve_max_16, rz_obl::curve_max_16_avx2},
                               {Combination::kMinimum, rz_obl::curve_min_16, rz_obl::curve_min_16_avx2}});
}

TEST(ManyColumns, EightBits) {
    compare_all<std::uint8_t>({{Combination::kMean, rz_obl::curve_avg_8, rz_obl::curve_avg_8_avx2},
                               {Combination::kMaximum, rz_obl::curve_max_8, rz_obl::curve_max_8_avx2},
                               {Combination::kMinimum, rz_obl::curve_min_8, rz_obl::curve_min_8_avx2}});
}

}  // namespace
