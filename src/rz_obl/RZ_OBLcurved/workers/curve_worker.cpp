#include "rz_obl/RZ_OBLcurved/workers/curve_worker.h"

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

LineSetup setup_of_column(const curve_worker_args& args, std::ptrdiff_t element) {
    const RZ_3Coord step = rz_obl::transform_direction(args.directions[element], args.toIndex);
    const rz_obl::ThicknessStep thick =
        rz_obl::thickness_step(args.normals[element], *args.volumeBox, args.thickness);
    LineSetup setup;
    setup.halfSamples = rz_obl::low16(thick.halfSamples);
    setup.samples = 2 * setup.halfSamples + 1;
    setup.thickStep = thick.step;
    setup.advance = advance_of(step, setup.samples, thick.step);  // of the step without its limit
    return setup;
}

/// Columns from `from` to `to`; Kernel draws one line.
template <class Type, class Kernel>
void draw_columns(const curve_worker_args& args, const Kernel& kernel) {
    using Sample = typename Type::Sample;
    const WKR_RunnableSelf self;
    LineSetup setup;
    setup.halfSamples = args.halfSamples;
    setup.samples = 2 * args.halfSamples + 1;
    setup.thickStep = args.thickStep;
    setup.advance = advance_of(args.crossStep, setup.samples, args.thickStep);

    const std::ptrdiff_t curveStep = args.transposed ? args.rowStride : 1;
    const std::ptrdiff_t outputStep = args.transposed ? 1 : args.rowStride;
    std::ptrdiff_t lineStart = args.imagePosition * curveStep;
    int checks = 0;
    int nextCheck = args.from;
    for (int c = args.from; c <= args.to; ++c, lineStart += curveStep) {
        if (c == nextCheck) {
            self.Service();
            ++checks;
            nextCheck = (args.to - args.from + 1) * checks / 8 + args.from;
        }
        const rz_obl::SweepSpan span = args.spans[c];
        if (span.first >= span.end) continue;

        const std::ptrdiff_t element = c - args.firstSample;
        if (args.directions != nullptr) setup = setup_of_column(args, element);
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

        line_args line;
        line.rasters = args.rasters;
        line.sourceWidth = args.sourceWidth;
        store(line.position, position);
        line.samples = setup.samples;
        store(line.advance, setup.advance);
        store(line.step, setup.thickStep);
        line.outputStep = outputStep;
        line.total = (static_cast<std::ptrdiff_t>(span.end) - span.first) * outputStep;
        const std::ptrdiff_t first = (static_cast<std::ptrdiff_t>(args.rowShift) + span.first) * outputStep;
        kernel(line, static_cast<Sample*>(args.raster) + (lineStart + first + line.total));
    }
}

}  // namespace

void rz_obl::curve_avg_8(const curve_worker_args& args) {
    draw_columns<Byte>(args, line_avg<Byte>);
}

void rz_obl::curve_avg_16(const curve_worker_args& args) {
    draw_columns<Word>(args, line_avg<Word>);
}

void rz_obl::curve_max_8(const curve_worker_args& args) {
    draw_columns<Byte>(args, line_extreme<Byte, Greater>);
}

void rz_obl::curve_max_16(const curve_worker_args& args) {
    draw_columns<Word>(args, line_extreme<Word, Greater>);
}

void rz_obl::curve_min_8(const curve_worker_args& args) {
    draw_columns<Byte>(args, line_extreme<Byte, Less>);
}

void rz_obl::curve_min_16(const curve_worker_args& args) {
    draw_columns<Word>(args, line_extreme<Word, Less>);
}
