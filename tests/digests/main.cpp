#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

#include "lower/log/log.h"
#include "rz_obl/RZ_OBLplanar/kernels/cubic/scan_cubic.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rendition.h"
#include "tests/digests/digest.h"
#include "tests/support/scan_case.h"

namespace rz_digests {

void print_line(const char* name, const Digest& digest) {
    std::printf("%-42s %016" PRIx64 "\n", name, digest.value());
    std::fflush(stdout);
}

namespace {

void print_text(const Jrn_LogRecord& record, void*) {
    std::puts(record.text);
}

/// The log line of a cubic request: it names the kernel that this processor gets.
void print_choice() {
    rz_obl::build_weight_table(rz_obl::g_cubicWeightTable);
    auto c = rz_test::blank_scan_case<rz_test::ScanCase16>(9, 9, 5, 4, 5);
    c.quality = static_cast<int>(RZ_OBL_RenditionQuality::Cubic);
    JrnGLog.SetThreshold(7);
    JrnGLog.SetSink(print_text, nullptr);
    rz_test::run([](const auto& args) { rz_obl::scan_avg_12_2(args, 2); }, c);
}

constexpr char kUsage[] =
    "digests narrow|wide   one line per kernel and job; of kernels that have two forms, the one named\n"
    "digests choice        which cubic kernel this processor gets\n"
    "digests wide_anyway   runs a wide kernel without looking at the processor\n";

}  // namespace
}  // namespace rz_digests

int main(int argc, char** argv) {
    using namespace rz_digests;
    const std::string what = argc == 2 ? argv[1] : "";
    if (what == "choice") {
        print_choice();
        return 0;
    }
    if (what == "wide_anyway") {
        kernel_digests(Forms::kWide);
        return 0;
    }
    if (what != "narrow" && what != "wide") {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (what == "wide" && !rz_obl::g_cpuFeatures.hasAvx2()) {
        std::fputs("digests: this processor has no AVX2\n", stderr);
        return 3;
    }
    JrnGLog.SetThreshold(-1);  // refused requests are part of the cases
    const Forms forms = what == "wide" ? Forms::kWide : Forms::kNarrow;
    kernel_digests(forms);
    planar_digests();
    curved_digests();
    slab_digests(forms);
    service_digests();
    geometry_digests();
    return 0;
}
