#include <memory>

#include "lower/definitions/matrix.h"

namespace {

constexpr int kTaps = 3;
constexpr int kBits = 12;

// Quadratic interpolation through three samples: at fraction t, -0.5 <= t < 0.5 from the middle one, the
// weights of samples -1, 0 and 1. They sum to 1.
std::unique_ptr<float[]> build_table() {
    constexpr int positions = 1 << kBits;
    auto table = std::make_unique<float[]>(static_cast<std::size_t>(positions) * kTaps);
    for (int i = 0; i < positions; ++i) {
        const double t = static_cast<double>(i) / positions - 0.5;
        float* weights = &table[static_cast<std::size_t>(i) * kTaps];
        weights[0] = static_cast<float>(0.5 * t * (t - 1.0));
        weights[1] = static_cast<float>(1.0 - t * t);
        weights[2] = static_cast<float>(0.5 * t * (t + 1.0));
    }
    return table;
}

}  // namespace

const float* RZ_GetInterTab(int taps, int bits) {
    if (taps != kTaps || bits != kBits) return nullptr;
    static const std::unique_ptr<float[]> table = build_table();
    return table.get();
}
