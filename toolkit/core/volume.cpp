#include "toolkit/core/volume.h"

#include <cstring>
#include <new>
#include <utility>

#include "lower/pager/mem_pager.h"
#include "toolkit/core/error.h"
#include "toolkit/core/memory.h"
#include "toolkit/core/text.h"

namespace rzobl {

namespace {

/// A slice object of the layout that kind names, over memory that lives longer.
std::unique_ptr<RZ_Slice> make_slice(SampleKind kind, void* raster, const PixelDataAttributes& attributes) {
    std::unique_ptr<RZ_Slice> slice;
    if (kind == SampleKind::Rgb)
        slice = std::make_unique<RZ_LongSlice>(static_cast<std::int32_t*>(raster), attributes);
    else
        slice = std::make_unique<RZ_ShortSlice>(static_cast<short*>(raster), attributes);
    slice->pixelKind = kind == SampleKind::Int16   ? RZ_Slice::kShort
                       : kind == SampleKind::UInt8 ? RZ_Slice::kByte
                                                   : RZ_Slice::kLong;
    slice->bitDepth = kind == SampleKind::Int16 ? 16 : 8;
    slice->isSigned = kind == SampleKind::Int16;
    return slice;
}

std::size_t raster_bytes(const Grid& grid, SampleKind kind) {
    return static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]) *
           bytesPerSample(kind);
}

}  // namespace

std::size_t bytesPerSample(SampleKind kind) {
    return kind == SampleKind::Int16 ? 2 : kind == SampleKind::UInt8 ? 1 : 4;
}

Volume Volume::over(const Grid& grid, SampleKind kind, std::byte* first, std::size_t distance,
                    std::shared_ptr<void> keepAlive) {
    Volume volume;
    volume.grid_ = grid;
    volume.kind_ = kind;
    volume.isSigned = kind == SampleKind::Int16;
    volume.bitDepth = kind == SampleKind::Int16 ? 16 : 8;
    volume.storage_ = std::move(keepAlive);
    volume.slices_ = std::make_shared<Slices>();
    std::byte* raster = first;
    for (int k = 0; k < grid.size[2]; ++k, raster += distance) {
        auto slice = make_slice(kind, raster, {grid.size[0], grid.size[1], 16, 1});
        volume.rasters_.push_back(raster);
        volume.slices_->pointers.push_back(slice.get());
        volume.slices_->owned.push_back(std::move(slice));
    }
    return volume;
}

// One block for all slices: large enough for huge pages, which oblique and sagittal pictures gain from.
Volume Volume::allocate(const Grid& grid, SampleKind kind) {
    grid.check();
    const std::size_t distance = raster_distance(raster_bytes(grid, kind));
    const auto slices = static_cast<std::size_t>(grid.size[2]);
    const auto block = std::make_shared<Block>(distance * slices, "the volume");
    return over(grid, kind, block->data(), distance, block);
}

Volume Volume::borrow(const Grid& grid, SampleKind kind, void* samples, std::shared_ptr<void> keepAlive) {
    grid.check();
    if (!samples) throw Error("a volume over given memory needs samples, not null");
    const std::size_t rasterBytes = raster_bytes(grid, kind);
    auto* raster = static_cast<std::byte*>(samples);
    if (kind == SampleKind::Rgb) {
        Volume copy = allocate(grid, kind);
        for (int k = 0; k < grid.size[2]; ++k, raster += rasterBytes)
            std::memcpy(copy.raster(k), raster, rasterBytes);
        return copy;
    }

    return over(grid, kind, raster, rasterBytes, std::move(keepAlive));
}

}  // namespace rzobl
