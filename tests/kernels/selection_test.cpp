#include <cpuid.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "lower/log/log.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/kernels/selection_recorder.h"

// Which kernel each entry picks, what it hands on, and what it logs.

namespace {

using namespace rz_test;

bool processor_has_avx2() {
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b >> 5 & 1U) != 0;
}

struct Line {
    std::string file;
    std::string function;
    int level;
    int category;
    std::string text;
};

std::vector<Line> g_lines;

void keep_line(const Jrn_LogRecord& record, void*) {
    g_lines.push_back({record.file, record.function, record.level, record.category, record.text});
}

/// Arguments whose every value differs, so that one that is handed on in another's place shows.
template <class Args>
struct Given {
    using Step = std::remove_pointer_t<decltype(Args::columnStep)>;
    using Sample = std::remove_pointer_t<decltype(Args::output)>;

    short spans[2] = {0, 1};
    float matrix[4][4] = {};
    Step columnStep[3] = {1, 2, 3};
    Step slabStep[3] = {4, 5, 6};
    Sample output[2] = {};
    Sample* table[4] = {};
    int bounds[4] = {21, 22, 23, 24};
    Args args{};

    explicit Given(int quality) {
        args.rowCount = 7;
        args.rowStride = 8;
        args.slabSteps = 9;
        args.rowSpans = spans;
        args.planeToIndex = matrix;
        args.columnStep = columnStep;
        args.slabStep = slabStep;
        args.slices = table;
        args.output = output;
        args.sourceWidth = 10;
        args.sourceHeight = 11;
        args.quality = quality;
        args.firstRow = &bounds[0];
        args.lastRow = &bounds[1];
        args.firstColumn = &bounds[2];
        args.lastColumn = &bounds[3];
        args.isSigned = true;
        args.bitDepth = 13;
    }

    /// The one call that was made since, after a look at everything that every entry hands on unchanged.
    KernelCall call() {
        EXPECT_EQ(kernel_calls().size(), 1U);
        if (kernel_calls().size() != 1) return {};
        const KernelCall c = kernel_calls()[0];
        kernel_calls().clear();
        EXPECT_EQ(c.rowCount, 7);
        EXPECT_EQ(c.rowStride, 8);
        EXPECT_EQ(c.slabSteps, 9);
        EXPECT_EQ(c.rowSpans, spans);
        EXPECT_EQ(c.planeToIndex, matrix);
        EXPECT_EQ(c.columnStep, columnStep);
        EXPECT_EQ(c.slabStep, slabStep);
        EXPECT_EQ(c.slices, table);
        EXPECT_EQ(c.output, output);
        EXPECT_EQ(c.sourceWidth, 10);
        EXPECT_EQ(c.sourceHeight, 11);
        EXPECT_EQ(c.bounds, (std::array<int*, 4>{&bounds[0], &bounds[1], &bounds[2], &bounds[3]}));
        EXPECT_EQ(c.slab,
                  (std::array<double, 3>{static_cast<double>(slabStep[0]), static_cast<double>(slabStep[1]),
                                         static_cast<double>(slabStep[2])}));
        return c;
    }
};

using Given16 = Given<rz_obl::scan_args_16>;
using Given8 = Given<rz_obl::scan_args_8>;
using Given32 = Given<rz_obl::scan_args_32>;

class Selection : public testing::Test {
  protected:
    void SetUp() override {
        kernel_calls().clear();
        g_lines.clear();
        JrnGLog.SetSink(keep_line, nullptr);
        JrnGLog.SetThreshold(7);
    }
    void TearDown() override {
        JrnGLog.SetThreshold(3);
        JrnGLog.SetSink(nullptr, nullptr);
        rz_obl::AllowAvx2For32 = true;
        rz_obl::ForceLinear = false;
        rz_obl::ForceTricubic = false;
    }
    static void expect_line(const char* function, const char* text) {
        ASSERT_EQ(g_lines.size(), 1U);
        EXPECT_EQ(g_lines[0].file, "RZ_OBLplanar");
        EXPECT_EQ(g_lines[0].function, function);
        EXPECT_EQ(g_lines[0].level, 7);
        EXPECT_EQ(g_lines[0].category, 208);
        EXPECT_EQ(g_lines[0].text, text);
        g_lines.clear();
    }
};

// A wide form of a kernel has the same bits.
const std::string kLinear = processor_has_avx2() ? "scan_linear_avx2" : "scan_linear";
const std::string kCubic16 = processor_has_avx2() ? "scan_cubic_avx2" : "scan_cubic_sse";
const std::string kTricubic = processor_has_avx2() ? "scan_tricubic_avx2" : "scan_tricubic";
const std::string kLinear32 = processor_has_avx2() ? "scan_linear_32bits_avx2" : "scan_linear_32bits";
const std::string kCubic32 = processor_has_avx2() ? "scan_cubic_32bits_avx2" : "scan_cubic_32bits";

std::string semicubic(char axis) {
    return std::string("scan_semicubic_") + axis + (processor_has_avx2() ? "_avx2" : "");
}

TEST_F(Selection, avg_12_takes_semicubic_for_quality_3_only) {
    for (const int quality : {3, 0, 1, 2, 4, 5, -1, INT_MAX}) {
        for (const int axis : {0, 1, 2, 3, -1, 77}) {
            Given16 given(quality);
            rz_obl::scan_avg_12(given.args, nullptr, axis);
            const KernelCall c = given.call();
            if (quality == 3) {
                EXPECT_EQ(c.kernel, semicubic(axis == 2 ? 'z' : axis == 1 ? 'y' : 'x'));
                EXPECT_EQ(c.quality, 3);
                EXPECT_TRUE(c.isSigned);
                EXPECT_EQ(c.bitDepth, 13);
            } else {
                EXPECT_EQ(c.kernel, kLinear);
                EXPECT_EQ(c.quality, 4);
            }
        }
    }
    EXPECT_TRUE(g_lines.empty());
}

TEST_F(Selection, avg_12_2_means_what_the_names_say) {
    for (const int quality : {0, 1, 2, 3, 4, 5, -1, INT_MIN}) {
        for (const int axis : {0, 1, 2, 3, -1}) {
            Given16 given(quality);
            rz_obl::scan_avg_12_2(given.args, axis);
            const KernelCall c = given.call();
            EXPECT_EQ(c.isSigned, true);
            EXPECT_EQ(c.bitDepth, 13);
            if (quality == 3) {
                EXPECT_EQ(c.kernel, kCubic16);
                EXPECT_EQ(c.quality, 3);
                expect_line("scan_avg_12_2",
                            processor_has_avx2() ? "Cubic MPR with AVX2" : "Cubic MPR with SSE");
            } else if (quality == 2) {
                EXPECT_EQ(c.kernel, semicubic(axis == 2 ? 'z' : axis == 1 ? 'y' : 'x'));
                EXPECT_EQ(c.quality, 2);
                expect_line("scan_avg_12_2", "Semi-Cubic MPR");
            } else {
                EXPECT_EQ(c.kernel, kLinear);
                EXPECT_EQ(c.quality, 4);
                expect_line("scan_avg_12_2", "Linear MPR");
            }
        }
    }
}

TEST_F(Selection, has_avx2_is_not_computed_again) {
    Given16 given(3);
    rz_obl::scan_avg_12_2(given.args, 0);
    EXPECT_EQ(given.call().kernel, kCubic16);
    rz_obl::AllowAvx2For16 = !rz_obl::AllowAvx2For16;
    rz_obl::scan_avg_12_2(given.args, 0);
    rz_obl::AllowAvx2For16 = !rz_obl::AllowAvx2For16;
    EXPECT_EQ(given.call().kernel, kCubic16);
}

TEST_F(Selection, force_linear_turns_every_quality_of_avg_12_2_into_4) {
    rz_obl::ForceLinear = true;
    for (const int quality : {0, 1, 2, 3, 4, 9}) {
        Given16 given(quality);
        rz_obl::scan_avg_12_2(given.args, 2);
        const KernelCall c = given.call();
        EXPECT_EQ(c.kernel, kLinear);
        EXPECT_EQ(c.quality, 4);
        expect_line("scan_avg_12_2", "Linear MPR");
    }
    Given16 given(3);
    rz_obl::scan_avg_12(given.args, nullptr, 2);
    EXPECT_EQ(given.call().kernel, semicubic('z'));
}

TEST_F(Selection, force_tricubic_comes_before_any_choice_and_does_not_log) {
    rz_obl::ForceTricubic = true;
    for (const int quality : {0, 2, 3, 4, 9}) {
        Given16 given(quality);
        given.slabStep[0] = -4;
        rz_obl::scan_avg_12_2(given.args, 1);
        const KernelCall c = given.call();
        EXPECT_EQ(c.kernel, kTricubic);
        EXPECT_EQ(c.quality, quality);
        EXPECT_EQ(c.slab, (std::array<double, 3>{4, -5, -6}));
    }
    rz_obl::ForceLinear = true;
    Given16 given(3);
    rz_obl::scan_avg_12_2(given.args, 1);
    const KernelCall c = given.call();
    EXPECT_EQ(c.kernel, kTricubic);
    EXPECT_EQ(c.quality, 4);
    EXPECT_TRUE(g_lines.empty());
}

using Entry16 = void (*)(const rz_obl::scan_args_16&);
const Entry16 kEntries16[] = {
    [](const rz_obl::scan_args_16& a) { rz_obl::scan_avg_12(a, nullptr, 0); },
    [](const rz_obl::scan_args_16& a) { rz_obl::scan_avg_12_2(a, 0); },
    [](const rz_obl::scan_args_16& a) { rz_obl::scan_max_12(a, nullptr); },
    [](const rz_obl::scan_args_16& a) { rz_obl::scan_min_12(a, nullptr); },
};

TEST_F(Selection, sign_of_the_slab_step_is_settled_in_the_callers_array) {
    const struct {
        int given[3], settled[3];
    } cases[] = {{{-1, 2, -3}, {1, -2, 3}},
                 {{0, -2, 3}, {0, -2, 3}},
                 {{1, -2, -3}, {1, -2, -3}},
                 {{-262144, 0, 0}, {262144, 0, 0}},
                 {{-5, INT_MIN, 7}, {5, INT_MIN, -7}}};
    for (const Entry16 entry : kEntries16) {
        for (const auto& k : cases) {
            if (k.given[1] == INT_MIN && entry != kEntries16[0] && entry != kEntries16[1]) continue;
            Given16 given(4);
            std::copy_n(k.given, 3, given.slabStep);
            entry(given.args);
            given.call();
            for (int i = 0; i < 3; ++i) EXPECT_EQ(given.slabStep[i], k.settled[i]);
        }
    }
}

TEST_F(Selection, max_and_min_choose_the_loop_order_by_the_slab_step) {
    const struct {
        int slab[3];
        bool pixelMajor;
    } cases[] = {
        {{10, 9, -9}, true},      {{10, 10, 0}, true},   {{10, 0, -10}, true}, {{10, -10, 10}, true},
        {{10, 11, 0}, false},     {{10, -11, 0}, false}, {{10, 0, 11}, false}, {{10, 0, -11}, false},
        {{0, 0, 0}, true},        {{0, 1, 0}, false},    {{-10, 3, 3}, true},  {{-10, 3, -11}, false},
        {{0, 0, -262144}, false},
    };
    for (const auto& k : cases) {
        for (const int quality : {1, 2, 3, 4, 5, -1}) {
            for (const bool maximum : {true, false}) {
                Given16 given(quality);
                std::copy_n(k.slab, 3, given.slabStep);
                (maximum ? kEntries16[2] : kEntries16[3])(given.args);
                const KernelCall c = given.call();
                EXPECT_EQ(c.kernel, std::string(maximum ? "scan_max_" : "scan_min_") +
                                        (k.pixelMajor ? "pixel_major" : "plane_major") +
                                        (processor_has_avx2() ? "_avx2" : ""));
                EXPECT_EQ(c.fast, quality == 1 ? 1 : 0);
            }
        }
    }
    EXPECT_TRUE(g_lines.empty());
}

TEST_F(Selection, max_and_min_of_quality_0_take_the_sample_at_the_truncated_coordinate) {
    for (const Entry16 entry : {kEntries16[2], kEntries16[3]}) {
        Given16 given(0);
        short raster[6] = {10, 20, 30, 40, 50, 60};
        short* table[1] = {raster};
        short output[3] = {-1, 20000, -20000};
        short spans[2] = {0, 2};
        given.matrix[3][0] = 0.75F;
        given.matrix[3][1] = 1.5F;
        given.columnStep[0] = 262144 / 2;
        given.columnStep[1] = given.columnStep[2] = 0;
        given.args.rowCount = 1;
        given.args.rowStride = 3;
        given.args.rowSpans = spans;
        given.args.slices = table;
        given.args.output = output;
        given.args.sourceWidth = 3;
        entry(given.args);
        EXPECT_TRUE(kernel_calls().empty());
        // x = 0.75, 1.25, 1.75 in row 1; what the raster held and the slab of nine steps play no part.
        EXPECT_EQ(output[0], 40);
        EXPECT_EQ(output[1], 50);
        EXPECT_EQ(output[2], 50);
        EXPECT_EQ(given.bounds[0], 0);
        EXPECT_EQ(given.bounds[1], 22);
        EXPECT_EQ(given.bounds[2], 0);
        EXPECT_EQ(given.bounds[3], 24);
    }
}

TEST_F(Selection, eight_bits_log_and_run_one_kernel_at_any_quality) {
    const struct {
        void (*entry)(const rz_obl::scan_args_8&);
        const char *kernel, *function, *text;
    } cases[] = {
        {rz_obl::scan_avg_8bits, "scan_linear_8bits", "scan_avg_8bits", "8 bits Linear MPR"},
        {rz_obl::scan_max_8bits, "scan_max_linear_8bits", "scan_max_8bits", "8 bits Linear MaxPR"},
        {rz_obl::scan_min_8bits, "scan_min_linear_8bits", "scan_min_8bits", "8 bits Linear MinPR"},
    };
    for (const auto& k : cases) {
        for (const int quality : {0, 1, 2, 3, 4, -1}) {
            Given8 given(quality);
            k.entry(given.args);
            const KernelCall c = given.call();
            EXPECT_EQ(c.kernel, std::string(k.kernel) + (processor_has_avx2() ? "_avx2" : ""));
            EXPECT_EQ(c.quality, 4);
            EXPECT_TRUE(c.isSigned);
            expect_line(k.function, k.text);
        }
    }
}

TEST_F(Selection, eight_bits_flip_sign_bits_where_the_first_component_is_below_nought) {
    for (const auto entry : {rz_obl::scan_avg_8bits, rz_obl::scan_max_8bits, rz_obl::scan_min_8bits}) {
        Given8 given(4);
        given.slabStep[0] = -0.5F;
        given.slabStep[1] = 0.0F;
        given.slabStep[2] = -0.0F;
        entry(given.args);
        given.call();
        EXPECT_EQ(given.slabStep[0], 0.5F);
        EXPECT_TRUE(std::signbit(given.slabStep[1]));
        EXPECT_FALSE(std::signbit(given.slabStep[2]));

        given.slabStep[0] = -0.0F;
        given.slabStep[1] = -2.0F;
        given.slabStep[2] = 3.0F;
        entry(given.args);
        given.call();
        EXPECT_TRUE(std::signbit(given.slabStep[0]));
        EXPECT_EQ(given.slabStep[1], -2.0F);
        EXPECT_EQ(given.slabStep[2], 3.0F);
    }
}

TEST_F(Selection, avg_32bits_tests_the_processor_at_every_call_and_leaves_the_sign) {
    for (const int quality : {3, 0, 1, 2, 4, 5}) {
        Given32 given(quality);
        given.slabStep[0] = -1.0F;
        rz_obl::scan_avg_32bits(given.args, 1);
        const KernelCall c = given.call();
        EXPECT_EQ(c.kernel, quality == 3 ? kCubic32 : kLinear32);
        EXPECT_EQ(c.quality, quality == 3 ? 3 : 4);
        EXPECT_EQ(given.slabStep[0], -1.0F);
        EXPECT_EQ(given.slabStep[1], 5.0F);
    }
    Given32 given(3);
    rz_obl::AllowAvx2For32 = false;
    rz_obl::scan_avg_32bits(given.args, 1);
    EXPECT_EQ(given.call().kernel, "scan_cubic_32bits");
    rz_obl::AllowAvx2For32 = true;
    rz_obl::scan_avg_32bits(given.args, 1);
    EXPECT_EQ(given.call().kernel, kCubic32);
    EXPECT_TRUE(g_lines.empty());
}

TEST_F(Selection, kernels_run_when_the_log_does_not_want_the_line) {
    JrnGLog.SetThreshold(6);
    for (const int quality : {2, 3, 4}) {
        Given16 given(quality);
        rz_obl::scan_avg_12_2(given.args, 0);
        given.call();
    }
    for (const auto entry : {rz_obl::scan_avg_8bits, rz_obl::scan_max_8bits, rz_obl::scan_min_8bits}) {
        Given8 given(4);
        entry(given.args);
        given.call();
    }
    EXPECT_TRUE(g_lines.empty());
}

}  // namespace
