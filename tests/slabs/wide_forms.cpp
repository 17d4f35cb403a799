#include "tests/slabs/wide_forms.h"

#include "rz_obl/rz_oblique/multi_slice_plane/wide_blocks.h"
#include "rz_obl/rz_oblique/subtraction_plane/wide_rows.h"

namespace {

bool g_work = true;
int g_calls = 0;

/// The wide form's answer, or the one that leaves everything to the narrow form.
template <class Answer, class... Parameters, class... Arguments>
Answer pass(Answer (*wide)(Parameters...), Arguments&&... arguments) {
    ++g_calls;
    return g_work ? wide(arguments...) : Answer{};
}

}  // namespace

void rz_test::let_wide_forms(bool work) {
    g_work = work;
}

int rz_test::wide_form_calls() {
    const int calls = g_calls;
    g_calls = 0;
    return calls;
}

// Name, and answer with parameters, of each wide form: the linker sends its calls to wrap_NAME.
#define EXTREME "_ZN6rz_obl19extreme_blocks_avx2ERKNS_11raster_listEibbPs"
#define MEAN "_ZN6rz_obl16mean_blocks_avx2ERKNS_11raster_listEidPs"
#define UPDATE "_ZN6rz_obl18update_blocks_avx2EPKsiRKNS_11raster_listES4_ibdPs"
#define ROW_16 "_ZN6rz_obl16row_mean_16_avx2ERKNS_11raster_rowsEiPsb"
#define ROW_8 "_ZN6rz_obl15row_mean_8_avx2ERKNS_11raster_rowsEiPhb"

using rz_obl::raster_list;
using rz_obl::raster_rows;

int real_extreme(const raster_list&, int, bool, bool, short*) __asm__("__real_" EXTREME);
int wrap_extreme(const raster_list& list, int count, bool greatest, bool isSigned,
                 short* output) __asm__("__wrap_" EXTREME);
int wrap_extreme(const raster_list& list, int count, bool greatest, bool isSigned, short* output) {
    return pass(real_extreme, list, count, greatest, isSigned, output);
}

int real_mean(const raster_list&, int, double, short*) __asm__("__real_" MEAN);
int wrap_mean(const raster_list& list, int count, double factor, short* output) __asm__("__wrap_" MEAN);
int wrap_mean(const raster_list& list, int count, double factor, short* output) {
    return pass(real_mean, list, count, factor, output);
}

int real_update(const short*, int, const raster_list&, const raster_list&, int, bool, double,
                short*) __asm__("__real_" UPDATE);
int wrap_update(const short* previous, int previousCount, const raster_list& entering,
                const raster_list& leaving, int count, bool isSigned, double factor,
                short* output) __asm__("__wrap_" UPDATE);
int wrap_update(const short* previous, int previousCount, const raster_list& entering,
                const raster_list& leaving, int count, bool isSigned, double factor, short* output) {
    return pass(real_update, previous, previousCount, entering, leaving, count, isSigned, factor, output);
}

bool real_row_16(const raster_rows&, int, std::int16_t*, bool) __asm__("__real_" ROW_16);
bool wrap_row_16(const raster_rows& rows, int columns, std::int16_t* destination,
                 bool isSigned) __asm__("__wrap_" ROW_16);
bool wrap_row_16(const raster_rows& rows, int columns, std::int16_t* destination, bool isSigned) {
    return pass(real_row_16, rows, columns, destination, isSigned);
}

bool real_row_8(const raster_rows&, int, std::uint8_t*, bool) __asm__("__real_" ROW_8);
bool wrap_row_8(const raster_rows& rows, int columns, std::uint8_t* destination,
                bool isSigned) __asm__("__wrap_" ROW_8);
bool wrap_row_8(const raster_rows& rows, int columns, std::uint8_t* destination, bool isSigned) {
    return pass(real_row_8, rows, columns, destination, isSigned);
}
