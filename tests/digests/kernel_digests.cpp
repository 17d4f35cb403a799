#include "rz_obl/RZ_OBLplanar/kernels/bits32/scan_32bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/linear/scan_linear.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_max_min.h"
#include "rz_obl/RZ_OBLplanar/kernels/max_min/scan_nearest.h"
#include "rz_obl/RZ_OBLplanar/kernels/semicubic/scan_semicubic.h"
#include "rz_obl/RZ_OBLplanar/kernels/tricubic/scan_tricubic.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/digests/digest.h"
#include "tests/support/scan_case.h"

namespace rz_digests {
namespace {

using namespace rz_test;
using rz_obl::scan_args_16;

constexpr int kCases = 1200;

template <class Sample, class Step>
void add(Digest& digest, const Outcome<Sample, Step>& o) {
    digest.add(o.output.data(), o.output.size());
    digest.add(o.bounds.data(), o.bounds.size());
    digest.add(o.columnStep.data(), o.columnStep.size());
    digest.add(o.slabStep.data(), o.slabStep.size());
    digest.add(o.output.fencesIntact());
}

/// kernel(case, args) on each case; change(case) comes before.
template <class Case, class Change, class Kernel>
void digest_of(const char* name, const ScanOptions& options, Change change, Kernel kernel) {
    Digest digest;
    for (Seed seed = 1; seed <= kCases; ++seed) {
        auto c = make_scan_case<Case>(seed, options);
        change(c);
        add(digest, run([&](const auto& args) { kernel(c, args); }, c));
    }
    print_line(name, digest);
}

template <class Case>
void digest_of(const char* name, const ScanOptions& options,
               void (*kernel)(const rz_obl::scan_args<std::decay_t<decltype(*Case().slices()[0])>,
                                                      std::decay_t<decltype(Case().columnStep[0])>>&)) {
    const auto unchanged = [](Case&) {};
    digest_of<Case>(name, options, unchanged, [=](const Case&, const auto& args) { kernel(args); });
}

ScanOptions anywhere() {
    ScanOptions options;
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.maxSlabSteps = 12;
    return options;
}

void linear(bool wide) {
    ScanOptions options;
    options.negativeSlabStep = true;
    digest_of<ScanCase16>("scan_linear", options, wide ? rz_obl::scan_linear_avx2 : rz_obl::scan_linear);
    options.reach = Reach::kInRaster;
    digest_of<ScanCase16>("scan_linear/run_over", options,
                          wide ? rz_obl::scan_linear_avx2 : rz_obl::scan_linear);
}

void cubic(bool wide) {
    const auto kernel = wide ? rz_obl::scan_cubic_avx2 : rz_obl::scan_cubic_sse;
    digest_of<ScanCase16>("scan_cubic", anywhere(), kernel);
    rz_obl::OvershootClamp = true;
    digest_of<ScanCase16>("scan_cubic/overshoot_clamp", anywhere(), kernel);
    rz_obl::OvershootClamp = false;
}

void semicubic_and_tricubic(bool wide) {
    const auto shifted = [](ScanCase16& c) { c.quality = c.seed % 2 == 0 ? 3 : 2; };
    const auto digest = [&](const char* name, void (*kernel)(const scan_args_16&)) {
        digest_of<ScanCase16>(name, anywhere(), shifted,
                              [=](const ScanCase16&, const scan_args_16& args) { kernel(args); });
    };
    digest("scan_semicubic_x", wide ? rz_obl::scan_semicubic_x_avx2 : rz_obl::scan_semicubic_x);
    digest("scan_semicubic_y", wide ? rz_obl::scan_semicubic_y_avx2 : rz_obl::scan_semicubic_y);
    digest("scan_semicubic_z", wide ? rz_obl::scan_semicubic_z_avx2 : rz_obl::scan_semicubic_z);
    digest("scan_tricubic", wide ? rz_obl::scan_tricubic_avx2 : rz_obl::scan_tricubic);
}

void max_min(bool wide) {
    ScanOptions options;
    options.negativeSlabSteps = false;
    const auto unchanged = [](ScanCase16&) {};
    const auto digest = [&](const char* name, void (*kernel)(const scan_args_16&, bool)) {
        digest_of<ScanCase16>(name, options, unchanged, [=](const ScanCase16& c, const scan_args_16& args) {
            kernel(args, c.seed % 5 < 2);
        });
    };
    using namespace rz_obl;
    digest("scan_max_plane_major", wide ? scan_max_plane_major_avx2 : scan_max_plane_major);
    digest("scan_min_plane_major", wide ? scan_min_plane_major_avx2 : scan_min_plane_major);
    digest("scan_max_pixel_major", wide ? scan_max_pixel_major_avx2 : scan_max_pixel_major);
    digest("scan_min_pixel_major", wide ? scan_min_pixel_major_avx2 : scan_min_pixel_major);
    // Nearest leaves out the slab.
    const auto flat = [](ScanCase16& c) { c.slabSteps = 0; };
    options.reach = Reach::kInside;
    Digest nearest;
    for (Seed seed = 1; seed <= kCases; ++seed) {
        auto c = make_scan_case<ScanCase16>(seed, options);
        if (c.slabSteps != 0) continue;
        flat(c);
        add(nearest, run(scan_nearest, c));
    }
    print_line("scan_nearest", nearest);
}

void bits8(bool wide) {
    ScanOptions options;
    options.limitsAbove = true;
    options.reach = Reach::kInRaster;
    digest_of<ScanCase8>("scan_linear_8bits", options,
                         wide ? rz_obl::scan_linear_8bits_avx2 : rz_obl::scan_linear_8bits);
    digest_of<ScanCase8>("scan_max_linear_8bits", options,
                         wide ? rz_obl::scan_max_linear_8bits_avx2 : rz_obl::scan_max_linear_8bits);
    digest_of<ScanCase8>("scan_min_linear_8bits", options,
                         wide ? rz_obl::scan_min_linear_8bits_avx2 : rz_obl::scan_min_linear_8bits);
}

void bits32(bool wide) {
    ScanOptions options;
    options.reach = Reach::kInRaster;
    digest_of<ScanCase32>("scan_linear_32bits", options,
                          wide ? rz_obl::scan_linear_32bits_avx2 : rz_obl::scan_linear_32bits);
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.neighboursBefore = 1;
    options.neighboursBehind = 1;
    digest_of<ScanCase32>("scan_cubic_32bits", options,
                          wide ? rz_obl::scan_cubic_32bits_avx2 : rz_obl::scan_cubic_32bits);
}

void weight_table() {
    using rz_obl::CubicWeightTable;
    Digest digest;
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    digest.add(rz_obl::g_cubicWeightTable.weights, CubicWeightTable::kBytes / sizeof(short));
    print_line("weight_table", digest);
}

}  // namespace

void kernel_digests(Forms forms) {
    const bool wide = forms == Forms::kWide;
    weight_table();
    linear(wide);
    cubic(wide);
    semicubic_and_tricubic(wide);
    max_min(wide);
    bits8(wide);
    bits32(wide);
}

}  // namespace rz_digests
