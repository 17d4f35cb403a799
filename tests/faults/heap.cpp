#include "tests/faults/heap.h"

#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>

// The linker sends these calls of the program and of the libraries' objects here.
extern "C" {
void* wrap_malloc(std::size_t bytes) __asm__("__wrap_malloc");
void* wrap_calloc(std::size_t count, std::size_t bytes) __asm__("__wrap_calloc");
void* wrap_realloc(void* block, std::size_t bytes) __asm__("__wrap_realloc");
void* wrap_aligned_alloc(std::size_t alignment, std::size_t bytes) __asm__("__wrap_aligned_alloc");
int wrap_posix_memalign(void** block, std::size_t alignment,
                        std::size_t bytes) __asm__("__wrap_posix_memalign");
void wrap_free(void* block) __asm__("__wrap_free");
void* wrap_mmap(void* at, std::size_t bytes, int protection, int flags, int file,
                off_t offset) __asm__("__wrap_mmap");
int wrap_munmap(void* at, std::size_t bytes) __asm__("__wrap_munmap");
int wrap_mprotect(void* at, std::size_t bytes, int protection) __asm__("__wrap_mprotect");

void* real_malloc(std::size_t bytes) __asm__("__real_malloc");
void* real_realloc(void* block, std::size_t bytes) __asm__("__real_realloc");
void* real_aligned_alloc(std::size_t alignment, std::size_t bytes) __asm__("__real_aligned_alloc");
void real_free(void* block) __asm__("__real_free");
void* real_mmap(void* at, std::size_t bytes, int protection, int flags, int file,
                off_t offset) __asm__("__real_mmap");
int real_munmap(void* at, std::size_t bytes) __asm__("__real_munmap");
int real_mprotect(void* at, std::size_t bytes, int protection) __asm__("__real_mprotect");
}

namespace rz_test::heap {
namespace {

struct Entry {
    /// The address, inverted, so that a leak checker does not take this table for its owner. 0: free.
    std::uintptr_t hidden = 0;
    Block block;
    /// The watch it was handed out in, 0 outside of any, and the number of the request.
    unsigned watch = 0;
    int request = 0;
};

/// Every block that is held, by address: open addressing, no memory of its own. The hooks must not allocate.
class Ledger {
  public:
    void add(const void* address, Block block, unsigned watch, int request) {
        std::size_t i = slot(address);
        while (entries_[i].hidden != 0) i = next(i);
        entries_[i] = {hide(address), block, watch, request};
        if (++count_ == kSlots / 2) std::abort();
    }
    /// The entry is gone afterwards. False if there is none.
    bool take(const void* address, Entry& entry) {
        std::size_t i = slot(address);
        while (entries_[i].hidden != hide(address)) {
            if (entries_[i].hidden == 0) return false;
            i = next(i);
        }
        entry = entries_[i];
        close_gap(i);
        --count_;
        return true;
    }
    template <class Visit>
    void each(Visit visit) const {
        for (const Entry& e : entries_) {
            if (e.hidden != 0) visit(e);
        }
    }

  private:
    static constexpr unsigned kBits = 16;
    static constexpr std::size_t kSlots = std::size_t{1} << kBits;
    static std::uintptr_t hide(const void* address) { return ~reinterpret_cast<std::uintptr_t>(address); }
    static std::size_t slot(const void* address) {
        const auto bits = reinterpret_cast<std::uintptr_t>(address);
        return ((bits >> 4) ^ (bits >> (4 + kBits)) ^ (bits >> 12)) % kSlots;
    }
    static std::size_t next(std::size_t i) { return (i + 1) % kSlots; }
    void close_gap(std::size_t gap) {
        for (std::size_t i = next(gap); entries_[i].hidden != 0; i = next(i)) {
            const std::size_t home = slot(reinterpret_cast<const void*>(~entries_[i].hidden));
            if ((i + kSlots - home) % kSlots < (i + kSlots - gap) % kSlots)
                continue;  // its home lies behind the gap
            entries_[gap] = entries_[i];
            gap = i;
        }
        entries_[gap] = {};
    }

    std::array<Entry, kSlots> entries_;
    std::size_t count_ = 0;
};

constexpr int kMostRequests = 4096;

struct State {
    std::atomic_flag lock = ATOMIC_FLAG_INIT;
    Ledger ledger;
    unsigned watch = 0;
    int refused = 0;
    int requests = 0;
    bool wasRefused = false;
    Block refusedBlock;
    int oddReleases = 0;
    std::array<Block, kMostRequests> grantedBlocks;
};

State g_state;
thread_local bool t_watched = false;

class Guard {
  public:
    Guard() {
        while (g_state.lock.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~Guard() { g_state.lock.clear(std::memory_order_release); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
};

/// Whether the request, the next of its watch, is granted.
bool granted(Block block) {
    if (!t_watched) return true;
    const int request = g_state.requests++;
    if (request != g_state.refused) {
        const bool before = !g_state.wasRefused && request < kMostRequests;
        if (before) g_state.grantedBlocks[static_cast<std::size_t>(request)] = block;
        return true;
    }
    g_state.wasRefused = true;
    g_state.refusedBlock = block;
    return false;
}

void enter(const void* address, Block block) {
    g_state.ledger.add(address, block, t_watched ? g_state.watch : 0, g_state.requests - 1);
}

template <class Get>
void* take(Block block, Get get) {
    const Guard guard;
    if (!granted(block)) return nullptr;
    void* const address = get();
    if (address != nullptr) enter(address, block);
    return address;
}

bool fits(Kind kind, Kind release) {
    return kind == release || (kind == Kind::kAligned && release == Kind::kMalloc);
}

void give(void* address, Kind release) {
    if (address == nullptr) return;
    {
        const Guard guard;
        Entry entry;
        const bool known = g_state.ledger.take(address, entry);
        if (t_watched && !(known && fits(entry.block.kind, release))) ++g_state.oddReleases;
        if (t_watched && !known) return;  // goes no further
    }
    real_free(address);
}

void* take_or_throw(Kind kind, std::size_t bytes) {
    void* const block = take({kind, bytes}, [=] { return real_malloc(bytes == 0 ? 1 : bytes); });
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

void* take_aligned_or_throw(Kind kind, std::size_t bytes, std::align_val_t alignment) {
    const auto step = static_cast<std::size_t>(alignment);
    const std::size_t whole = (bytes + step) / step * step;
    void* const block = take({kind, bytes}, [=] { return real_aligned_alloc(step, whole); });
    if (block == nullptr) throw std::bad_alloc();
    return block;
}

}  // namespace

void begin_watch(int refused) {
    ++g_state.watch;
    g_state.refused = refused;
    g_state.requests = 0;
    g_state.wasRefused = false;
    g_state.oddReleases = 0;
    t_watched = true;
}

Account end_watch(Ending ending) {
    t_watched = false;
    Account account;
    account.watch = g_state.watch;
    account.ending = ending;
    account.requests = g_state.requests;
    account.refused = g_state.wasRefused;
    account.refusedBlock = g_state.refusedBlock;
    account.oddReleases = g_state.oddReleases;
    const int count = std::min(g_state.wasRefused ? g_state.refused : g_state.requests, kMostRequests);
    account.granted.assign(g_state.grantedBlocks.begin(), g_state.grantedBlocks.begin() + count);
    return account;
}

std::vector<Block> held_since(unsigned watch) {
    std::size_t count = 0;
    const auto wanted = [watch](const Entry& e) { return e.watch >= watch; };
    g_state.ledger.each([&](const Entry& e) { count += wanted(e) ? 1 : 0; });
    std::vector<Entry> held;
    held.reserve(count);  // the ledger may not change while it is looked through
    g_state.ledger.each([&](const Entry& e) {
        if (wanted(e)) held.push_back(e);
    });
    std::sort(held.begin(), held.end(), [](const Entry& a, const Entry& b) {
        return a.watch != b.watch ? a.watch < b.watch : a.request < b.request;
    });
    std::vector<Block> blocks;
    for (const Entry& e : held) blocks.push_back(e.block);
    return blocks;
}

std::string describe(const Block& block) {
    const char* const names[] = {"new ", "new[] ", "malloc ", "aligned_alloc ", "mmap ", "mprotect "};
    return names[static_cast<std::size_t>(block.kind)] + std::to_string(block.bytes);
}

}  // namespace rz_test::heap

using rz_test::heap::Kind;

void* wrap_malloc(std::size_t bytes) {
    return rz_test::heap::take({Kind::kMalloc, bytes}, [=] { return real_malloc(bytes); });
}

void* wrap_calloc(std::size_t count, std::size_t bytes) {
    std::size_t all = 0;
    if (__builtin_mul_overflow(count, bytes, &all)) return nullptr;
    void* const block = wrap_malloc(all);
    if (block != nullptr) std::memset(block, 0, all);
    return block;
}

void* wrap_realloc(void* block, std::size_t bytes) {
    using namespace rz_test::heap;
    const Guard guard;
    if (!granted({Kind::kMalloc, bytes})) return nullptr;
    void* const moved = real_realloc(block, bytes);
    if (moved == nullptr) return nullptr;
    Entry entry;
    if (block != nullptr) (void)g_state.ledger.take(block, entry);
    enter(moved, {Kind::kMalloc, bytes});
    return moved;
}

void* wrap_aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return rz_test::heap::take({Kind::kAligned, bytes}, [=] { return real_aligned_alloc(alignment, bytes); });
}

int wrap_posix_memalign(void** block, std::size_t alignment, std::size_t bytes) {
    void* const got = wrap_aligned_alloc(alignment, (bytes + alignment - 1) / alignment * alignment);
    if (got == nullptr) return ENOMEM;
    *block = got;
    return 0;
}

void wrap_free(void* block) {
    rz_test::heap::give(block, Kind::kMalloc);
}

void* wrap_mmap(void* at, std::size_t bytes, int protection, int flags, int file, off_t offset) {
    using namespace rz_test::heap;
    const Guard guard;
    if (!granted({Kind::kMapping, bytes})) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    void* const mapping = real_mmap(at, bytes, protection, flags, file, offset);
    // One that replaces a part of another goes with it.
    if (mapping != MAP_FAILED && (flags & MAP_FIXED) == 0) {
        enter(mapping, {Kind::kMapping, bytes});
    }
    return mapping;
}

int wrap_munmap(void* at, std::size_t bytes) {
    using namespace rz_test::heap;
    const Guard guard;
    Entry entry;
    const bool known = g_state.ledger.take(at, entry);
    if (t_watched && !(known && entry.block == Block{Kind::kMapping, bytes})) ++g_state.oddReleases;
    return real_munmap(at, bytes);
}

int wrap_mprotect(void* at, std::size_t bytes, int protection) {
    using namespace rz_test::heap;
    const Guard guard;
    if (!granted({Kind::kProtection, bytes})) {
        errno = ENOMEM;
        return -1;
    }
    return real_mprotect(at, bytes, protection);
}

void* operator new(std::size_t bytes) {
    return rz_test::heap::take_or_throw(Kind::kNew, bytes);
}
void* operator new[](std::size_t bytes) {
    return rz_test::heap::take_or_throw(Kind::kNewArray, bytes);
}
void* operator new(std::size_t bytes, std::align_val_t alignment) {
    return rz_test::heap::take_aligned_or_throw(Kind::kNew, bytes, alignment);
}
void* operator new[](std::size_t bytes, std::align_val_t alignment) {
    return rz_test::heap::take_aligned_or_throw(Kind::kNewArray, bytes, alignment);
}
void operator delete(void* block) noexcept {
    rz_test::heap::give(block, Kind::kNew);
}
void operator delete[](void* block) noexcept {
    rz_test::heap::give(block, Kind::kNewArray);
}
void operator delete(void* block, std::size_t) noexcept {
    rz_test::heap::give(block, Kind::kNew);
}
void operator delete[](void* block, std::size_t) noexcept {
    rz_test::heap::give(block, Kind::kNewArray);
}
void operator delete(void* block, std::align_val_t) noexcept {
    rz_test::heap::give(block, Kind::kNew);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    rz_test::heap::give(block, Kind::kNewArray);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    rz_test::heap::give(block, Kind::kNew);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    rz_test::heap::give(block, Kind::kNewArray);
}
