#pragma once

#include <cstddef>

namespace rz_test {

/// Memory of exactly `bytes` for a source raster. Under the address sanitizer a heap block. Elsewhere it
/// ends, or begins, where a page that nobody may touch begins or ends, so that one byte too far stops the
/// program in every build and by every kind of load, also by those that a sanitizer does not see. Blocks are
/// kept for the next user; any thread.
class SourceBlock {
  public:
    enum class Fence { kBehind, kBefore };

    SourceBlock(std::size_t bytes, Fence fence);
    SourceBlock(SourceBlock&& other) noexcept;
    SourceBlock& operator=(SourceBlock&& other) noexcept;
    SourceBlock(const SourceBlock&) = delete;
    SourceBlock& operator=(const SourceBlock&) = delete;
    ~SourceBlock();

    void* data() const { return data_; }

  private:
    char* pages_ = nullptr;
    std::size_t pageBytes_ = 0;
    void* data_ = nullptr;
};

}  // namespace rz_test
