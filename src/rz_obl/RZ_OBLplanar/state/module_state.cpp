#include "rz_obl/RZ_OBLplanar/state/module_state.h"

#include <cpuid.h>

#include <cstdint>
#include <cstring>

namespace rz_obl {

namespace {

CpuidRegisters readProcessor(int leaf) {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    __cpuid_count(static_cast<unsigned>(leaf), 0U, eax, ebx, ecx, edx);
    return {static_cast<int>(eax), static_cast<int>(ebx), static_cast<int>(ecx), static_cast<int>(edx)};
}

/// The bytes of registers, up to the first zero byte.
template <std::size_t count>
std::string bytesOf(const std::array<int, count>& registers) {
    char bytes[sizeof registers + 1] = {};
    std::memcpy(bytes, registers.data(), sizeof registers);
    return bytes;
}

}  // namespace

CpuFeatures::CpuFeatures() : CpuFeatures(readProcessor) {}

CpuFeatures::CpuFeatures(CpuidReader read) {
    const CpuidRegisters leaf0 = read(0);
    highestLeaf = leaf0[0];
    for (std::int64_t i = 0; i <= highestLeaf; ++i) leaves.push_back(read(static_cast<int>(i)));

    vendor = bytesOf<3>({leaf0[1], leaf0[3], leaf0[2]});
    isIntel = vendor == "GenuineIntel";
    isAmd = !isIntel && vendor == "AuthenticAMD";

    if (highestLeaf >= 1) {
        leaf1Ecx = static_cast<unsigned>(leaves[1][2]);
        leaf1Edx = static_cast<unsigned>(leaves[1][3]);
    }
    if (highestLeaf >= 7) {
        leaf7Ebx = static_cast<unsigned>(leaves[7][1]);
        leaf7Ecx = static_cast<unsigned>(leaves[7][2]);
    }

    constexpr int kExtended = INT32_MIN;  // leaf 0x80000000
    const int highest = read(kExtended)[0];
    highestExtendedLeaf = static_cast<unsigned>(highest);
    // required: compared as signed numbers
    for (std::int64_t i = kExtended; i <= highest; ++i) extendedLeaves.push_back(read(static_cast<int>(i)));

    if (highestExtendedLeaf >= 0x80000001U) {
        extLeaf1Ecx = static_cast<unsigned>(extendedLeaves[1][2]);
        extLeaf1Edx = static_cast<unsigned>(extendedLeaves[1][3]);
    }
    if (highestExtendedLeaf >= 0x80000004U) {
        std::array<int, 12> registers;
        for (std::size_t i = 0; i < 12; ++i) registers[i] = extendedLeaves[2 + i / 4][i % 4];
        brand = bytesOf(registers);
    }
}

// One source file for both: this order of construction, the reverse at exit.
const CpuFeatures g_cpuFeatures;
CubicWeightTable g_cubicWeightTable;

bool OvershootClamp = false;
bool AllowAvx2For16 = true;
bool AllowAvx2For32 = true;
bool ForceLinear = false;
bool ForceTricubic = false;
int stretchedMethod = 3;

}  // namespace rz_obl
