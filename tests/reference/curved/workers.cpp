#include "tests/reference/curved/workers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "tests/reference/curved/prepare.h"

namespace rz_reference {

using rz_test::Branches;

float limited(float component) {
    if (std::fabs(component) < 512.0F) return component;
    return component < 0.0F ? -512.0F : 512.0F;
}

namespace {

struct Position {
    float x;
    float y;
    float z;
};

Position sum(const Position& p, const Position& step) {
    return {p.x + step.x, p.y + step.y, p.z + step.z};
}

Position multiple(float factor, const Position& step) {
    return {factor * step.x, factor * step.y, factor * step.z};
}

Position difference(const Position& p, const Position& q) {
    return {p.x - q.x, p.y - q.y, p.z - q.z};
}

// One line of pixels across the curve.
template <class Sample>
struct Line {
    /// Entry 0 is the raster of slice -1.
    const void* const* rasters;
    int sourceWidth;
    Position position;
    int samples;
    Position advance;
    Position step;
    int outputStep;
    int total;
    Sample* outputEnd;
    Branches* branches;
};

template <class Sample>
float sample_at(const Line<Sample>& line, const Position& p) {
    const int ix = truncated(p.x);
    const int iy = truncated(p.y);
    const int iz = truncated(p.z);
    const float fx = p.x - static_cast<float>(ix);
    const float fy = p.y - static_cast<float>(iy);
    const float fz = p.z - static_cast<float>(iz);
    if (fx < 0.0F || fy < 0.0F) line.branches->met("extrapolated before the first sample of a row or column");
    if (fz < 0.0F) line.branches->met("extrapolated before the first slice");
    const auto* a = static_cast<const Sample*>(line.rasters[iz + 1]);
    const auto* b = static_cast<const Sample*>(line.rasters[iz + 2]);
    const std::ptrdiff_t i = std::ptrdiff_t{iy} * line.sourceWidth + ix;
    const std::ptrdiff_t below = i + line.sourceWidth;
    const auto plane = [&](const Sample* s) {
        const auto s00 = static_cast<float>(s[i]);
        const auto s01 = static_cast<float>(s[i + 1]);
        const auto s10 = static_cast<float>(s[below]);
        const auto s11 = static_cast<float>(s[below + 1]);
        return (s10 * (1.0F - fx) + s11 * fx) * fy + (s01 * fx + s00 * (1.0F - fx)) * (1.0F - fy);
    };
    const float lower = plane(a);
    const float upper = plane(b);
    return lower * (1.0F - fz) + upper * fz;
}

template <class Sample>
Sample rounded(float value, Branches& branches) {
    constexpr auto kLeast = static_cast<float>(std::numeric_limits<Sample>::min());
    constexpr auto kGreatest = static_cast<float>(std::numeric_limits<Sample>::max());
    const float raised = value + 0.5F;
    float v = raised < kLeast ? kLeast : raised;
    if (raised < kLeast) branches.met("limited from below");
    if (!(v < kGreatest)) {
        branches.met("limited from above");
        v = kGreatest;
    }
    return static_cast<Sample>(truncated(v));
}

template <class Sample>
void line_mean(Line<Sample>& line) {
    Position position = line.position;
    for (int o = -line.total; o < 0; o += line.outputStep) {
        float sum_ = 0.0F;
        int count = 0;
        // 16 bits wide and counted down: more than 32767 samples read as none.
        for (short r = low_short(line.samples); r > 0; --r) {
            sum_ = sum_ + sample_at(line, position);
            position = sum(position, line.step);
            ++count;
        }
        position = sum(position, line.advance);
        if (count != 0) sum_ = sum_ / static_cast<float>(count);
        if (count == 0) line.branches->met("mean of nothing");
        line.outputEnd[o] = rounded<Sample>(sum_, *line.branches);
    }
}

template <class Sample>
void line_extreme(Line<Sample>& line, bool maximum) {
    Position position = line.position;
    int best = line.samples;
    for (int o = -line.total; o < 0; o += line.outputStep) {
        if (best != line.samples) line.branches->met("seed at the last extreme's depth");
        const auto depth = static_cast<float>(line.samples - best);
        float m = sample_at(line, sum(position, multiple(depth, line.step)));
        for (int r = line.samples; r >= 1; --r) {
            const float s = sample_at(line, position);
            const bool wins = maximum ? s > m : s < m;
            if (wins) {
                m = s;
                best = r;
            }
            position = sum(position, line.step);
        }
        position = sum(position, line.advance);
        line.outputEnd[o] = rounded<Sample>(m, *line.branches);
    }
}

float largest_of(float a, float b, float c) {
    float m = std::fabs(a);
    if (m < std::fabs(b)) m = std::fabs(b);
    if (m < std::fabs(c)) m = std::fabs(c);
    return m;
}

Position as_position(const RZ_3Coord& c) {
    return {c.x, c.y, c.z};
}

Position limited(const Position& p) {
    return {rz_reference::limited(p.x), rz_reference::limited(p.y), rz_reference::limited(p.z)};
}

template <class Sample>
void curve_worker(const CurveWorkerArguments& w, Combination how, Branches& branches) {
    int halfSamples = w.halfSamples;
    int samples = 2 * halfSamples + 1;
    Position crossStep{w.crossStep[0], w.crossStep[1], w.crossStep[2]};
    Position thickStep{w.thickStep[0], w.thickStep[1], w.thickStep[2]};
    Position advance = difference(crossStep, multiple(static_cast<float>(samples), thickStep));
    const int curveStep = w.transposed ? w.rowStride : 1;
    const int outputStep = w.transposed ? 1 : w.rowStride;
    Sample* line = static_cast<Sample*>(w.raster) + std::ptrdiff_t{w.imagePosition} * curveStep;
    int checks = 0;
    int nextCheck = w.from;
    int least = -1;
    for (int c = w.from; c <= w.to; ++c, line += curveStep) {
        if (c == nextCheck) {
            if (w.services != nullptr) w.services->push_back(c);
            checks = checks + 1;
            nextCheck = (w.to - w.from + 1) * checks / 8 + w.from;
        }
        const auto at = static_cast<std::size_t>(c - w.firstSample);
        const int first = w.spans[at].first;
        const int end = w.spans[at].end;
        if (first >= end) {
            branches.met("column without a span");
            continue;
        }
        RZ_3Coord position;
        if (w.directions != nullptr) {
            const Position i = as_position(direction_through(w.directions[at], w.physicalToIndex));
            float toNorm[4][4];
            w.volumeBox->params.GetNormTrans(toNorm);
            RZ_3Coord n = w.normals[at];
            const RZ_3Coord v = direction_through(n, toNorm);
            const float a = static_cast<float>(w.volumeBox->xDim) * v.x;
            const float b = static_cast<float>(w.volumeBox->yDim) * v.y;
            const float e = static_cast<float>(w.volumeBox->zDim) * v.z;
            const float m = largest_of(a, b, e);
            const float scale = 1.0F / m;
            n.x = n.x * scale;
            n.y = n.y * scale;
            n.z = n.z * scale;
            const float length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
            halfSamples = low_short(truncated(std::floor(w.thickness / length)));
            samples = 2 * halfSamples + 1;
            thickStep = limited(Position{a / m, b / m, e / m});
            crossStep = limited(i);
            if (0.0F > thickStep.x) {
                branches.met("thickness step turned round");
                thickStep = {-thickStep.x, -thickStep.y, -thickStep.z};
            }
            advance = difference(i, multiple(static_cast<float>(samples), thickStep));
            const auto f = static_cast<float>(first);
            position.x = w.points[at].x + f * w.directions[at].x;
            position.y = w.points[at].y + f * w.directions[at].y;
            position.z = w.points[at].z + f * w.directions[at].z;
            if (least != -1 && least != halfSamples) branches.met("thickness in samples differs by column");
            least = halfSamples;
            if (!std::isfinite(length)) branches.met("no normal");
        } else {
            branches.met("column set up by the frame");
            const auto f = static_cast<float>(first);
            position.x = w.points[at].x + f * w.d.x;
            position.y = w.points[at].y + f * w.d.y;
            position.z = w.points[at].z + f * w.d.z;
        }
        RZ_vectrans(position, w.physicalToIndex);
        if (halfSamples > 0) {
            branches.met("several samples along the thickness");
            const auto h = static_cast<float>(halfSamples);
            position.x = position.x - h * thickStep.x;
            position.y = position.y - h * thickStep.y;
            position.z = position.z - h * thickStep.z;
        } else if (w.thickness > 0.0F) {
            branches.met("thickness below one step");
        }
        if (0.0F > position.x) {
            branches.met("start limited in x");
            position.x = 0.0F;
        }
        if (0.0F > position.y) {
            branches.met("start limited in y");
            position.y = 0.0F;
        }
        const int total = (end - first) * outputStep;
        Sample* outputEnd = line + std::ptrdiff_t{w.rowShift + first} * outputStep + total;
        Line<Sample> kernel{
            w.rasters, w.sourceWidth, as_position(position), samples, advance, thickStep, outputStep, total,
            outputEnd, &branches};
        branches.met("column drawn");
        if (how == Combination::kMean) line_mean(kernel);
        if (how == Combination::kMaximum) line_extreme(kernel, true);
        if (how == Combination::kMinimum) line_extreme(kernel, false);
    }
}

}  // namespace

void curve_worker_8(const CurveWorkerArguments& arguments, Combination how, Branches& branches) {
    curve_worker<std::uint8_t>(arguments, how, branches);
}

void curve_worker_16(const CurveWorkerArguments& arguments, Combination how, Branches& branches) {
    curve_worker<std::int16_t>(arguments, how, branches);
}

}  // namespace rz_reference
