#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <stdlib.h>

namespace rz_test {

/// An empty folder that goes away with the object.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "rzobl-test-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::filesystem::filesystem_error("mkdtemp", {});
        path_ = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }
    /// Names of everything in it, hidden files too.
    std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            found.push_back(entry.path().filename().string());
        return found;
    }

  private:
    std::filesystem::path path_;
};

}  // namespace rz_test
