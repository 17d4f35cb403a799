#pragma once

#include <array>
#include <string>
#include <vector>

#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"

// What lives longer than a call. Everything else of the library works on the stack and on buffers of the
// call.

namespace rz_obl {

/// The processor's CPUID record, filled at load. Only bit 5 of leaf7Ebx (AVX2) is read.
struct CpuFeatures {
    CpuFeatures();

    int highestLeaf = 0;
    unsigned highestExtendedLeaf = 0;
    std::string vendor;
    std::string brand;
    bool isIntel = false;
    bool isAmd = false;
    unsigned leaf1Ecx = 0;
    unsigned leaf1Edx = 0;
    unsigned leaf7Ebx = 0;
    unsigned leaf7Ecx = 0;
    unsigned extLeaf1Ecx = 0;
    unsigned extLeaf1Edx = 0;
    std::vector<std::array<int, 4>> leaves;
    std::vector<std::array<int, 4>> extendedLeaves;

    bool hasAvx2() const { return (leaf7Ebx & (1U << 5)) != 0; }
};

extern const CpuFeatures g_cpuFeatures;
extern CubicWeightTable g_cubicWeightTable;

/// Limits a cubic sample to the range of its neighbourhood. Written by RZ_InitCubicOblique only.
extern bool OvershootClamp;

// Dormant switches: nothing writes them but tests.
extern bool AllowAvx2For16;
extern bool AllowAvx2For32;
extern bool ForceLinear;
extern bool ForceTricubic;

}  // namespace rz_obl
