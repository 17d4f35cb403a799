#pragma once

#include <functional>
#include <string>
#include <vector>

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "tests/support/scan_case.h"

namespace rz_test {

/// A scan by one of the entries that choose a kernel, whatever form this processor gets, and its plain form.
/// The cases of the options read all that such a scan may read.
template <class Sample, class Step>
struct EntryScan {
    std::string name;
    ScanOptions options;
    int quality;
    std::function<void(const rz_obl::scan_args<Sample, Step>&)> entry;
    std::function<void(const rz_obl::scan_args<Sample, Step>&)> reference;
};

/// Every entry with every quality and axis that it tells apart. Those of quality 3 need the weight table.
std::vector<EntryScan<short, int>> entry_scans_16();
std::vector<EntryScan<unsigned char, float>> entry_scans_8();
std::vector<EntryScan<std::uint32_t, float>> entry_scans_32();

}  // namespace rz_test
