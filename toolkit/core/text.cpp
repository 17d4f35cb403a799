#include "toolkit/core/text.h"

#include <array>
#include <cstdio>

namespace rzobl {

std::string text(double number) {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.6g", number == 0 ? 0.0 : number);
    return buffer;
}

std::string text(const Vec3& vector) {
    return "(" + text(vector[0]) + ", " + text(vector[1]) + ", " + text(vector[2]) + ")";
}

std::string bytes_text(double bytes) {
    static constexpr std::array<const char*, 5> kUnits{"bytes", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    while (bytes >= 1024 && unit + 1 < kUnits.size()) {
        bytes /= 1024;
        ++unit;
    }
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, unit == 0 || bytes >= 100 ? "%.0f %s" : "%.1f %s", bytes,
                  kUnits[unit]);
    return buffer;
}

}  // namespace rzobl
