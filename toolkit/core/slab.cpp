#include "toolkit/core/slab.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "toolkit/core/background.h"
#include "toolkit/core/error.h"

namespace rzobl {

namespace {

/// Samples of each slice that are combined at a time.
constexpr std::size_t kBand = 8192;
/// The library takes its last block whole.
constexpr std::size_t kSlack = 8;

void check_kind(const Volume& volume) {
    if (volume.kind() == SampleKind::Rgb)
        throw Error("colours cannot be combined to slabs; a volume of 8-bit or 16-bit samples can");
}

/// The same stretch of samples of some slices, in copies that the library combines. A mean takes samples by
/// their 16-bit pattern, so that signed ones are moved up by 32768 here and moved back by store().
class Band {
  public:
    Band(const Volume& volume, const SliceRange& range, RZ_OBL_SlabbingType type)
        : volume_(volume),
          range_(range),
          type_(type),
          lift_(volume.isSigned && type == RZ_OBL_SlabbingType::SlabAverage ? 0x8000 : 0),
          copies_(static_cast<std::size_t>(range.count()) * (kBand + kSlack)),
          result_(kBand + kSlack) {
        for (std::size_t slice = 0; slice < static_cast<std::size_t>(range.count()); ++slice)
            pointers_.push_back(&copies_[slice * (kBand + kSlack)]);
    }

    void load(std::size_t start, std::size_t count) {
        count_ = count;
        for (int slice = 0; slice < range_.count(); ++slice) {
            short* const copy = pointers_[static_cast<std::size_t>(slice)];
            const void* const raster = volume_.raster(range_.first + slice);
            if (volume_.kind() == SampleKind::Int16)
                widen(static_cast<const std::int16_t*>(raster) + start, copy);
            else if (volume_.isSigned)
                widen(static_cast<const std::int8_t*>(raster) + start, copy);
            else
                widen(static_cast<const std::uint8_t*>(raster) + start, copy);
        }
    }

    /// Slices first to last of the band; with onward from the result for the slices one before these.
    void combine(int first, int last, bool onward) {
        const auto slice = [](int number) { return static_cast<unsigned short>(number); };
        // Lifted samples, and those of unsigned volumes, are unsigned.
        const bool isSigned = volume_.isSigned && lift_ == 0;
        const int done =
            RZ_GetMultiSlicePlane(pointers_, 1, static_cast<int>(count_), isSigned, type_, result_.data(),
                                  slice(first), slice(last), onward ? result_.data() : nullptr,
                                  slice(onward ? first - 1 : 0), slice(onward ? last - 1 : 0));
        if (done != 1) throw std::logic_error("a slab of checked slices was refused");
    }

    void store(std::int16_t* to) const {
        for (std::size_t i = 0; i < count_; ++i)
            to[i] = static_cast<std::int16_t>(static_cast<std::uint16_t>(result_[i]) ^ lift_);
    }

  private:
    template <class Sample>
    void widen(const Sample* from, short* to) const {
        for (std::size_t i = 0; i < count_; ++i)
            to[i] = static_cast<short>(static_cast<std::uint16_t>(from[i]) ^ lift_);
    }

    const Volume& volume_;
    SliceRange range_;
    RZ_OBL_SlabbingType type_;
    unsigned lift_;
    std::size_t count_ = 0;
    std::vector<short> copies_;
    std::vector<short> result_;
    std::vector<short*> pointers_;
};

std::size_t raster_samples(const Grid& grid) {
    return static_cast<std::size_t>(grid.size[0]) * static_cast<std::size_t>(grid.size[1]);
}

}  // namespace

Image slab(const Volume& volume, const SliceRange& range, RZ_OBL_SlabbingType type) {
    volume.grid().check();
    check(range, volume.grid().size[2], "the range");
    check_kind(volume);
    Image image;
    image.grid = merged(volume.grid(), range);
    image.isSigned = volume.isSigned;
    image.bitDepth = volume.bitDepth;
    image.rescale = volume.rescale;
    image.background = stored_background(volume, default_background(volume));
    image.lastRow = image.height() - 1;
    image.lastColumn = image.width() - 1;
    const std::size_t count = raster_samples(image.grid);
    image.samples.resize(count * sizeof(std::int16_t));

    Band band(volume, range, type);
    auto* const out = reinterpret_cast<std::int16_t*>(image.samples.data());
    for (std::size_t start = 0; start < count; start += kBand) {
        band.load(start, std::min(kBand, count - start));
        band.combine(0, range.count() - 1, false);
        band.store(out + start);
    }
    return image;
}

Volume sliding_slab(const Volume& volume, const SliceRange& range, RZ_OBL_SlabbingType type, Slide slide,
                    const Report& progress) {
    volume.grid().check();
    check(range, volume.grid().size[2], "the range");
    check_kind(volume);
    const int places = volume.grid().size[2] - range.last;
    Grid grid = volume.grid();
    grid.origin = merged(grid, range).origin;
    grid.size[2] = places;
    Volume slabs = Volume::allocate(grid, SampleKind::Int16);
    slabs.isSigned = volume.isSigned;
    slabs.bitDepth = volume.bitDepth;
    slabs.rescale = volume.rescale;
    slabs.padding = volume.padding;

    Band band(volume, {range.first, volume.grid().size[2] - 1}, type);
    const std::size_t count = raster_samples(grid);
    for (std::size_t start = 0; start < count; start += kBand) {
        band.load(start, std::min(kBand, count - start));
        for (int place = 0; place < places; ++place) {
            band.combine(place, place + range.count() - 1, place > 0 && slide == Slide::Incremental);
            band.store(static_cast<std::int16_t*>(slabs.raster(place)) + start);
        }
        report(progress, static_cast<int>(start / kBand), static_cast<int>(count / kBand + 1));
    }
    return slabs;
}

}  // namespace rzobl
