#pragma once

#include <cstddef>

#include "lower/export.h"

/// One block of pager memory, or none. Releases its block when destroyed. Movable only by pointer.
class RZ_LOWER_API MEM_PagerInfo {
  public:
    MEM_PagerInfo() = default;
    ~MEM_PagerInfo();
    MEM_PagerInfo(const MEM_PagerInfo&) = delete;
    MEM_PagerInfo& operator=(const MEM_PagerInfo&) = delete;

    /// The block, mapped; null if there is none.
    void* Ptr();
    /// Ends access until the next Ptr(). The block keeps its content and its address. Always 0.
    int Unmap();

  private:
    friend class MEM_MemPager;
    void* block_ = nullptr;
    void* mapping_ = nullptr;
    std::size_t mappingBytes_ = 0;
};

/// Hands out zeroed blocks aligned to 64 bytes, each between two readable zeroed guards of at least 192 KiB,
/// so that a kernel may read a row before and after a raster. Untouched pages cost no memory. Safe from any
/// thread.
class RZ_LOWER_API MEM_MemPager {
  public:
    /// Readable zeroed bytes before and after every block.
    static constexpr std::size_t kGuardBytes = 192 * 1024;

    virtual ~MEM_MemPager();

    /// A handle on the pager; the caller may delete it or drop it.
    static MEM_MemPager* GetHandleForMP();

    /// Reserves bytes and ties the block to info, which must hold none. The last argument is always 16.
    /// 0 for done, -1 for what cannot be had; info then stays empty.
    int Allocate(unsigned int bytes, MEM_PagerInfo* info, int);
    /// The same for sizes beyond 4 GiB.
    int AllocateLarge(std::size_t bytes, MEM_PagerInfo* info);

    /// Blocks allocated from now on are backed by unlinked temporary files in directory, so that they can
    /// page out and volumes larger than memory work. Null: anonymous memory, the default.
    static void SetPagingDirectory(const char* directory);

  protected:
    MEM_MemPager() = default;
};
