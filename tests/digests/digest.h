#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

// A program of digests: one line per kernel and job, over seeded cases. Equal lines from every compiler,
// optimisation level and processor path are the test; no list of expected digests is kept.

namespace rz_digests {

/// 64-bit digest of values, in order. Floats count by their bits.
class Digest {
  public:
    template <class T>
    void add(const T& value) {
        static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T>);
        std::uint64_t word = 0;
        std::memcpy(&word, &value, sizeof(T));
        state_ = (state_ ^ word) * 0x9e3779b97f4a7c15ULL;
        state_ ^= state_ >> 29;
    }
    template <class T>
    void add(const T* values, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) add(values[i]);
    }
    std::uint64_t value() const { return state_; }

  private:
    std::uint64_t state_ = 0xcbf29ce484222325ULL;
};

/// Prints "name digest".
void print_line(const char* name, const Digest& digest);

/// Which form of a kernel that has a narrow and a wide one.
enum class Forms { kNarrow, kWide };

/// Kernels by name, each over many cases.
void kernel_digests(Forms forms);
/// Whole requests through the exported functions, on the path that the processor takes.
void planar_digests();
void curved_digests();
void slab_digests(Forms forms);
void service_digests();
/// Splines, boxes, planes and matrices.
void geometry_digests();

}  // namespace rz_digests
