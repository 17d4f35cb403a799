#pragma once

#include <array>
#include <string>
#include <vector>

#include "toolkit/core/grid.h"

namespace rzobl {

/// Parallel slices where their file places them, even or not: all of one size, spacing and orientation, in
/// the order of the samples.
struct Stack {
    int columns = 0;
    int rows = 0;
    /// Millimetres between columns and between rows.
    std::array<double, 2> spacing{1, 1};
    /// Direction in which the column number grows, and the row number. LPS, of unit length.
    Vec3 alongRow{1, 0, 0};
    Vec3 alongColumn{0, 1, 0};
    /// Centre of the first sample of each slice, LPS millimetres.
    std::vector<Vec3> positions;
    /// Depth of a single slice, mm, where a file states the distance of its slices; else 0.
    double singleDepth = 0;
};

/// A stack measured in its own frame, relative to its first slice.
struct StackShape {
    /// At right angles to the slices, toward the last one.
    Vec3 normal{0, 0, 1};
    /// Of each slice, mm: along the normal, and across it along rows and columns.
    std::vector<double> depth;
    std::vector<std::array<double, 2>> shift;
    /// Distance of neighbouring planes: of an even grid through all slices, or the most common one.
    double step = 1;
    /// What keeps the slices from being an even orthogonal grid, as the middle of a sentence; empty if
    /// nothing.
    std::string fault;
    /// What was let pass but is worth telling; empty if nothing.
    std::string remark;
};

/// Throws Error (naming `name`) for directions that are not orthonormal and slices that do not follow each
/// other along one line of sight.
StackShape measure(const Stack& stack, const std::string& name);

/// The grid of a stack without fault.
Grid even_grid(const Stack& stack, const StackShape& shape);

/// The even orthogonal grid that holds every sample of the stack: same plane orientation and spacing, lines
/// of samples through those of the first slice, planes through the slices where these allow it.
Grid enclosing_grid(const Stack& stack, const StackShape& shape, const std::string& name);

}  // namespace rzobl
