#include "tests/frames/recorder.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "lower/tasks/runnable.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"

namespace rz_test {

Recorder& recorder() {
    static Recorder the;
    return the;
}

namespace {

template <class Sample, class Step>
Recorded note(const char* entry, const rz_obl::scan_args<Sample, Step>& args) {
    Recorded r;
    r.entry = entry;
    r.rowCount = args.rowCount;
    r.rowStride = args.rowStride;
    r.slabSteps = args.slabSteps;
    r.spans.assign(args.rowSpans, args.rowSpans + 2 * args.rowCount);
    std::memcpy(r.planeToIndex.data(), args.planeToIndex, sizeof(r.planeToIndex));
    if constexpr (std::is_same_v<Step, int>) {
        std::copy_n(args.columnStep, 3, r.columnStepQ18.begin());
        std::copy_n(args.slabStep, 3, r.slabStepQ18.begin());
    } else {
        std::copy_n(args.columnStep, 3, r.columnStepFloat.begin());
        std::copy_n(args.slabStep, 3, r.slabStepFloat.begin());
    }
    for (int z = -2; z <= recorder().depth + 1; ++z) r.slices.push_back(args.slices[z]);
    r.output = args.output;
    r.sourceWidth = args.sourceWidth;
    r.sourceHeight = args.sourceHeight;
    r.quality = args.quality;
    r.bounds = {args.firstRow, args.lastRow, args.firstColumn, args.lastColumn};
    r.isSigned = args.isSigned;
    r.bitDepth = args.bitDepth;
    return r;
}

bool go_on(Recorded r) {
    if (recorder().atCall != nullptr) recorder().atCall();
    recorder().calls.push_back(std::move(r));
    if (recorder().cancel) {
        recorder().cancel = false;
        throw WKR_CANCEL_EXCEPTION();
    }
    return recorder().callThrough;
}

}  // namespace
}  // namespace rz_test

// The linker's names: __wrap_ for what takes the call, __real_ for what it replaced.
#define RZ_WRAPPED(name, mangled, parameters)               \
    void wrap_##name parameters __asm__("__wrap_" mangled); \
    void real_##name parameters __asm__("__real_" mangled);

using rz_obl::scan_args_16;
using rz_obl::scan_args_32;
using rz_obl::scan_args_8;
using rz_test::go_on;
using rz_test::note;

RZ_WRAPPED(avg_12, "_ZN6rz_obl11scan_avg_12ERKNS_9scan_argsIsiEEPPPKsi",
           (const scan_args_16& args, const short*** fastIndex, int dominantAxis))
RZ_WRAPPED(avg_12_2, "_ZN6rz_obl13scan_avg_12_2ERKNS_9scan_argsIsiEEi",
           (const scan_args_16& args, int dominantAxis))
RZ_WRAPPED(max_12, "_ZN6rz_obl11scan_max_12ERKNS_9scan_argsIsiEEPPPKs",
           (const scan_args_16& args, const short*** fastIndex))
RZ_WRAPPED(min_12, "_ZN6rz_obl11scan_min_12ERKNS_9scan_argsIsiEEPPPKs",
           (const scan_args_16& args, const short*** fastIndex))
RZ_WRAPPED(avg_8bits, "_ZN6rz_obl14scan_avg_8bitsERKNS_9scan_argsIhfEE", (const scan_args_8& args))
RZ_WRAPPED(max_8bits, "_ZN6rz_obl14scan_max_8bitsERKNS_9scan_argsIhfEE", (const scan_args_8& args))
RZ_WRAPPED(min_8bits, "_ZN6rz_obl14scan_min_8bitsERKNS_9scan_argsIhfEE", (const scan_args_8& args))
RZ_WRAPPED(avg_32bits, "_ZN6rz_obl15scan_avg_32bitsERKNS_9scan_argsIjfEEi",
           (const scan_args_32& args, int dominantAxis))

void wrap_avg_12(const scan_args_16& args, const short*** fastIndex, int dominantAxis) {
    auto r = note("scan_avg_12", args);
    r.fastIndex = fastIndex;
    r.dominantAxis = dominantAxis;
    if (go_on(std::move(r))) real_avg_12(args, fastIndex, dominantAxis);
}

void wrap_avg_12_2(const scan_args_16& args, int dominantAxis) {
    auto r = note("scan_avg_12_2", args);
    r.dominantAxis = dominantAxis;
    if (go_on(std::move(r))) real_avg_12_2(args, dominantAxis);
}

void wrap_max_12(const scan_args_16& args, const short*** fastIndex) {
    auto r = note("scan_max_12", args);
    r.fastIndex = fastIndex;
    if (go_on(std::move(r))) real_max_12(args, fastIndex);
}

void wrap_min_12(const scan_args_16& args, const short*** fastIndex) {
    auto r = note("scan_min_12", args);
    r.fastIndex = fastIndex;
    if (go_on(std::move(r))) real_min_12(args, fastIndex);
}

void wrap_avg_8bits(const scan_args_8& args) {
    if (go_on(note("scan_avg_8bits", args))) real_avg_8bits(args);
}

void wrap_max_8bits(const scan_args_8& args) {
    if (go_on(note("scan_max_8bits", args))) real_max_8bits(args);
}

void wrap_min_8bits(const scan_args_8& args) {
    if (go_on(note("scan_min_8bits", args))) real_min_8bits(args);
}

void wrap_avg_32bits(const scan_args_32& args, int dominantAxis) {
    auto r = note("scan_avg_32bits", args);
    r.dominantAxis = dominantAxis;
    if (go_on(std::move(r))) real_avg_32bits(args, dominantAxis);
}
