#include "rz_obl/RZ_OBLcurved/workers/curve_worker.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLcurved/directions.h"
#include "rz_obl/RZ_OBLcurved/workers/line_kernels.h"

namespace {

using rz_obl::curve_worker_args;
using rz_obl::line_args;

void store(float to[3], const RZ_3Coord& from) {
    to[0] = from.x;
    to[1] = from.y;
    to[2] = from.z;
}

/// Cross step less `samples` thickness steps.
RZ_3Coord advance_of(const RZ_3Coord& crossStep, int samples, const RZ_3Coord& thickStep) {
    const auto n = static_cast<float>(samples);
    return {crossStep.x - n * thickStep.x, crossStep.y - n * thickStep.y, crossStep.z - n * thickStep.z};
}

/// How a line is walked; worked out anew per column where the curve has frames of its own.
struct LineSetup {
    int halfSamples;
    int samples;
    RZ_3Coord thickStep;
    RZ_3Coord advance;
};

LineSetup setup_of_column(const curve_worker_args& args, const rz_obl::ThicknessSteps& steps,
                          std::ptrdiff_t element) {
    const RZ_3Coord step = rz_obl::transform_direction(args.directions[element], args.toIndex);
    const rz_obl::ThicknessStep thick = steps.along(args.normals[element], args.thickness);
    LineSetup setup;
    setup.halfSamples = rz_obl::low16(thick.halfSamples);
    setup.samples = 2 * setup.halfSamples + 1;
    setup.thickStep = thick.step;
    setup.advance = advance_of(step, setup.samples, thick.step);  // of the step without its limit
    return setup;
}

/// The line of a column: where it starts and how it is walked.
line_args line_of_column(const curve_worker_args& args, const LineSetup& setup, std::ptrdiff_t element,
                         rz_obl::SweepSpan span) {
    const RZ_3Coord& step = args.directions != nullptr ? args.directions[element] : args.sweepStep;
    RZ_3Coord position = rz_obl::moved(args.points[element], static_cast<float>(span.first), step);
    RZ_vectrans(position, args.toIndex);
    if (setup.halfSamples > 0) {
        const auto half = static_cast<float>(setup.halfSamples);
        position.x = position.x - half * setup.thickStep.x;
        position.y = position.y - half * setup.thickStep.y;
        position.z = position.z - half * setup.thickStep.z;
    }
    if (0.0F > position.x) position.x = 0.0F;
    if (0.0F > position.y) position.y = 0.0F;

    line_args line{};
    line.rasters = args.rasters;
    line.sourceWidth = args.sourceWidth;
    store(line.position, position);
    line.samples = setup.samples;
    store(line.advance, setup.advance);
    store(line.step, setup.thickStep);
    line.first = span.first;
    line.outputStep = args.transposed ? 1 : args.rowStride;
    line.total = (static_cast<std::ptrdiff_t>(span.end) - span.first) * line.outputStep;
    return line;
}

/// Lines that wait to be drawn together. A raster may be narrower than its image, so that pixels of different
/// columns fall on one place: such lines are never drawn together, since the later column wins.
template <class Sample>
class PendingLines {
  public:
    PendingLines(const curve_worker_args& args, rz_obl::line_group draw, int atOnce)
        : transposed_(args.transposed),
          stride_(std::abs(std::int64_t{args.rowStride})),
          draw_(draw),
          atOnce_(atOnce) {}

    void add(const line_args& line, int column, rz_obl::SweepSpan span, Sample* outputEnd) {
        // along a row the extent of a line counts, down a column the distance of lines
        const std::int64_t begin = transposed_ ? span.first : column;
        const std::int64_t end = transposed_ ? span.end : std::int64_t{column} + 1;
        if (count_ > 0 && std::max(end_, end) - std::min(begin_, begin) > stride_) flush();
        begin_ = count_ == 0 ? begin : std::min(begin_, begin);
        end_ = count_ == 0 ? end : std::max(end_, end);
        lines_[count_] = line;
        outputEnds_[count_] = outputEnd;
        if (++count_ == atOnce_) flush();
    }

    void flush() {
        if (count_ > 0) draw_(lines_, outputEnds_, count_);
        count_ = 0;
    }

  private:
    bool transposed_;
    std::int64_t stride_;
    rz_obl::line_group draw_;
    int atOnce_;
    int count_ = 0;
    std::int64_t begin_ = 0;
    std::int64_t end_ = 0;
    line_args lines_[rz_obl::kMostLines];
    void* outputEnds_[rz_obl::kMostLines];
};

/// Columns from `from` to `to`, up to `atOnce` lines at a time.
template <class Sample>
void draw_columns(const curve_worker_args& args, rz_obl::line_group draw, int atOnce) {
    const WKR_RunnableSelf self;
    LineSetup setup;
    setup.halfSamples = args.halfSamples;
    setup.samples = 2 * args.halfSamples + 1;
    setup.thickStep = args.thickStep;
    setup.advance = advance_of(args.crossStep, setup.samples, args.thickStep);

    const rz_obl::ThicknessSteps steps(*args.volumeBox);
    PendingLines<Sample> pending(args, draw, atOnce);
    const std::ptrdiff_t curveStep = args.transposed ? args.rowStride : 1;
    const std::ptrdiff_t outputStep = args.transposed ? 1 : args.rowStride;
    std::ptrdiff_t lineStart = args.imagePosition * curveStep;
    int checks = 0;
    int nextCheck = args.from;
    for (int c = args.from; c <= args.to; ++c, lineStart += curveStep) {
        if (c == nextCheck) {
            pending.flush();  // columns before a cancelled one are drawn
            self.Service();
            ++checks;
            nextCheck = (args.to - args.from + 1) * checks / 8 + args.from;
        }
        const rz_obl::SweepSpan span = args.spans[c];
        if (span.first >= span.end) continue;

        const std::ptrdiff_t element = c - args.firstSample;
        if (args.directions != nullptr) setup = setup_of_column(args, steps, element);
        const line_args line = line_of_column(args, setup, element, span);
        const std::ptrdiff_t first = (static_cast<std::ptrdiff_t>(args.rowShift) + span.first) * outputStep;
        pending.add(line, c, span, static_cast<Sample*>(args.raster) + (lineStart + first + line.total));
    }
    pending.flush();
}

/// One line at a time.
template <class Type, void (*Line)(const line_args&, typename Type::Sample*)>
void draw_singly(const line_args* lines, void* const* outputEnds, int count) {
    for (int i = 0; i < count; ++i) Line(lines[i], static_cast<typename Type::Sample*>(outputEnds[i]));
}

template <class Type, void (*Line)(const line_args&, typename Type::Sample*)>
void draw_narrow(const curve_worker_args& args) {
    draw_columns<typename Type::Sample>(args, draw_singly<Type, Line>, 1);
}

template <class Type>
void draw_wide(const curve_worker_args& args, rz_obl::line_group draw) {
    draw_columns<typename Type::Sample>(args, draw, rz_obl::kMostLines);
}

}  // namespace

void rz_obl::curve_avg_8(const curve_worker_args& args) {
    draw_narrow<Byte, line_avg<Byte>>(args);
}

void rz_obl::curve_avg_16(const curve_worker_args& args) {
    draw_narrow<Word, line_avg<Word>>(args);
}

void rz_obl::curve_max_8(const curve_worker_args& args) {
    draw_narrow<Byte, line_extreme<Byte, Greater>>(args);
}

void rz_obl::curve_max_16(const curve_worker_args& args) {
    draw_narrow<Word, line_extreme<Word, Greater>>(args);
}

void rz_obl::curve_min_8(const curve_worker_args& args) {
    draw_narrow<Byte, line_extreme<Byte, Less>>(args);
}

void rz_obl::curve_min_16(const curve_worker_args& args) {
    draw_narrow<Word, line_extreme<Word, Less>>(args);
}

void rz_obl::curve_avg_8_avx2(const curve_worker_args& args) {
    draw_wide<Byte>(args, lines_avg_8_avx2);
}

void rz_obl::curve_avg_16_avx2(const curve_worker_args& args) {
    draw_wide<Word>(args, lines_avg_16_avx2);
}

void rz_obl::curve_max_8_avx2(const curve_worker_args& args) {
    draw_wide<Byte>(args, lines_max_8_avx2);
}

void rz_obl::curve_max_16_avx2(const curve_worker_args& args) {
    draw_wide<Word>(args, lines_max_16_avx2);
}

void rz_obl::curve_min_8_avx2(const curve_worker_args& args) {
    draw_wide<Byte>(args, lines_min_8_avx2);
}

void rz_obl::curve_min_16_avx2(const curve_worker_args& args) {
    draw_wide<Word>(args, lines_min_16_avx2);
}
