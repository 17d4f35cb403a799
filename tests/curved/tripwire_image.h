#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace rz_test {

/// A 16-bit image raster of which every row stands on a page of its own. The first write to a row is seen
/// while it happens, before the writer goes on: a deterministic way to act in the middle of a drawing. One at
/// a time in a process.
class TripwireImage {
  public:
    /// Samples from one row to the next.
    static constexpr int kRowStride = 4096 / sizeof(short);

    explicit TripwireImage(int rows);
    ~TripwireImage();
    TripwireImage(const TripwireImage&) = delete;
    TripwireImage& operator=(const TripwireImage&) = delete;

    short* data() { return static_cast<short*>(pages_); }
    /// Rows that were written, in the order of their first write.
    std::vector<int> touched() const;
    /// What happens at the first write to this row, on the writing thread, inside a signal handler.
    void at_row(int row, std::function<void()> action);

    /// For the handler: false if the address is none of this image's.
    bool fault_at(const void* address);

  private:
    void* pages_;
    std::size_t rows_;
    /// Filled without allocating.
    std::vector<int> touched_;
    std::size_t touches_ = 0;
    int row_ = -1;
    std::function<void()> action_;
};

}  // namespace rz_test
