#pragma once

#include <functional>

namespace rzobl {

/// Called now and then by long work with the share that is done, 0 to 1. May be empty.
using Report = std::function<void(double)>;

inline void report(const Report& to, int done, int all) {
    if (to) to(static_cast<double>(done) / all);
}

}  // namespace rzobl
