#include "tests/support/source_block.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define RZ_HEAP_BLOCKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RZ_HEAP_BLOCKS 1
#endif
#endif

namespace rz_test {

#ifdef RZ_HEAP_BLOCKS

SourceBlock::SourceBlock(std::size_t bytes, Fence) : pages_(new char[bytes]), data_(pages_) {}

SourceBlock::~SourceBlock() {
    delete[] pages_;
}

#else

namespace {

std::size_t page_bytes() {
    static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return bytes;
}

/// Readable pages between two fences, by their size.
struct Pool {
    std::mutex lock;
    std::map<std::size_t, std::vector<char*>> idle;
    /// First byte and size of every set of pages.
    std::vector<std::pair<char*, std::size_t>> all;
};

Pool& pool() {
    static Pool* const thePool = new Pool;  // outlives every block
    return *thePool;
}

/// Names the fault where it is one of ours; the second fault, on return, ends the program.
void report_fault(int, siginfo_t* info, void*) {
    static const char text[] = "A load or store ran beyond a source raster: its address lies in a fence.\n";
    const auto* at = static_cast<const char*>(info->si_addr);
    for (const auto& [pages, bytes] : pool().all) {
        if (at < pages - page_bytes() || at >= pages + bytes + page_bytes()) continue;
        if (write(STDERR_FILENO, text, sizeof text - 1) < 0) return;
    }
}

char* new_pages(std::size_t bytes) {
    const std::size_t page = page_bytes();
    void* mapping = mmap(nullptr, bytes + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) throw std::bad_alloc();
    char* pages = static_cast<char*>(mapping) + page;
    if (mprotect(pages, bytes, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    return pages;
}

char* take_pages(std::size_t bytes) {
    Pool& p = pool();
    const std::lock_guard<std::mutex> held(p.lock);
    if (p.all.empty()) {
        struct sigaction action {};
        action.sa_sigaction = report_fault;
        action.sa_flags = SA_SIGINFO | static_cast<int>(SA_RESETHAND);
        sigaction(SIGSEGV, &action, nullptr);
    }
    auto& idle = p.idle[bytes];
    if (idle.empty()) {
        idle.push_back(new_pages(bytes));
        p.all.emplace_back(idle.back(), bytes);
    }
    char* pages = idle.back();
    idle.pop_back();
    return pages;
}

}  // namespace

SourceBlock::SourceBlock(std::size_t bytes, Fence fence) {
    const std::size_t page = page_bytes();
    pageBytes_ = std::max(page, (bytes + page - 1) / page * page);
    pages_ = take_pages(pageBytes_);
    data_ = fence == Fence::kBehind ? pages_ + (pageBytes_ - bytes) : pages_;
}

SourceBlock::~SourceBlock() {
    if (!pages_) return;
    Pool& p = pool();
    const std::lock_guard<std::mutex> held(p.lock);
    p.idle[pageBytes_].push_back(pages_);
}

#endif

SourceBlock::SourceBlock(SourceBlock&& other) noexcept
    : pages_(std::exchange(other.pages_, nullptr)),
      pageBytes_(other.pageBytes_),
      data_(std::exchange(other.data_, nullptr)) {}

SourceBlock& SourceBlock::operator=(SourceBlock&& other) noexcept {
    std::swap(pages_, other.pages_);
    std::swap(pageBytes_, other.pageBytes_);
    std::swap(data_, other.data_);
    return *this;
}

}  // namespace rz_test
