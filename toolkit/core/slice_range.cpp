#include "toolkit/core/slice_range.h"

#include "toolkit/core/error.h"

namespace rzobl {

void check(const SliceRange& range, int slices, const std::string& name) {
    const std::string said = std::to_string(range.first) + ":" + std::to_string(range.last);
    if (range.first > range.last) throw Error(name + " " + said + " runs backwards");
    if (range.first < 0 || range.last >= slices)
        throw Error(name + " " + said + " leaves the volume, whose slices are 0 to " +
                    std::to_string(slices - 1));
}

Grid merged(const Grid& grid, const SliceRange& range) {
    Grid slice = grid;
    slice.size[2] = 1;
    slice.spacing[2] = grid.spacing[2] * range.count();
    slice.origin = grid.toPhysical({0, 0, 0.5 * (range.first + range.last)});
    return slice;
}

}  // namespace rzobl
