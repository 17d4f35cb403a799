#include "tests/fuzz/fuzz.h"

#include <cstdio>
#include <cstdlib>

namespace rz_fuzz {

void stop_at(const std::string& difference) {
    if (difference.empty()) return;
    std::fprintf(stderr, "difference: %s\n", difference.c_str());
    std::abort();
}

void stop_unless(bool holds, const char* what) {
    if (!holds) stop_at(what);
}

}  // namespace rz_fuzz
