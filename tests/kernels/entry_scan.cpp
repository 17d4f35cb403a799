#include "tests/kernels/entry_scan.h"

#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/reference/selection.h"
#include "tests/reference/tricubic.h"

namespace rz_test {
namespace {

using rz_obl::scan_args_16;
using rz_obl::scan_args_32;

/// Kernels that leave it to the spans to stay inside.
ScanOptions inside() {
    ScanOptions options;
    options.negativeSlabSteps = false;
    return options;
}

/// Kernels that look at x and y themselves, and at one more slice to each side.
ScanOptions anywhere() {
    ScanOptions options = inside();
    options.reach = Reach::kAnywhere;
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    return options;
}

ScanOptions limited_above() {
    ScanOptions options = inside();
    options.limitsAbove = true;
    return options;
}

/// The cubic kernels of 32-bit pixels read a row and a pixel about the raster.
ScanOptions with_neighbours() {
    ScanOptions options = inside();
    options.slicesBelow = 1;
    options.slicesAbove = 2;
    options.neighboursBefore = 1;
    options.neighboursBehind = 1;
    return options;
}

void tricubic(const scan_args_16& args) {
    rz_obl::ForceTricubic = true;
    rz_obl::scan_avg_12_2(args, 2);
    rz_obl::ForceTricubic = false;
}

void tricubic_reference(const scan_args_16& args) {
    Branches unused;
    if (args.slabStep[0] < 0) {
        for (int k = 0; k < 3; ++k) args.slabStep[k] = -args.slabStep[k];
    }
    rz_reference::scan_tricubic(args, unused);
}

}  // namespace

std::vector<EntryScan<short, int>> entry_scans_16() {
    std::vector<EntryScan<short, int>> all;
    const auto maximum = [](const scan_args_16& a) { rz_obl::scan_max_12(a, nullptr); };
    const auto minimum = [](const scan_args_16& a) { rz_obl::scan_min_12(a, nullptr); };
    const auto wantMaximum = [](const scan_args_16& a) { rz_reference::scan_max_12(a); };
    const auto wantMinimum = [](const scan_args_16& a) { rz_reference::scan_min_12(a); };
    for (const int quality : {4, 1, 0}) {
        const std::string name = ", quality " + std::to_string(quality);
        all.push_back({"maximum" + name, inside(), quality, maximum, wantMaximum});
        all.push_back({"minimum" + name, inside(), quality, minimum, wantMinimum});
    }
    for (const int quality : {4, 3, 2}) {
        for (const int axis : {0, 1, 2}) {
            if (quality == 4 && axis > 0) continue;
            const auto plain = [=](const scan_args_16& a) { rz_obl::scan_avg_12(a, nullptr, axis); };
            const auto wantPlain = [=](const scan_args_16& a) { rz_reference::scan_avg_12(a, axis); };
            const auto projected = [=](const scan_args_16& a) { rz_obl::scan_avg_12_2(a, axis); };
            const auto wantProjected = [=](const scan_args_16& a) { rz_reference::scan_avg_12_2(a, axis); };
            const std::string name =
                ", quality " + std::to_string(quality) + ", axis " + std::to_string(axis);
            // SemiCubic is linear in the plain entry
            if (quality != 2)
                all.push_back(
                    {"mean" + name, quality == 4 ? inside() : anywhere(), quality, plain, wantPlain});
            all.push_back({"projected mean" + name, quality == 4 ? inside() : anywhere(), quality, projected,
                           wantProjected});
        }
    }
    for (const int quality : {2, 3}) {
        const std::string name = "tricubic, quality " + std::to_string(quality);
        all.push_back({name, anywhere(), quality, tricubic, tricubic_reference});
    }
    return all;
}

std::vector<EntryScan<unsigned char, float>> entry_scans_8() {
    return {{"mean of bytes", limited_above(), 4, rz_obl::scan_avg_8bits, rz_reference::scan_avg_8bits},
            {"maximum of bytes", limited_above(), 4, rz_obl::scan_max_8bits, rz_reference::scan_max_8bits},
            {"minimum of bytes", limited_above(), 4, rz_obl::scan_min_8bits, rz_reference::scan_min_8bits}};
}

std::vector<EntryScan<std::uint32_t, float>> entry_scans_32() {
    const auto entry = [](const scan_args_32& a) { rz_obl::scan_avg_32bits(a, 2); };
    return {{"linear pixels", inside(), 4, entry, rz_reference::scan_avg_32bits},
            {"cubic pixels", with_neighbours(), 3, entry, rz_reference::scan_avg_32bits}};
}

}  // namespace rz_test
