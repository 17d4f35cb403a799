#include "tests/support/seeded.h"

#include <cstdlib>

namespace rz_test {

bool is_replay() {
    return std::getenv("RZ_SEED") != nullptr;
}

std::vector<Seed> seeds(int count) {
    if (is_replay()) return {std::strtoull(std::getenv("RZ_SEED"), nullptr, 10)};
    std::vector<Seed> all;
    for (int i = 1; i <= count; ++i) all.push_back(static_cast<Seed>(i));
    return all;
}

std::string replay(Seed seed) {
    return "replay: RZ_SEED=" + std::to_string(seed);
}

}  // namespace rz_test
