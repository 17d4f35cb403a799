#pragma once

#include <cstddef>
#include <memory>
#include <string>

class MEM_PagerInfo;

// Memory of volumes: how much there is, and where it comes from.

namespace rzobl {

/// Volumes allocated from now on lie in unlinked files in folder and page out to it, so that they may be
/// larger than memory. For the whole process. Throws Error if folder cannot take files.
void page_to(const std::string& folder);

/// Throws Error, with the amount needed, if there is not as much memory (or disk, where volumes page) as what
/// needs. The pager reserves lazily: what is too large would otherwise end the process much later.
void check_memory(double bytes, const std::string& what);

/// Bytes from one raster of a volume to the next where all of them lie in one block. Starts of neighbouring
/// rasters are aligned to 64 bytes and differ modulo 4096, so that the same sample of neighbouring slices
/// does not compete for one cache set.
std::size_t raster_distance(std::size_t rasterBytes);

/// Zeroed pager memory with readable guards on both sides. Copies share it.
class Block {
  public:
    Block() = default;
    /// Throws Error, naming what needs it, if it cannot be had.
    Block(std::size_t bytes, const std::string& what);

    std::byte* data() const { return data_; }
    std::size_t size() const { return size_; }

  private:
    std::shared_ptr<MEM_PagerInfo> info_;
    std::byte* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace rzobl
