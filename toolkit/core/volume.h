#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "lower/volume/slice.h"
#include "toolkit/core/grid.h"

namespace rzobl {

enum class SampleKind { Int16, UInt8, Rgb };

/// Bytes of one sample: 2, 1, or 4 for Rgb (red, green, blue in bytes 0, 1, 2, counted from the least
/// significant).
std::size_t bytesPerSample(SampleKind kind);

/// How stored samples read: value = stored x slope + intercept (Hounsfield units for CT).
struct Rescale {
    double slope = 1.0;
    double intercept = 0.0;
};

/// A volume in memory and all that a reformat needs to know of it. Copies share the samples.
class Volume {
  public:
    /// Zeroed samples of its own, in one pager block whose guards kernels may read.
    /// Throws Error if the grid is bad or the memory cannot be had, with the amount needed.
    static Volume allocate(const Grid& grid, SampleKind kind);
    /// Over samples that stay with the caller: contiguous, i fastest, then j, k; keepAlive is held as long as
    /// any copy lives (may be null). No copy for 16-bit and 8-bit samples; Rgb samples are copied, since the
    /// colour kernels read beyond rasters.
    static Volume borrow(const Grid& grid, SampleKind kind, void* samples, std::shared_ptr<void> keepAlive);

    const Grid& grid() const { return grid_; }
    SampleKind kind() const { return kind_; }
    /// Raster of slice k, row-major, unpadded.
    void* raster(int k) const { return rasters_[static_cast<std::size_t>(k)]; }
    /// Slice objects for the library, mapped, living as long as the volume.
    RZ_Slice** slices() const { return slices_->pointers.data(); }

    Rescale rescale;
    /// Whether 8-bit or 16-bit samples are signed, and how many bits of them are significant. Taken over by
    /// the slice objects when a request runs.
    bool isSigned = true;
    int bitDepth = 16;
    /// Stored value that stands for "nothing was measured here", if there is one.
    std::optional<int> padding;

  private:
    struct Slices {
        std::vector<std::unique_ptr<RZ_Slice>> owned;
        std::vector<RZ_Slice*> pointers;
    };

    /// Slices over rasters that lie `distance` bytes apart.
    static Volume over(const Grid& grid, SampleKind kind, std::byte* first, std::size_t distance,
                       std::shared_ptr<void> keepAlive);

    Grid grid_;
    SampleKind kind_ = SampleKind::Int16;
    std::vector<void*> rasters_;
    std::shared_ptr<void> storage_;
    std::shared_ptr<Slices> slices_;
};

}  // namespace rzobl
