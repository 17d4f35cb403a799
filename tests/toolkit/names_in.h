#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace rz_test {

/// Names of everything in a folder, hidden files too.
inline std::vector<std::string> names_in(const std::filesystem::path& folder) {
    std::vector<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        found.push_back(entry.path().filename().string());
    return found;
}

}  // namespace rz_test
