#include "toolkit/io/read_affine.h"

#include <cmath>

#include "toolkit/core/vector.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

Stack stack_of(const std::array<std::size_t, 3>& size, const std::array<Vec3, 3>& axes, const Vec3& origin,
               const std::string& name) {
    std::array<double, 3> step{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (size[axis] < 1 || size[axis] > 32767)
            refuse("%s: a size of %zu along axis %zu; sizes must lie between 1 and 32767", name.c_str(),
                   size[axis], axis + 1);
        step[axis] = length(axes[axis]);
        const bool single = axis == 2 && size[axis] == 1;
        if (!single && !(step[axis] > 1e-6 && step[axis] < 1e6))
            refuse("%s: a spacing of %g mm along axis %zu", name.c_str(), step[axis], axis + 1);
    }
    Stack stack;
    stack.columns = static_cast<int>(size[0]);
    stack.rows = static_cast<int>(size[1]);
    stack.spacing = {step[0], step[1]};
    stack.alongRow = scaled(axes[0], 1 / step[0]);
    stack.alongColumn = scaled(axes[1], 1 / step[1]);
    if (size[2] == 1 && step[2] > 1e-6 && step[2] < 1e6) stack.singleDepth = step[2];
    for (std::size_t k = 0; k < size[2]; ++k)
        stack.positions.push_back(added(origin, scaled(axes[2], static_cast<double>(k))));
    return stack;
}

}  // namespace rzobl
