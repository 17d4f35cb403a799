#include "rz_obl/RZ_OBLplanar/state/module_state.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "lower/settings/whiteboard.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"

namespace {

using rz_obl::CpuFeatures;
using rz_obl::CpuidRegisters;
using rz_obl::g_cpuFeatures;
using rz_obl::OvershootClamp;
using rz_obl::stretchedMethod;

/// EAX, EBX, ECX, EDX, by the instruction itself.
struct Registers {
    std::uint32_t eax;
    std::uint32_t ebx;
    std::uint32_t ecx;
    std::uint32_t edx;
};

Registers cpuid(std::uint32_t leaf) {
    Registers r{};
    asm volatile("cpuid" : "=a"(r.eax), "=b"(r.ebx), "=c"(r.ecx), "=d"(r.edx) : "a"(leaf), "c"(0));
    return r;
}

std::string upToZero(const void* bytes, std::size_t count) {
    const auto* text = static_cast<const char*>(bytes);
    std::size_t length = 0;
    while (length < count && text[length] != '\0') ++length;
    return {text, length};
}

// --- the processor this runs on ---

TEST(CpuFeaturesOfThisProcessor, leaves_are_all_there) {
    const Registers leaf0 = cpuid(0);
    EXPECT_EQ(g_cpuFeatures.highestLeaf, static_cast<int>(leaf0.eax));
    ASSERT_EQ(g_cpuFeatures.leaves.size(), leaf0.eax + 1U);
    EXPECT_EQ(g_cpuFeatures.leaves[0][0], static_cast<int>(leaf0.eax));
    EXPECT_EQ(g_cpuFeatures.leaves[0][1], static_cast<int>(leaf0.ebx));
    EXPECT_EQ(g_cpuFeatures.leaves[0][2], static_cast<int>(leaf0.ecx));
    EXPECT_EQ(g_cpuFeatures.leaves[0][3], static_cast<int>(leaf0.edx));

    const Registers extended0 = cpuid(0x80000000U);
    EXPECT_EQ(g_cpuFeatures.highestExtendedLeaf, extended0.eax);
    ASSERT_EQ(g_cpuFeatures.extendedLeaves.size(), extended0.eax - 0x80000000U + 1U);
    EXPECT_EQ(g_cpuFeatures.extendedLeaves[0][0], static_cast<int>(extended0.eax));
}

TEST(CpuFeaturesOfThisProcessor, fields_equal_the_instruction) {
    const Registers leaf0 = cpuid(0);
    const std::uint32_t vendor[3] = {leaf0.ebx, leaf0.edx, leaf0.ecx};
    EXPECT_EQ(g_cpuFeatures.vendor, upToZero(vendor, sizeof vendor));
    EXPECT_EQ(g_cpuFeatures.isIntel, g_cpuFeatures.vendor == "GenuineIntel");
    EXPECT_EQ(g_cpuFeatures.isAmd, g_cpuFeatures.vendor == "AuthenticAMD");

    ASSERT_GE(leaf0.eax, 7U) << "no x86-64 processor of the last decade";
    EXPECT_EQ(g_cpuFeatures.leaf1Ecx, cpuid(1).ecx);
    EXPECT_EQ(g_cpuFeatures.leaf1Edx, cpuid(1).edx);
    EXPECT_EQ(g_cpuFeatures.leaf7Ebx, cpuid(7).ebx);
    EXPECT_EQ(g_cpuFeatures.leaf7Ecx, cpuid(7).ecx);

    ASSERT_GE(cpuid(0x80000000U).eax, 0x80000004U);
    EXPECT_EQ(g_cpuFeatures.extLeaf1Ecx, cpuid(0x80000001U).ecx);
    EXPECT_EQ(g_cpuFeatures.extLeaf1Edx, cpuid(0x80000001U).edx);
    const Registers brand[3] = {cpuid(0x80000002U), cpuid(0x80000003U), cpuid(0x80000004U)};
    EXPECT_EQ(g_cpuFeatures.brand, upToZero(brand, sizeof brand));
}

TEST(CpuFeaturesOfThisProcessor, agree_with_the_system) {
    std::ifstream info("/proc/cpuinfo");
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(info, line) && !line.empty();) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) continue;
        const std::string name = line.substr(0, line.find_last_not_of(" \t", colon - 1) + 1);
        fields[name] = colon + 2 <= line.size() ? line.substr(colon + 2) : "";
    }
    ASSERT_NE(fields.count("flags"), 0U);
    std::istringstream words(fields["flags"]);
    std::set<std::string> flags;
    for (std::string word; words >> word;) flags.insert(word);
    // The system hides a feature that it does not support, so only this direction holds.
    EXPECT_LE(flags.count("avx2"), g_cpuFeatures.hasAvx2() ? 1U : 0U);
    EXPECT_NE(flags.count("sse4_1"), 0U);
    EXPECT_NE(g_cpuFeatures.leaf1Ecx & (1U << 19), 0U);
    EXPECT_EQ(g_cpuFeatures.vendor, fields["vendor_id"]);
    EXPECT_NE(g_cpuFeatures.brand.find(fields["model name"]), std::string::npos);
}

// --- processors that are made up ---

using Processor = std::map<std::uint32_t, Registers>;
const Processor* g_processor = nullptr;

CpuidRegisters readMadeUp(int leaf) {
    const auto found = g_processor->find(static_cast<std::uint32_t>(leaf));
    // A leaf that should not be read would show in the fields.
    if (found == g_processor->end()) return {-1, -1, -1, -1};
    const Registers& r = found->second;
    return {static_cast<int>(r.eax), static_cast<int>(r.ebx), static_cast<int>(r.ecx),
            static_cast<int>(r.edx)};
}

CpuFeatures featuresOf(const Processor& processor) {
    g_processor = &processor;
    return CpuFeatures(readMadeUp);
}

std::uint32_t word(const char* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

Registers vendorLeaf(std::uint32_t highest, const char vendor[12]) {
    return {highest, word(vendor), word(vendor + 8), word(vendor + 4)};
}

Registers textLeaf(const char text[16]) {
    return {word(text), word(text + 4), word(text + 8), word(text + 12)};
}

const Registers kNoExtended = {0x80000000U, 0, 0, 0};

TEST(CpuFeaturesByLeaves, highest_leaf_6_leaves_the_fields_of_leaf_7_zero) {
    Processor processor = {{0, vendorLeaf(6, "GenuineIntel")}, {0x80000000U, kNoExtended}};
    for (std::uint32_t leaf = 1; leaf <= 6; ++leaf)
        processor[leaf] = {leaf, 10 * leaf, 100 * leaf, 1000 * leaf};
    const CpuFeatures features = featuresOf(processor);
    EXPECT_EQ(features.highestLeaf, 6);
    ASSERT_EQ(features.leaves.size(), 7U);
    EXPECT_EQ(features.leaves[5], (CpuidRegisters{5, 50, 500, 5000}));
    EXPECT_EQ(features.leaf1Ecx, 100U);
    EXPECT_EQ(features.leaf1Edx, 1000U);
    EXPECT_EQ(features.leaf7Ebx, 0U);
    EXPECT_EQ(features.leaf7Ecx, 0U);
    EXPECT_FALSE(features.hasAvx2());
}

TEST(CpuFeaturesByLeaves, bit_5_of_leaf_7_ebx_alone_is_avx2) {
    for (unsigned bit = 0; bit < 32; ++bit) {
        Processor processor = {{0, vendorLeaf(7, "GenuineIntel")}, {0x80000000U, kNoExtended}};
        for (std::uint32_t leaf = 1; leaf <= 6; ++leaf) processor[leaf] = {};
        // Neither OSXSAVE nor AVX in leaf 1: they are not asked.
        processor[7] = {0, 1U << bit, 0xABCDU, 0};
        const CpuFeatures features = featuresOf(processor);
        EXPECT_EQ(features.leaf7Ebx, 1U << bit);
        EXPECT_EQ(features.leaf7Ecx, 0xABCDU);
        EXPECT_EQ(features.hasAvx2(), bit == 5) << bit;
    }
}

TEST(CpuFeaturesByLeaves, highest_leaf_0_leaves_the_fields_of_leaf_1_zero) {
    const Processor processor = {{0, vendorLeaf(0, "AuthenticAMD")}, {0x80000000U, kNoExtended}};
    const CpuFeatures features = featuresOf(processor);
    EXPECT_EQ(features.leaves.size(), 1U);
    EXPECT_EQ(features.leaf1Ecx, 0U);
    EXPECT_EQ(features.leaf1Edx, 0U);
    EXPECT_EQ(features.leaf7Ebx, 0U);
    EXPECT_EQ(features.vendor, "AuthenticAMD");
    EXPECT_TRUE(features.isAmd);
    EXPECT_FALSE(features.isIntel);
}

TEST(CpuFeaturesByLeaves, vendor_ends_at_its_first_zero_byte) {
    struct {
        char bytes[13];
        const char* vendor;
        bool isIntel;
        bool isAmd;
    } const cases[] = {
        {"GenuineIntel", "GenuineIntel", true, false},  {"AuthenticAMD", "AuthenticAMD", false, true},
        {"GenuineInteL", "GenuineInteL", false, false}, {"GenuineInte\0", "GenuineInte", false, false},
        {"Authen\0icAMD", "Authen", false, false},      {"\0enuineIntel", "", false, false},
    };
    for (const auto& one : cases) {
        const Processor processor = {{0, vendorLeaf(0, one.bytes)}, {0x80000000U, kNoExtended}};
        const CpuFeatures features = featuresOf(processor);
        EXPECT_EQ(features.vendor, one.vendor);
        EXPECT_EQ(features.isIntel, one.isIntel) << one.vendor;
        EXPECT_EQ(features.isAmd, one.isAmd) << one.vendor;
    }
}

TEST(CpuFeaturesByLeaves, extended_fields_exist_as_far_as_the_leaves_do) {
    Processor processor = {{0, vendorLeaf(0, "GenuineIntel")},
                           {0x80000001U, {1, 2, 3, 4}},
                           {0x80000002U, textLeaf("abcdefghijklmnop")},
                           {0x80000003U, textLeaf("qrstuvwxyzABCDEF")},
                           {0x80000004U, textLeaf("GHIJKLMNOPQRSTUV")}};
    for (std::uint32_t highest = 0x80000000U; highest <= 0x80000004U; ++highest) {
        processor[0x80000000U] = {highest, 0, 0, 0};
        const CpuFeatures features = featuresOf(processor);
        EXPECT_EQ(features.highestExtendedLeaf, highest);
        EXPECT_EQ(features.extendedLeaves.size(), highest - 0x80000000U + 1);
        EXPECT_EQ(features.extLeaf1Ecx, highest >= 0x80000001U ? 3U : 0U);
        EXPECT_EQ(features.extLeaf1Edx, highest >= 0x80000001U ? 4U : 0U);
        EXPECT_EQ(features.brand,
                  highest >= 0x80000004U ? "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUV" : "");
    }
    // A zero byte in the middle ends the brand, whatever follows.
    processor[0x80000003U] = textLeaf("qrs\0uvwxyzABCDEF");
    EXPECT_EQ(featuresOf(processor).brand, "abcdefghijklmnopqrs");
}

TEST(CpuFeaturesByLeaves, leaves_are_compared_as_signed_numbers) {
    // The least number of all as highest leaf: nothing is at or below it but leaf 0x80000000 itself, and no
    // standard leaf at all.
    const Processor processor = {{0, vendorLeaf(0x80000000U, "GenuineIntel")}, {0x80000000U, kNoExtended}};
    const CpuFeatures features = featuresOf(processor);
    EXPECT_EQ(features.highestLeaf, INT_MIN);
    EXPECT_TRUE(features.leaves.empty());
    EXPECT_EQ(features.extendedLeaves.size(), 1U);
    EXPECT_EQ(features.leaf1Ecx, 0U);
    EXPECT_EQ(features.vendor, "GenuineIntel");
}

// --- flags and the three calls ---

constexpr char kClampKey[] = "truncate_interpolation_overshoot";

/// Puts flags and the whiteboard back as they are at load.
class ModuleFlags : public testing::Test {
  protected:
    ModuleFlags() { reset(); }
    ~ModuleFlags() override { reset(); }
    static void reset() {
        RZ_Whiteboard::Instance().Remove(kClampKey);
        OvershootClamp = false;
        stretchedMethod = 3;
    }
};

// Before main: what the flags hold at load, whatever tests do later.
struct AtLoad {
    bool clamp = OvershootClamp;
    bool avx2For16 = rz_obl::AllowAvx2For16;
    bool avx2For32 = rz_obl::AllowAvx2For32;
    bool linear = rz_obl::ForceLinear;
    bool tricubic = rz_obl::ForceTricubic;
    int method = stretchedMethod;
    const short* weights = rz_obl::g_cubicWeightTable.weights;
    const void* second = rz_obl::g_cubicWeightTable.second;
    bool closedForm = rz_obl::g_cubicWeightTable.UseClosedForm;
};
const AtLoad g_atLoad;

TEST_F(ModuleFlags, at_load) {
    EXPECT_FALSE(g_atLoad.clamp);
    EXPECT_TRUE(g_atLoad.avx2For16);
    EXPECT_TRUE(g_atLoad.avx2For32);
    EXPECT_FALSE(g_atLoad.linear);
    EXPECT_FALSE(g_atLoad.tricubic);
    EXPECT_EQ(g_atLoad.method, 3);
    EXPECT_EQ(g_atLoad.weights, nullptr);
    EXPECT_EQ(g_atLoad.second, nullptr);
    EXPECT_FALSE(g_atLoad.closedForm);
}

TEST_F(ModuleFlags, missing_key_keeps_the_present_clamp) {
    RZ_InitCubicOblique();
    EXPECT_FALSE(OvershootClamp);
    OvershootClamp = true;
    RZ_InitCubicOblique();
    EXPECT_TRUE(OvershootClamp);
}

TEST_F(ModuleFlags, any_other_number_than_zero_turns_the_clamp_on) {
    for (const int value : {1, -1, 2, 256, 65536, INT_MAX, INT_MIN}) {
        OvershootClamp = false;
        RZ_Whiteboard::Instance().SetIntVal(kClampKey, value);
        RZ_InitCubicOblique();
        EXPECT_TRUE(OvershootClamp) << value;
    }
}

TEST_F(ModuleFlags, zero_turns_the_clamp_off) {
    OvershootClamp = true;
    RZ_Whiteboard::Instance().SetIntVal(kClampKey, 0);
    RZ_InitCubicOblique();
    EXPECT_FALSE(OvershootClamp);
}

TEST_F(ModuleFlags, second_call_without_the_key_keeps_the_earlier_answer) {
    for (const int value : {5, 0}) {
        RZ_Whiteboard::Instance().SetIntVal(kClampKey, value);
        RZ_InitCubicOblique();
        RZ_Whiteboard::Instance().Remove(kClampKey);
        RZ_InitCubicOblique();
        EXPECT_EQ(OvershootClamp, value != 0);
    }
}

TEST_F(ModuleFlags, whiteboard_counts_at_the_call_only) {
    RZ_Whiteboard::Instance().SetIntVal(kClampKey, 1);
    EXPECT_FALSE(OvershootClamp);
    RZ_InitCubicOblique();
    RZ_Whiteboard::Instance().SetIntVal(kClampKey, 0);
    EXPECT_TRUE(OvershootClamp);
}

TEST_F(ModuleFlags, init_calls_build_no_weights) {
    RZ_InitOblique();
    RZ_InitCubicOblique();
    EXPECT_EQ(rz_obl::g_cubicWeightTable.weights, nullptr);
}

TEST_F(ModuleFlags, stretched_method_is_stored_unchecked) {
    for (const int method : {0, 1, -1, 4, 1000, INT_MAX, INT_MIN}) {
        RZ_SetStretchedMethod(method);
        EXPECT_EQ(stretchedMethod, method);
    }
}

TEST_F(ModuleFlags, stretched_method_changes_no_image) {
    constexpr int kSide = 12;
    std::vector<std::vector<short>> samples(kSide, std::vector<short>(kSide * kSide));
    std::vector<RZ_ShortSlice> slices;
    int next = 0;
    for (std::vector<short>& raster : samples) {
        for (short& sample : raster) sample = static_cast<short>((next += 2089) % 4096);
        slices.emplace_back(raster.data(), PixelDataAttributes{kSide, kSide, 16, 1});
    }
    std::vector<RZ_ShortSlice*> pointers;
    for (RZ_ShortSlice& slice : slices) pointers.push_back(&slice);
    const RZ_Box volume(kSide, kSide, kSide, RZ_BoxParams(kSide, kSide, kSide));
    RZ_BoxParams extent(8, 8, 1);
    extent.SetStart(1, 1, -0.5F);
    const RZ_Box output(8, 8, 1, extent);

    const auto image = [&](int method) {
        RZ_SetStretchedMethod(method);
        std::vector<short> raster(64, -1);
        int bounds[4] = {9, -1, 9, -1};
        const RZ_PlaneParams plane(RZ_3Coord(0.0F, 0.1F, 1.0F), RZ_3Coord(0.0F, 0.0F, 5.0F),
                                   RZ_3Coord(1.0F, 0.0F, 0.0F));
        RZ_CalcOblique(pointers.data(), volume, volume.params, plane, nullptr, raster.data(), output,
                       &bounds[0], &bounds[1], &bounds[2], &bounds[3], 0, kSide - 1,
                       RZ_OBL_RenditionQuality::Linear, 0.0F, RZ_OBL_RenditionType::Average, true, 12);
        return raster;
    };
    const std::vector<short> usual = image(3);
    EXPECT_GT(std::set<short>(usual.begin(), usual.end()).size(), 30U) << "hardly a picture";
    for (const int method : {0, 1, 2, 4, -7, INT_MAX}) EXPECT_EQ(image(method), usual);
}

}  // namespace
