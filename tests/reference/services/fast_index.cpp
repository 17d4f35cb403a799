#include "tests/reference/services/fast_index.h"

namespace rz_reference {

FastIndex build_fast_index(const short* const* slices, int x, int y, int z) {
    FastIndex index;
    index.rowBlock.resize(static_cast<std::size_t>((y + 2) * (z + 2)));
    for (int k = -1; k <= z; ++k) {
        const int rowZero = 1 + (k + 1) * (y + 2);
        index.rowZero.push_back(static_cast<std::size_t>(rowZero));
        const short* p = slices[k];
        index.rowBlock[static_cast<std::size_t>(rowZero - 1)] = p;
        for (int j = 0; j < y; ++j) {
            index.rowBlock[static_cast<std::size_t>(rowZero + j)] = p;
            p += x;
        }
        index.rowBlock[static_cast<std::size_t>(rowZero + y)] = p - x;
    }
    return index;
}

}  // namespace rz_reference
