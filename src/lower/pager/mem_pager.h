#pragma once

#include <cstddef>

#include "lower/export.h"

/// One block of pager memory, or none. Releases its block when destroyed. One thread at a time; the block
/// itself may be used by any number.
class RZ_LOWER_API MEM_PagerInfo {
  public:
    MEM_PagerInfo() = default;
    ~MEM_PagerInfo();
    MEM_PagerInfo(const MEM_PagerInfo&) = delete;
    MEM_PagerInfo& operator=(const MEM_PagerInfo&) = delete;

    /// The block, mapped; null if there is none.
    void* Ptr();
    /// Ends access until the next Ptr(). The block keeps its content and its address; the pages of a block
    /// that a file backs become the first to be written out. Always 0.
    int Unmap();

  private:
    friend class MEM_MemPager;
    void* block_ = nullptr;
    // Guards included.
    void* mapping_ = nullptr;
    std::size_t mappingBytes_ = 0;
    // The writable middle, whole pages around the block.
    void* pages_ = nullptr;
    std::size_t pagesBytes_ = 0;
    bool fileBacked_ = false;
};

/// Hands out zeroed blocks aligned to 64 bytes, each between two readable zeroed guards of at least 192 KiB,
/// so that a kernel may read a row before and after a raster. Untouched pages cost no memory, and the guards
/// never do: they are read-only but for the rest of the pages that they share with the block. Starts of
/// blocks differ modulo 4096, so that the same sample of neighbouring slices does not compete for one cache
/// set. Large blocks ask the system for huge pages. Safe from any thread.
class RZ_LOWER_API MEM_MemPager {
  public:
    /// Readable zeroed bytes before and after every block.
    static constexpr std::size_t kGuardBytes = 192 * 1024;

    virtual ~MEM_MemPager();

    /// A handle on the pager, valid as long as the calling thread; its caller may delete it or drop it,
    /// neither costs memory. The one pager of the process stands behind every handle, and blocks outlive it.
    static MEM_MemPager* GetHandleForMP();
    /// Leaves the handle as new, for whoever asked for it as well.
    static void operator delete(void* handle);

    /// Reserves bytes and ties the block to info, which must hold none. The last argument is always 16.
    /// 0 for done, -1 for what cannot be had (and for 0 bytes); info then stays as it was.
    int Allocate(unsigned int bytes, MEM_PagerInfo* info, int);
    /// The same for sizes beyond 4 GiB.
    int AllocateLarge(std::size_t bytes, MEM_PagerInfo* info);

    /// Blocks allocated from now on are backed by unlinked, sparse temporary files in directory, so that they
    /// can page out and volumes larger than memory work. Null: anonymous memory, the default. Nothing is
    /// checked here: in a directory that cannot be written, Allocate gives -1.
    static void SetPagingDirectory(const char* directory);

  protected:
    MEM_MemPager() = default;
};
