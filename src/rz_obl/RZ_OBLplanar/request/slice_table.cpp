#include "rz_obl/RZ_OBLplanar/request/slice_table.h"

#include <cstdint>
#include <new>

namespace rz_obl {
namespace {

constexpr std::size_t kGuards = 2;  // at each end

}  // namespace

void* allocate_slice_table(int depth) {
    const std::size_t entries = static_cast<std::size_t>(static_cast<unsigned>(depth)) + 2 * kGuards;
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(entries, sizeof(void*), &bytes)) bytes = SIZE_MAX;  // cannot be had
    return static_cast<void**>(::operator new[](bytes)) + kGuards;
}

void release_slice_table(void* table) {
    ::operator delete[](static_cast<void**>(table) - kGuards);
}

}  // namespace rz_obl
