#pragma once

#include <string>

#include "toolkit/core/grid.h"

namespace rzobl {

/// Slices first to last of a volume, inclusive. Slices count from 0.
struct SliceRange {
    int first = 0;
    int last = 0;

    int count() const { return last - first + 1; }
};

/// Throws Error, with the name of the range, if it runs backwards or leaves a volume of this many slices.
void check(const SliceRange& range, int slices, const std::string& name);

/// The grid of one slice as thick as the range and in its middle.
Grid merged(const Grid& grid, const SliceRange& range);

}  // namespace rzobl
