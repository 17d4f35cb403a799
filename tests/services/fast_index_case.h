#pragma once

#include <string>
#include <vector>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/reference/services/fast_index.h"
#include "tests/support/seeded.h"

namespace rz_test {

/// Rasters for slices -1 to z, each with one row to spare in front.
struct IndexedSlices {
    IndexedSlices(int x, int y, int z) {
        for (int k = -1; k <= z; ++k) {
            blocks.emplace_back(static_cast<std::size_t>(x * (y + 1)));
            table.push_back(blocks.back().data() + x);
        }
    }
    const short* const* fromZero() const { return table.data() + 1; }

    std::vector<std::vector<short>> blocks;
    std::vector<const short*> table;
};

/// Builds the index of a random volume and says where it differs from the plain form; empty if nowhere.
inline std::string compare_fast_index(Seed seed) {
    Random random(seed);
    const int x = random.between(1, 70);
    const int y = random.between(0, 40);
    const int z = random.once_in(20) ? -1 : random.between(1, 12);
    const IndexedSlices slices(x, y, z);
    const auto want = rz_reference::build_fast_index(slices.fromZero(), x, y, z);
    RZ_Box box(x, y, z, RZ_BoxParams());
    box.rowStride = random.between(0, 100);  // no part of it
    FFastInd index;
    index.BuiltIndeces(slices.fromZero(), box);
    const short*** array = index.GetArray();
    if (array == nullptr) return "no index, " + replay(seed);
    const short** rowBlock = array[-1] - 1;
    for (int k = -1; k <= z; ++k) {
        const auto place = want.rowZero[static_cast<std::size_t>(k + 1)];
        if (static_cast<std::size_t>(array[k] - rowBlock) != place)
            return "the place of slice " + std::to_string(k) + ", " + replay(seed);
    }
    for (std::size_t i = 0; i < want.rowBlock.size(); ++i) {
        if (rowBlock[i] != want.rowBlock[i]) return "row entry " + std::to_string(i) + ", " + replay(seed);
    }
    return "";
}

}  // namespace rz_test
