#pragma once

#include <array>
#include <string>
#include <vector>

#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"

// What lives longer than a call. Everything else of the library works on the stack and on buffers of the
// call.

namespace rz_obl {

/// EAX, EBX, ECX, EDX of a CPUID leaf, sub-leaf 0.
using CpuidRegisters = std::array<int, 4>;
using CpuidReader = CpuidRegisters (*)(int leaf);

/// The processor's CPUID record, filled at load. Only bit 5 of leaf7Ebx (AVX2) is read.
struct CpuFeatures {
    /// Of the processor.
    CpuFeatures();
    /// Of whatever read tells.
    explicit CpuFeatures(CpuidReader read);

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
    std::vector<CpuidRegisters> leaves;
    std::vector<CpuidRegisters> extendedLeaves;

    /// The feature bit alone: whether the system supports the wider registers is not asked.
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

/// Written by RZ_SetStretchedMethod, read by nothing.
extern int stretchedMethod;

}  // namespace rz_obl
