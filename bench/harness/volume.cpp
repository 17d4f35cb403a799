#include "bench/harness/volume.h"

#include <sys/mman.h>

#include <cstring>
#include <stdexcept>
#include <utility>

#include "toolkit/core/memory.h"

namespace rz_bench {
namespace {

RZ_Box box_of(const int size[3], const double spacing[3]) {
    double start[3];
    double sides[3][3] = {};
    for (int k = 0; k < 3; ++k) {
        start[k] = -0.5 * spacing[k];
        sides[k][k] = size[k] * spacing[k];
    }
    return RZ_Box(size[0], size[1], size[2], RZ_BoxParams(start, sides[0], sides[1], sides[2]));
}

long next_number() {
    static long number = 0;
    return ++number;
}

std::unique_ptr<RZ_Slice> slice_over(Kind kind, void* raster, int width, int height) {
    const PixelDataAttributes attributes{width, height, 16, 1};
    if (kind == Kind::kInt16) return std::make_unique<RZ_ShortSlice>(static_cast<short*>(raster), attributes);
    if (kind == Kind::kUInt8)
        return std::make_unique<RZ_ShortSlice>(static_cast<std::uint8_t*>(raster), attributes);
    return std::make_unique<RZ_LongSlice>(static_cast<std::int32_t*>(raster), attributes);
}

}  // namespace

Volume::Volume(std::string name_, Kind kind_, int nx, int ny, int nz, double dx, double dy, double dz)
    : name(std::move(name_)),
      number(next_number()),
      kind(kind_),
      size{nx, ny, nz},
      spacing{dx, dy, dz},
      box_(box_of(size, spacing)) {
    constexpr std::size_t kHuge = std::size_t{2} << 20;
    mappedBytes_ = (blockBytes() + 2 * kHuge) / kHuge * kHuge;
    void* const mapped =
        mmap(nullptr, mappedBytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) throw std::bad_alloc();
    madvise(mapped, mappedBytes_, MADV_HUGEPAGE);
    block_ = mapped;

    table_.assign(static_cast<std::size_t>(nz) + 4, nullptr);
    const std::size_t distance = rzobl::raster_distance(sliceSamples() * bytesPerSample());
    if (MEM_MemPager::GetHandleForMP()->AllocateLarge(distance * static_cast<std::size_t>(nz),
                                                      &pagerBlock_) != 0)
        throw std::bad_alloc();
    auto* raster = static_cast<std::byte*>(pagerBlock_.Ptr());
    for (int z = 0; z < nz; ++z, raster += distance) {
        table_[static_cast<std::size_t>(z) + 2] = raster;
        owned_.push_back(slice_over(kind, raster, nx, ny));
        slices_.push_back(owned_.back().get());
    }
    table_[0] = table_[1] = table_[2];
    table_[table_.size() - 1] = table_[table_.size() - 2] = table_[table_.size() - 3];
}

Volume::~Volume() {
    munmap(block_, mappedBytes_);
}

void Volume::refreshRasters() {
    const std::size_t bytes = sliceSamples() * bytesPerSample();
    for (std::size_t z = 0; z < slices_.size(); ++z)
        std::memcpy(table_[z + 2], static_cast<const char*>(block_) + z * bytes, bytes);
}

void Volume::refreshBlock() {
    const std::size_t bytes = sliceSamples() * bytesPerSample();
    for (std::size_t z = 0; z < slices_.size(); ++z)
        std::memcpy(static_cast<char*>(block_) + z * bytes, table_[z + 2], bytes);
}

}  // namespace rz_bench
