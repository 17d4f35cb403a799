#pragma once

#include <array>
#include <string>

#include "toolkit/io/read_stack.h"

namespace rzobl {

/// The stack of a volume placed by an affine map, which need not keep right angles between slices and their
/// step. axes: millimetres of one step along each index. Throws Error (naming `name`) for axes of no length.
Stack stack_of(const std::array<std::size_t, 3>& size, const std::array<Vec3, 3>& axes, const Vec3& origin,
               const std::string& name);

}  // namespace rzobl
