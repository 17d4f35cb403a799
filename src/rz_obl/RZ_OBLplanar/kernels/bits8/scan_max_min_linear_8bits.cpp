#include "rz_obl/RZ_OBLplanar/kernels/bits8/scan_8bits.h"
#include "rz_obl/RZ_OBLplanar/kernels/bits8/walk_8bits.h"

// Unlike the 16-bit maximum and minimum: every plane is interpolated, and the raster's content plays no part.

namespace rz_obl {
namespace {

struct Greatest {
    static constexpr std::int32_t kEmpty = INT32_MIN;
    static std::int32_t add(std::int32_t m, std::int32_t value) { return value > m ? value : m; }
    static std::int32_t result(std::int32_t m, float) { return m; }
};

struct Least {
    static constexpr std::int32_t kEmpty = INT32_MAX;
    static std::int32_t add(std::int32_t m, std::int32_t value) { return value < m ? value : m; }
    static std::int32_t result(std::int32_t m, float) { return m; }
};

}  // namespace

void scan_max_linear_8bits(const scan_args_8& args) {
    walk_8bits<Greatest>(args);
}

void scan_min_linear_8bits(const scan_args_8& args) {
    walk_8bits<Least>(args);
}

}  // namespace rz_obl
