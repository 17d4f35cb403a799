#include "lower/pager/mem_pager.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <new>
#include <string>

// A block is one mapping:
//
//   guard (read-only) | pages: rest, block, rest (read and write) | guard (read-only)
//
// Guards are anonymous and private, also around a file, so that reading them never costs more than the
// kernel's one page of zeros. As areas of their own they also keep huge pages from reaching into them.

namespace {

// Steps of 64 bytes from page start to block start, by turns. 37 is odd, so that 64 blocks in a row all
// differ, and spreads neighbours over the sets that power-of-two rows leave free.
constexpr std::size_t kStaggerStep = 64;
constexpr std::size_t kStaggerCount = 64;
constexpr unsigned kStaggerFactor = 37;

// Blocks from this size on get huge pages, if the system has them: volumes are read at random, and a
// translation of 4 KiB serves four rows of a slice only.
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kHugeFrom = 2 * kHugePage;

std::atomic<unsigned> g_nextStagger{0};

struct PagingDirectory {
    std::mutex lock;
    std::string path;
    bool set = false;
};

// Never destroyed: static objects may allocate at any time.
PagingDirectory& pagingDirectory() {
    static PagingDirectory& directory = *new PagingDirectory;
    return directory;
}

std::size_t pageBytes() {
    static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return bytes;
}

std::size_t roundUp(std::size_t value, std::size_t step) {
    return (value + step - 1) / step * step;
}

/// Name of the files that back blocks as mkostemp takes it; empty for anonymous memory. False without memory
/// for the name.
bool getFileName(std::string& name) {
    try {
        PagingDirectory& setting = pagingDirectory();
        const std::lock_guard<std::mutex> lock(setting.lock);
        if (setting.set) name = setting.path + "/rz_pager_XXXXXX";
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Descriptor of an unlinked file of this size, or -1. No disk is taken yet, but a size that the disk could
/// never hold is refused here, since later it would end in a bus error.
int openSparseFile(std::string& path, std::size_t bytes) {
    const int file = mkostemp(path.data(), O_CLOEXEC);
    if (file < 0) return -1;
    unlink(path.c_str());
    struct statvfs disk {};
    const bool fits = fstatvfs(file, &disk) == 0 && bytes / disk.f_frsize < disk.f_bavail;
    if (fits && ftruncate(file, static_cast<off_t>(bytes)) == 0) return file;
    close(file);
    return -1;
}

bool backByFile(void* pages, std::size_t bytes, std::string& name) {
    const int file = openSparseFile(name, bytes);
    if (file < 0) return false;
    const void* mapped = mmap(pages, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, file, 0);
    close(file);  // the mapping keeps the file
    return mapped != MAP_FAILED;
}

}  // namespace

MEM_PagerInfo::~MEM_PagerInfo() {
    if (mapping_) munmap(mapping_, mappingBytes_);
}

void* MEM_PagerInfo::Ptr() {
    return block_;
}

int MEM_PagerInfo::Unmap() {
#if defined(MADV_COLD)
    if (fileBacked_) madvise(pages_, pagesBytes_, MADV_COLD);
#endif
    return 0;
}

MEM_MemPager::~MEM_MemPager() = default;

MEM_MemPager* MEM_MemPager::GetHandleForMP() {
    // Not on the heap: callers drop handles, and these must not pile up. One for each thread, so that a
    // deletion meets no other thread's handle.
    alignas(MEM_MemPager) thread_local unsigned char storage[sizeof(MEM_MemPager)];
    thread_local MEM_MemPager* const handle = ::new (storage) MEM_MemPager;
    return handle;
}

void MEM_MemPager::operator delete(void* handle) {
    ::new (handle) MEM_MemPager;
}

int MEM_MemPager::Allocate(unsigned int bytes, MEM_PagerInfo* info, int) {
    return AllocateLarge(bytes, info);
}

int MEM_MemPager::AllocateLarge(std::size_t bytes, MEM_PagerInfo* info) {
    // Far above any address space, far below an overflow of the sums that follow.
    constexpr std::size_t kMostBytes = SIZE_MAX / 4;
    if (bytes == 0 || bytes > kMostBytes || !info || info->block_) return -1;

    const unsigned turn = g_nextStagger.fetch_add(1, std::memory_order_relaxed);
    const std::size_t stagger = turn * kStaggerFactor % kStaggerCount * kStaggerStep;
    const std::size_t guard = roundUp(kGuardBytes, pageBytes());
    const std::size_t pagesBytes = roundUp(stagger + bytes, pageBytes());

    std::string fileName;
    if (!getFileName(fileName)) return -1;
    const bool fileBacked = !fileName.empty();

    const bool huge = !fileBacked && bytes >= kHugeFrom;
    const std::size_t slack = huge ? kHugePage : 0;  // for the alignment; never touched
    const std::size_t mappingBytes = guard + slack + pagesBytes + guard;
    void* mapping = mmap(nullptr, mappingBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) return -1;
    char* pages = static_cast<char*>(mapping) + guard;
    if (huge) pages += kHugePage - reinterpret_cast<std::uintptr_t>(pages) % kHugePage;
    const bool done = fileBacked ? backByFile(pages, pagesBytes, fileName)
                                 : mprotect(pages, pagesBytes, PROT_READ | PROT_WRITE) == 0;
    if (!done) {
        munmap(mapping, mappingBytes);
        return -1;
    }
#if defined(MADV_HUGEPAGE)
    if (huge) madvise(pages, pagesBytes, MADV_HUGEPAGE);  // a wish: small pages serve as well
#endif

    info->block_ = pages + stagger;
    info->mapping_ = mapping;
    info->mappingBytes_ = mappingBytes;
    info->pages_ = pages;
    info->pagesBytes_ = pagesBytes;
    info->fileBacked_ = fileBacked;
    return 0;
}

void MEM_MemPager::SetPagingDirectory(const char* directory) {
    PagingDirectory& setting = pagingDirectory();
    std::string path(directory ? directory : "");
    const std::lock_guard<std::mutex> lock(setting.lock);
    setting.set = directory != nullptr;
    setting.path.swap(path);
}
