#include "toolkit/core/memory.h"

#include <mutex>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "lower/pager/mem_pager.h"
#include "toolkit/core/error.h"
#include "toolkit/core/text.h"

namespace rzobl {

namespace {

struct PagingFolder {
    std::mutex lock;
    std::string path;
};

PagingFolder& paging_folder() {
    static PagingFolder folder;
    return folder;
}

double free_bytes(const std::string& folder) {
    struct statvfs disk {};
    if (statvfs(folder.c_str(), &disk) != 0) return 0;
    return static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
}

}  // namespace

void page_to(const std::string& folder) {
    struct stat status {};
    if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
        throw Error("cannot page to " + folder + ": there is no such folder");
    MEM_MemPager::SetPagingDirectory(folder.c_str());
    const std::unique_ptr<MEM_MemPager> pager(MEM_MemPager::GetHandleForMP());
    MEM_PagerInfo probe;
    if (pager->AllocateLarge(1, &probe) != 0) {
        MEM_MemPager::SetPagingDirectory(nullptr);
        throw Error("cannot page to " + folder + ": no file can be made in it");
    }
    PagingFolder& paging = paging_folder();
    const std::lock_guard<std::mutex> lock(paging.lock);
    paging.path = folder;
}

void check_memory(double bytes, const std::string& what) {
    std::string folder;
    {
        PagingFolder& paging = paging_folder();
        const std::lock_guard<std::mutex> lock(paging.lock);
        folder = paging.path;
    }
    if (!folder.empty()) {
        if (bytes > free_bytes(folder))
            throw Error(what + " needs " + bytes_text(bytes) + " of disk to page to, and " + folder +
                        " has " + bytes_text(free_bytes(folder)) + " free");
        return;
    }
    const double machine =
        static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    if (bytes > machine)
        throw Error(what + " needs " + bytes_text(bytes) + " of memory, and this machine has " +
                    bytes_text(machine));
}

std::size_t raster_distance(std::size_t rasterBytes) {
    // 37 cache lines beyond whole pages: odd, so that 64 rasters in a row all differ
    constexpr std::size_t kPage = 4096;
    constexpr std::size_t kBeyond = std::size_t{37} * 64;
    return (rasterBytes + kPage - 1) / kPage * kPage + kBeyond;
}

Block::Block(std::size_t bytes, const std::string& what)
    : info_(std::make_shared<MEM_PagerInfo>()), size_(bytes) {
    check_memory(static_cast<double>(bytes), what);
    const std::unique_ptr<MEM_MemPager> pager(MEM_MemPager::GetHandleForMP());
    if (pager->AllocateLarge(bytes, info_.get()) != 0)
        throw Error(what + " needs " + bytes_text(static_cast<double>(bytes)) +
                    " of memory, which this system does not give");
    data_ = static_cast<std::byte*>(info_->Ptr());
}

}  // namespace rzobl
