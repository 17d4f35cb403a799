#include <gtest/gtest.h>

#include <string>

#include "lower/log/log.h"
#include "rz_obl/RZ_OBLplanar/selection/selection.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "tests/kernels/selection_recorder.h"

// The choice of a processor without AVX2. A program of its own, since the choice is made once per process.

namespace {

std::string g_text;

void keep_text(const Jrn_LogRecord& record, void*) {
    g_text = record.text;
}

TEST(SelectionSse, avg_12_2_takes_the_sse_kernel_for_good) {
    JrnGLog.SetSink(keep_text, nullptr);
    JrnGLog.SetThreshold(7);
    rz_obl::AllowAvx2For16 = false;
    for (int pass = 0; pass < 2; ++pass) {
        int step[3] = {0, 0, 0};
        rz_obl::scan_args_16 args{};
        args.slabStep = step;
        args.quality = 3;
        rz_obl::scan_avg_12_2(args, 0);
        ASSERT_EQ(rz_test::kernel_calls().size(), 1U);
        EXPECT_EQ(rz_test::kernel_calls()[0].kernel, "scan_cubic_sse");
        EXPECT_EQ(rz_test::kernel_calls()[0].quality, 3);
        EXPECT_EQ(g_text, "Cubic MPR with SSE");
        rz_test::kernel_calls().clear();
        // Too late for this process.
        rz_obl::AllowAvx2For16 = true;
    }
    JrnGLog.SetSink(nullptr, nullptr);
}

}  // namespace
