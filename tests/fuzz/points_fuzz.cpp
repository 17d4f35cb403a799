#include <cmath>
#include <string>

#include "tests/fuzz/fuzz.h"
#include "toolkit/core/error.h"
#include "toolkit/io/read_points.h"

// Curves in lists, tables and JSON: refused by Error, or points of finite numbers.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    rz_fuzz::Input input(bytes, count);
    const int which = input.byte() % 3;
    const std::string text(reinterpret_cast<const char*>(input.data()), input.size());
    try {
        const auto points = which == 0   ? rzobl::points::from_list(text)
                            : which == 1 ? rzobl::points::from_table(text, "points.csv")
                                         : rzobl::points::from_json(text, "points.json");
        for (const auto& p : points) {
            for (int k = 0; k < 3; ++k)
                rz_fuzz::stop_unless(std::isfinite(p[static_cast<std::size_t>(k)]),
                                     "a point that is not finite");
        }
    } catch (const rzobl::Error& error) {
        rz_fuzz::stop_unless(error.what()[0] != '\0', "a refusal without words");
    }
    return 0;
}
