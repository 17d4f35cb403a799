#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/walk_8bits.h"

namespace rz_obl {
namespace {

struct Mean {
    static constexpr std::int32_t kEmpty = 0;
    static std::int32_t add(std::int32_t sum, std::int32_t value) { return sum + value; }
    static std::int32_t result(std::int32_t sum, float planes) { return rounded_mean(sum, planes); }
};

}  // namespace

void scan_linear_8bits(const scan_args_8& args) {
    walk_8bits<Mean>(args);
}

}  // namespace rz_obl
