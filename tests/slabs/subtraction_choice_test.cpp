#include <gtest/gtest.h>

#include <vector>

#include "rz_obl/RZ_OBLplanar/state/module_state.h"
#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/slabs/wide_forms.h"

// Which form makes the means of rows.

namespace {

constexpr int kRows = 3;
constexpr int kColumns = 40;
constexpr std::size_t kRaster = 400;

/// Calls of wide forms in a difference of slices 0 and 1 and slices 2 and 3. The output starts `outputAt`
/// bytes after slice 0; slices are 400 bytes apart.
int wide_calls(int bitDepth, std::size_t outputAt) {
    std::vector<unsigned char> bytes(6 * kRaster, 7);
    std::vector<void*> slices;
    for (std::size_t k = 0; k < 4; ++k) slices.push_back(bytes.data() + k * kRaster);
    RZ_SubOpParams p;
    p.minuend_first = 0;
    p.minuend_last = 1;
    p.subtrahend_first = 2;
    p.subtrahend_last = 3;
    rz_test::wide_form_calls();
    EXPECT_EQ(RZ_GetMultiSliceSubtractionPlane(slices, kRows, kColumns, bitDepth, false,
                                               bytes.data() + outputAt, p, nullptr, p),
              1);
    return rz_test::wide_form_calls();
}

TEST(SubtractionForm, is_the_processors) {
    const int rowMeans = rz_obl::g_cpuFeatures.hasAvx2() ? 2 * kRows : 0;
    for (const int bitDepth : {8, 9, 16}) {
        EXPECT_EQ(wide_calls(bitDepth, 4 * kRaster), rowMeans) << bitDepth;
        EXPECT_EQ(wide_calls(bitDepth, 4 * kRaster + 2), rowMeans) << bitDepth;
    }
}

TEST(SubtractionForm, is_narrow_where_stores_behind_a_row_could_meet_rows_still_to_be_read) {
    for (const int bitDepth : {8, 9, 16}) {
        for (const std::size_t slice : {0U, 1U, 2U, 3U}) {
            EXPECT_EQ(wide_calls(bitDepth, slice * kRaster), 0) << bitDepth << " " << slice;
            EXPECT_EQ(wide_calls(bitDepth, slice * kRaster + 100), 0) << bitDepth << " " << slice;
        }
    }
}

}  // namespace
