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

/// A slice object of the layout that kind names; memory of the caller, or a block that the slice takes over.
template <class Raster16, class Raster32>
std::unique_ptr<RZ_Slice> make_slice(SampleKind kind, Raster16 raster16, Raster32 raster32,
                                     PixelDataAttributes attributes) {
    std::unique_ptr<RZ_Slice> slice;
    if (kind == SampleKind::Rgb)
        slice = raster32(attributes);
    else
        slice = raster16(attributes);
    slice->pixelKind = kind == SampleKind::Int16   ? RZ_Slice::kShort
                       : kind == SampleKind::UInt8 ? RZ_Slice::kByte
                                                   : RZ_Slice::kLong;
    slice->bitDepth = kind == SampleKind::Int16 ? 16 : 8;
    slice->isSigned = kind == SampleKind::Int16;
    return slice;
}

}  // namespace

std::size_t bytesPerSample(SampleKind kind) {
    return kind == SampleKind::Int16 ? 2 : kind == SampleKind::UInt8 ? 1 : 4;
}

Volume Volume::allocate(const Grid& grid, SampleKind kind) {
    grid.check();
    const std::size_t rasterBytes = static_cast<std::size_t>(grid.size[0]) *
                                    static_cast<std::size_t>(grid.size[1]) * bytesPerSample(kind);
    const double needed = static_cast<double>(rasterBytes) * grid.size[2];
    check_memory(needed, "the volume");

    Volume volume;
    volume.grid_ = grid;
    volume.kind_ = kind;
    volume.isSigned = kind == SampleKind::Int16;
    volume.bitDepth = kind == SampleKind::Int16 ? 16 : 8;
    volume.slices_ = std::make_shared<Slices>();
    const std::unique_ptr<MEM_MemPager> pager(MEM_MemPager::GetHandleForMP());
    for (int k = 0; k < grid.size[2]; ++k) {
        auto block = std::make_unique<MEM_PagerInfo>();
        if (pager->AllocateLarge(rasterBytes, block.get()) != 0)
            throw Error("the volume needs " + bytes_text(needed) +
                        " of memory, which this system does not give");
        PixelDataAttributes attributes{grid.size[0], grid.size[1], 16, 1};
        volume.rasters_.push_back(block->Ptr());
        auto slice = make_slice(
            kind,
            [&block](PixelDataAttributes& a) {
                return std::make_unique<RZ_ShortSlice>(block.release(), a, 0);
            },
            [&block](PixelDataAttributes& a) {
                return std::make_unique<RZ_LongSlice>(block.release(), a, 0);
            },
            attributes);
        volume.slices_->pointers.push_back(slice.get());
        volume.slices_->owned.push_back(std::move(slice));
    }
    return volume;
}

Volume Volume::borrow(const Grid& grid, SampleKind kind, void* samples, std::shared_ptr<void> keepAlive) {
    grid.check();
    if (!samples) throw Error("a volume over given memory needs samples, not null");
    const std::size_t rasterBytes = static_cast<std::size_t>(grid.size[0]) *
                                    static_cast<std::size_t>(grid.size[1]) * bytesPerSample(kind);
    auto* raster = static_cast<std::byte*>(samples);
    if (kind == SampleKind::Rgb) {
        Volume copy = allocate(grid, kind);
        for (int k = 0; k < grid.size[2]; ++k, raster += rasterBytes)
            std::memcpy(copy.raster(k), raster, rasterBytes);
        return copy;
    }

    Volume volume;
    volume.grid_ = grid;
    volume.kind_ = kind;
    volume.isSigned = kind == SampleKind::Int16;
    volume.bitDepth = kind == SampleKind::Int16 ? 16 : 8;
    volume.storage_ = std::move(keepAlive);
    volume.slices_ = std::make_shared<Slices>();
    for (int k = 0; k < grid.size[2]; ++k, raster += rasterBytes) {
        const PixelDataAttributes attributes{grid.size[0], grid.size[1], 16, 1};
        auto slice = make_slice(
            kind,
            [raster](PixelDataAttributes& a) {
                return std::make_unique<RZ_ShortSlice>(reinterpret_cast<short*>(raster), a);
            },
            [raster](PixelDataAttributes& a) {
                return std::make_unique<RZ_LongSlice>(reinterpret_cast<std::int32_t*>(raster), a);
            },
            attributes);
        volume.rasters_.push_back(raster);
        volume.slices_->pointers.push_back(slice.get());
        volume.slices_->owned.push_back(std::move(slice));
    }
    return volume;
}

}  // namespace rzobl
