#pragma once

#include <string>

#include "toolkit/core/grid.h"

namespace rzobl {

/// A number as a person writes it: up to six significant digits, no trailing zeros.
std::string text(double number);
/// "(x, y, z)".
std::string text(const Vec3& vector);
/// A number of bytes with its unit: "1.5 GiB".
std::string bytes_text(double bytes);

}  // namespace rzobl
