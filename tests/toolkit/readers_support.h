#pragma once

#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <vector>

#include "toolkit/io/read_volume.h"

namespace rz_test {

/// An empty folder of its own, removed with everything in it.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

using Bytes = std::vector<std::uint8_t>;

void write_bytes(const std::filesystem::path& file, const Bytes& bytes);
void write_text(const std::filesystem::path& file, const std::string& text);
Bytes read_bytes(const std::filesystem::path& file);
/// As gzip does, one member.
Bytes gzipped(const Bytes& bytes);
/// As zlib does.
Bytes deflated(const Bytes& bytes);

template <class T>
Bytes bytes_of_values(const std::vector<T>& values) {
    const auto* const first = reinterpret_cast<const std::uint8_t*>(values.data());
    return Bytes(first, first + values.size() * sizeof(T));
}

/// Expects a refusal of one sentence that holds every part.
void expect_refused(const std::filesystem::path& input, const rzobl::ReadOptions& options,
                    std::initializer_list<const char*> parts);

/// Whether one warning holds the part.
bool warned(const rzobl::ReadResult& result, const std::string& part);

/// Stored value of a sample, with the volume's sign.
int stored(const rzobl::Volume& volume, int i, int j, int k);

/// The unpacked real CT (with folders phantom and phantom-tilted), or an empty path where there is none.
std::filesystem::path real_ct();

}  // namespace rz_test
