#include "tests/toolkit/phantom_files.h"

#include "toolkit/core/phantom.h"
#include "toolkit/io/write_volume.h"

namespace rz_test {

std::string PhantomFiles::file(const char* name, rzobl::SampleKind kind) const {
    const std::filesystem::path path = folder_ / name;
    if (!std::filesystem::exists(path))
        rzobl::write_volume(rzobl::make_phantom(rzobl::phantom_grid(spacing_), kind), path, false);
    return path.string();
}

Finished rzobl_to(const std::string& command, const std::string& input, const std::filesystem::path& out,
                  const std::vector<std::string>& more) {
    std::vector<std::string> arguments{command, input, "-o", out.string()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return rzobl(arguments);
}

}  // namespace rz_test
