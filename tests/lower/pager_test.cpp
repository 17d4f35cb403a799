#include "lower/pager/mem_pager.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kGuard = 192 * 1024;
static_assert(MEM_MemPager::kGuardBytes >= kGuard);

std::unique_ptr<MEM_MemPager> pager() {
    return std::unique_ptr<MEM_MemPager>(MEM_MemPager::GetHandleForMP());
}

unsigned char* bytesOf(MEM_PagerInfo& info) {
    return static_cast<unsigned char*>(info.Ptr());
}

bool allEqual(const unsigned char* begin, std::size_t count, unsigned char value) {
    return std::all_of(begin, begin + count, [value](unsigned char byte) { return byte == value; });
}

/// An area of this process's memory map.
struct Area {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    std::string access;
    std::string file;
    long residentKiB = 0;
};

/// The areas that meet [begin, begin + bytes).
std::vector<Area> areasOf(const void* begin, std::size_t bytes) {
    const auto from = reinterpret_cast<std::uintptr_t>(begin);
    std::vector<Area> areas;
    std::ifstream map("/proc/self/smaps");
    bool met = false;
    for (std::string line; std::getline(map, line);) {
        unsigned long first = 0;
        unsigned long last = 0;
        char access[8] = {};
        int used = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx %7s %*s %*s %*s%n", &first, &last, access, &used) == 3) {
            met = first < from + bytes && last > from;
            if (met) areas.push_back({first, last, access, line.substr(static_cast<std::size_t>(used)), 0});
        } else if (met && line.rfind("Rss:", 0) == 0) {
            areas.back().residentKiB = std::strtol(line.c_str() + 4, nullptr, 10);
        }
    }
    return areas;
}

bool isMapped(const void* address) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    unsigned char resident = 0;
    void* start = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(address) / page * page);
    return mincore(start, page, &resident) == 0 || errno != ENOMEM;
}

/// A directory of its own that blocks are paged to while it lives.
class PagingDirectory {
  public:
    PagingDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "rz_pager_test_XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no temporary directory");
        path = name;
        MEM_MemPager::SetPagingDirectory(path.c_str());
    }
    ~PagingDirectory() {
        MEM_MemPager::SetPagingDirectory(nullptr);
        std::filesystem::remove_all(path);
    }
    PagingDirectory(const PagingDirectory&) = delete;
    PagingDirectory& operator=(const PagingDirectory&) = delete;

    std::filesystem::path path;
};

void expectSoundBlock(std::size_t bytes) {
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->AllocateLarge(bytes, &info), 0) << bytes;
    unsigned char* block = bytesOf(info);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0U);
    EXPECT_TRUE(allEqual(block, bytes, 0)) << bytes;
    std::memset(block, 0xA5, bytes);
    EXPECT_TRUE(allEqual(block - kGuard, kGuard, 0)) << bytes;
    EXPECT_TRUE(allEqual(block, bytes, 0xA5)) << bytes;
    EXPECT_TRUE(allEqual(block + bytes, kGuard, 0)) << bytes;
}

constexpr std::size_t kSizes[] = {1,    2,      63,     64,     65,      4032,    4095,   4096,
                                  4097, 131072, 524288, 524289, 4194303, 4194304, 7000001};

TEST(Pager, blocks_are_zeroed_aligned_and_between_readable_zeroed_guards) {
    for (const std::size_t bytes : kSizes) expectSoundBlock(bytes);
}

TEST(Pager, every_turn_of_the_stagger_gives_a_sound_block) {
    for (int i = 0; i < 64; ++i) {
        expectSoundBlock(4096);
        expectSoundBlock(100);
    }
}

TEST(Pager, starts_of_64_blocks_in_a_row_all_differ_modulo_4096) {
    std::vector<std::unique_ptr<MEM_PagerInfo>> infos;
    std::set<std::uintptr_t> starts;
    for (int i = 0; i < 64; ++i) {
        infos.push_back(std::make_unique<MEM_PagerInfo>());
        ASSERT_EQ(pager()->Allocate(524288, infos.back().get(), 16), 0);
        starts.insert(reinterpret_cast<std::uintptr_t>(infos.back()->Ptr()) % 4096);
    }
    EXPECT_EQ(starts.size(), 64U);
}

/// Whether the system was asked for huge pages for the area of this address.
bool hugePagesWanted(const void* address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    std::ifstream map("/proc/self/smaps");
    bool met = false;
    for (std::string line; std::getline(map, line);) {
        unsigned long first = 0;
        unsigned long last = 0;
        if (std::sscanf(line.c_str(), "%lx-%lx ", &first, &last) == 2) met = first <= at && at < last;
        if (met && line.rfind("VmFlags:", 0) == 0) return line.find(" hg") != std::string::npos;
    }
    return false;
}

TEST(Pager, large_blocks_start_in_a_huge_page_and_ask_for_more) {
    constexpr std::uintptr_t kHuge = 2 << 20;
    for (int i = 0; i < 3; ++i) {
        MEM_PagerInfo info;
        ASSERT_EQ(pager()->AllocateLarge(3 * kHuge + 5000, &info), 0);
        const unsigned char* const block = bytesOf(info);
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(block) % kHuge, 4096U);
        if (std::filesystem::exists("/sys/kernel/mm/transparent_hugepage")) {
            EXPECT_TRUE(hugePagesWanted(block));
            EXPECT_FALSE(hugePagesWanted(block - kGuard));
        }
    }
}

TEST(Pager, small_blocks_and_blocks_of_a_file_ask_for_no_huge_pages) {
    MEM_PagerInfo small;
    ASSERT_EQ(pager()->Allocate(524288, &small, 16), 0);
    EXPECT_FALSE(hugePagesWanted(small.Ptr()));
    const PagingDirectory directory;
    MEM_PagerInfo paged;
    ASSERT_EQ(pager()->AllocateLarge(std::size_t{8} << 20, &paged), 0);
    EXPECT_FALSE(hugePagesWanted(paged.Ptr()));
}

TEST(Pager, untouched_blocks_and_read_guards_cost_no_memory) {
    constexpr std::size_t kBytes = 1 << 20;
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(kBytes, &info, 16), 0);
    const unsigned char* block = bytesOf(info);
    // The rest of a page that a guard shares with the block is left out here.
    const unsigned char* before = block - kGuard;
    const unsigned char* after = block + kBytes + 4096;
    EXPECT_TRUE(allEqual(before, kGuard - 4096, 0));
    EXPECT_TRUE(allEqual(after, kGuard - 4096, 0));
    const std::vector<Area> areas = areasOf(before, kGuard + kBytes + kGuard);
    ASSERT_FALSE(areas.empty());
    for (const Area& area : areas) {
        if (area.begin > reinterpret_cast<std::uintptr_t>(block) || area.access[1] != 'w') {
            EXPECT_EQ(area.residentKiB, 0) << std::hex << area.begin << ' ' << area.access;
        }
    }
}

TEST(Pager, whole_pages_of_guards_are_read_only) {
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(65536, &info, 16), 0);
    const unsigned char* block = bytesOf(info);
    for (const Area& area : areasOf(block - kGuard, kGuard - 4096)) EXPECT_EQ(area.access, "r--p");
    for (const Area& area : areasOf(block + 65536 + 4096, kGuard - 4096)) EXPECT_EQ(area.access, "r--p");
}

TEST(Pager, what_cannot_be_had_gives_minus_one_and_no_block) {
    MEM_PagerInfo info;
    EXPECT_EQ(pager()->Allocate(0, &info, 16), -1);
    EXPECT_EQ(pager()->AllocateLarge(0, &info), -1);
    EXPECT_EQ(pager()->Allocate(64, nullptr, 16), -1);
    for (const std::size_t bytes :
         {SIZE_MAX, SIZE_MAX - 63, SIZE_MAX - 4 * kGuard, SIZE_MAX / 2, SIZE_MAX / 4, SIZE_MAX / 4 + 1,
          std::size_t{1} << 60, std::size_t{1} << 50}) {
        EXPECT_EQ(pager()->AllocateLarge(bytes, &info), -1) << bytes;
        EXPECT_EQ(info.Ptr(), nullptr);
    }
    EXPECT_EQ(pager()->Allocate(64, &info, 16), 0);
    EXPECT_NE(info.Ptr(), nullptr);
}

TEST(Pager, info_that_holds_a_block_keeps_it) {
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(64, &info, 16), 0);
    unsigned char* block = bytesOf(info);
    block[0] = 9;
    EXPECT_EQ(pager()->Allocate(64, &info, 16), -1);
    EXPECT_EQ(bytesOf(info), block);
    EXPECT_EQ(block[0], 9);
}

TEST(Pager, empty_info_has_no_block_and_may_be_unmapped) {
    MEM_PagerInfo info;
    EXPECT_EQ(info.Ptr(), nullptr);
    EXPECT_EQ(info.Unmap(), 0);
}

TEST(Pager, block_keeps_address_and_content_over_unmap) {
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(10000, &info, 16), 0);
    unsigned char* block = bytesOf(info);
    std::memset(block, 77, 10000);
    EXPECT_EQ(info.Unmap(), 0);
    EXPECT_EQ(bytesOf(info), block);
    EXPECT_TRUE(allEqual(block, 10000, 77));
}

TEST(Pager, block_goes_with_its_info) {
    auto info = std::make_unique<MEM_PagerInfo>();
    ASSERT_EQ(pager()->Allocate(1 << 20, info.get(), 16), 0);
    const unsigned char* block = bytesOf(*info);
    ASSERT_TRUE(isMapped(block));
    ASSERT_TRUE(isMapped(block - kGuard));
    ASSERT_TRUE(isMapped(block + (1 << 20) + kGuard - 1));
    info.reset();
    EXPECT_FALSE(isMapped(block));
    EXPECT_FALSE(isMapped(block + (1 << 20)));
}

TEST(Pager, blocks_outlive_the_handle_that_made_them) {
    MEM_PagerInfo info;
    MEM_MemPager* handle = MEM_MemPager::GetHandleForMP();
    ASSERT_NE(handle, nullptr);
    ASSERT_EQ(handle->Allocate(4096, &info, 16), 0);
    bytesOf(info)[4095] = 3;
    delete handle;
    EXPECT_EQ(bytesOf(info)[4095], 3);
}

TEST(Pager, handles_go_on_when_others_are_deleted_or_dropped) {
    MEM_MemPager* dropped = MEM_MemPager::GetHandleForMP();
    MEM_MemPager* deleted = MEM_MemPager::GetHandleForMP();
    delete deleted;
    delete MEM_MemPager::GetHandleForMP();
    MEM_PagerInfo first;
    MEM_PagerInfo second;
    EXPECT_EQ(dropped->Allocate(64, &first, 16), 0);
    EXPECT_EQ(MEM_MemPager::GetHandleForMP()->Allocate(64, &second, 16), 0);
    EXPECT_NE(first.Ptr(), second.Ptr());
    std::thread([] {
        MEM_PagerInfo info;
        EXPECT_EQ(MEM_MemPager::GetHandleForMP()->Allocate(64, &info, 16), 0);
        delete MEM_MemPager::GetHandleForMP();
    }).join();
}

TEST(Pager, first_slots_of_a_handle_are_its_destructor) {
    static bool destroyed = false;
    struct Probe : MEM_MemPager {
        ~Probe() override { destroyed = true; }
    };
    static Probe handle;
    MEM_MemPager* probe = &handle;
    // The Itanium layout: complete destructor, deleting destructor.
    using Destructor = void (*)(void*);
    const auto* slots = *reinterpret_cast<Destructor**>(probe);
    slots[1](probe);
    EXPECT_TRUE(destroyed);
}

TEST(Pager, block_above_4_gib) {
    constexpr std::size_t kBytes = (std::size_t{1} << 32) + 12345;
    MEM_PagerInfo info;
    if (pager()->AllocateLarge(kBytes, &info) != 0) GTEST_SKIP() << "this machine refuses a block of 4 GiB";
    unsigned char* block = bytesOf(info);
    block[0] = 1;
    block[kBytes - 1] = 2;
    EXPECT_EQ(block[kBytes / 2], 0);
    EXPECT_TRUE(allEqual(block + kBytes, kGuard, 0));
}

TEST(Pager, threads_allocate_and_release_at_once) {
    std::vector<std::thread> threads;
    for (int t = 1; t <= 8; ++t) {
        threads.emplace_back([t] {
            const std::unique_ptr<MEM_MemPager> handle = pager();
            const auto mark = static_cast<unsigned char>(t);
            for (unsigned round = 0; round < 40; ++round) {
                const unsigned bytes = 1000 * (round % 7 + 1) + static_cast<unsigned>(t);
                MEM_PagerInfo first;
                MEM_PagerInfo second;
                ASSERT_EQ(handle->Allocate(bytes, &first, 16), 0);
                ASSERT_EQ(handle->Allocate(bytes, &second, 16), 0);
                std::memset(first.Ptr(), mark, bytes);
                ASSERT_TRUE(allEqual(bytesOf(second), bytes, 0));
                std::memset(second.Ptr(), mark + 100, bytes);
                std::this_thread::yield();
                ASSERT_TRUE(allEqual(bytesOf(first), bytes, mark));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}

TEST(PagerOnFiles, blocks_are_sound_and_backed_by_files_without_a_name) {
    const PagingDirectory directory;
    for (const std::size_t bytes : kSizes) expectSoundBlock(bytes);

    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(1 << 20, &info, 16), 0);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path));
    const std::vector<Area> areas = areasOf(info.Ptr(), 1 << 20);
    ASSERT_EQ(areas.size(), 1U);
    EXPECT_EQ(areas[0].access, "rw-s");
    EXPECT_NE(areas[0].file.find(directory.path.string()), std::string::npos) << areas[0].file;
    EXPECT_NE(areas[0].file.find("(deleted)"), std::string::npos) << areas[0].file;
}

TEST(PagerOnFiles, guards_are_not_of_the_file) {
    const PagingDirectory directory;
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(65536, &info, 16), 0);
    const unsigned char* block = bytesOf(info);
    EXPECT_TRUE(allEqual(block - kGuard, kGuard - 4096, 0));
    for (const Area& area : areasOf(block - kGuard, kGuard - 4096)) {
        EXPECT_EQ(area.access, "r--p");
        EXPECT_EQ(area.residentKiB, 0);
    }
}

TEST(PagerOnFiles, content_stays_over_unmap) {
    const PagingDirectory directory;
    MEM_PagerInfo info;
    ASSERT_EQ(pager()->Allocate(100000, &info, 16), 0);
    unsigned char* block = bytesOf(info);
    for (int i = 0; i < 100000; ++i) block[i] = static_cast<unsigned char>(i * 7);
    EXPECT_EQ(info.Unmap(), 0);
    ASSERT_EQ(bytesOf(info), block);
    for (int i = 0; i < 100000; ++i) ASSERT_EQ(block[i], static_cast<unsigned char>(i * 7));
}

TEST(PagerOnFiles, sparse_blocks_may_add_up_to_more_than_the_disk_holds) {
    const PagingDirectory directory;
    struct statvfs disk {};
    ASSERT_EQ(statvfs(directory.path.c_str(), &disk), 0);
    const std::size_t available = static_cast<std::size_t>(disk.f_bavail) * disk.f_frsize;
    const std::size_t bytes = std::min(available / 4 * 3, std::size_t{1} << 40);
    MEM_PagerInfo first;
    MEM_PagerInfo second;
    ASSERT_EQ(pager()->AllocateLarge(bytes, &first), 0);
    ASSERT_EQ(pager()->AllocateLarge(bytes, &second), 0);
    bytesOf(first)[bytes / 2] = 1;
    bytesOf(second)[bytes - 1] = 2;
    EXPECT_EQ(bytesOf(second)[bytes / 2], 0);
}

TEST(PagerOnFiles, block_that_the_disk_can_never_hold_gives_minus_one) {
    const PagingDirectory directory;
    MEM_PagerInfo info;
    EXPECT_EQ(pager()->AllocateLarge(std::size_t{1} << 46, &info), -1);
    EXPECT_EQ(pager()->AllocateLarge(SIZE_MAX, &info), -1);
    EXPECT_EQ(pager()->Allocate(0, &info, 16), -1);
    EXPECT_EQ(info.Ptr(), nullptr);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path));
}

TEST(PagerOnFiles, directory_that_is_not_there_gives_minus_one_until_it_is_taken_back) {
    MEM_PagerInfo info;
    std::string missing;
    {
        const PagingDirectory directory;
        missing = (directory.path / "missing").string();
        MEM_MemPager::SetPagingDirectory(missing.c_str());
        EXPECT_EQ(pager()->Allocate(64, &info, 16), -1);
        EXPECT_EQ(info.Ptr(), nullptr);
    }
    EXPECT_EQ(pager()->Allocate(64, &info, 16), 0);
    EXPECT_NE(info.Ptr(), nullptr);
}

TEST(PagerOnFiles, setting_counts_for_later_blocks_only) {
    MEM_PagerInfo before;
    MEM_PagerInfo during;
    MEM_PagerInfo after;
    ASSERT_EQ(pager()->Allocate(4096, &before, 16), 0);
    {
        const PagingDirectory directory;
        ASSERT_EQ(pager()->Allocate(4096, &during, 16), 0);
    }
    ASSERT_EQ(pager()->Allocate(4096, &after, 16), 0);
    EXPECT_EQ(areasOf(before.Ptr(), 64).at(0).access, "rw-p");
    EXPECT_EQ(areasOf(during.Ptr(), 64).at(0).access, "rw-s");
    EXPECT_EQ(areasOf(after.Ptr(), 64).at(0).access, "rw-p");
    // The directory is gone, the block is not.
    bytesOf(during)[4095] = 5;
    EXPECT_EQ(bytesOf(during)[4095], 5);
}

}  // namespace
