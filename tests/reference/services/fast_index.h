#pragma once

#include <cstddef>
#include <vector>

namespace rz_reference {

/// What FFastInd::BuiltIndeces makes: the row block, and for each slice from -1 on the place of its row 0 in
/// it.
struct FastIndex {
    std::vector<const short*> rowBlock;
    std::vector<std::size_t> rowZero;
};

/// slices: readable from -1 to z.
FastIndex build_fast_index(const short* const* slices, int x, int y, int z);

}  // namespace rz_reference
