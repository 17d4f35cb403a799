#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "lower/geometry/box.h"
#include "lower/pager/mem_pager.h"
#include "lower/volume/slice.h"

namespace rz_bench {

enum class Kind { kInt16, kUInt8, kPixels };

/// A source volume, held twice: in a pager block with its slices apart, as the toolkit has it, and without
/// gaps, as the peers want it; huge pages are asked for both. Sample (0, 0, 0) has its centre at the physical
/// origin; axes of index and physical space agree.
class Volume {
  public:
    Volume(std::string name, Kind kind, int nx, int ny, int nz, double dx, double dy, double dz);
    ~Volume();
    Volume(const Volume&) = delete;
    Volume& operator=(const Volume&) = delete;

    const std::string name;
    /// Tells volumes apart.
    const long number;
    const Kind kind;
    const int size[3];
    const double spacing[3];

    std::size_t bytesPerSample() const { return kind == Kind::kInt16 ? 2 : kind == Kind::kUInt8 ? 1 : 4; }
    std::size_t sliceSamples() const {
        return static_cast<std::size_t>(size[0]) * static_cast<std::size_t>(size[1]);
    }
    /// All samples, x fastest, for the peers.
    void* block() const { return block_; }
    std::size_t blockBytes() const {
        return sliceSamples() * static_cast<std::size_t>(size[2]) * bytesPerSample();
    }
    /// Rasters by slice number, between two repeated guards at each end.
    void* const* rasters() const { return table_.data() + 2; }
    RZ_Slice** slices() { return slices_.data(); }
    const RZ_Box& box() const { return box_; }

    /// Write the samples of one form anew from the other, as a reader would: what follows is a first call.
    void refreshRasters();
    void refreshBlock();

  private:
    void* block_ = nullptr;
    std::size_t mappedBytes_ = 0;
    MEM_PagerInfo pagerBlock_;
    std::vector<void*> table_;
    std::vector<std::unique_ptr<RZ_Slice>> owned_;
    std::vector<RZ_Slice*> slices_;
    RZ_Box box_;
};

/// A head of ellipsoids with smooth edges, vessels and seeded noise; 16-bit signed samples as of a CT.
std::unique_ptr<Volume> make_phantom(int nx, int ny, int nz);
/// The same volume in 8 bits, or as pixels of three channels that differ.
std::unique_ptr<Volume> make_phantom_of_kind(const Volume& phantom, Kind kind);
/// A CT series of a folder. Throws std::runtime_error where this program was built without readers.
std::unique_ptr<Volume> read_ct(const std::string& folder);

}  // namespace rz_bench
