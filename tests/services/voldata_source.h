#pragma once

#include <memory>
#include <vector>

#include "lower/volume/vol_data.h"
#include "tests/support/rasters.h"

namespace rz_test {

/// A volume of 12-bit noise over rasters of its own, whose slices differ in their fields.
class VoldataSource {
  public:
    VoldataSource(const RZ_Box& box, Seed seed) {
        Random random(seed);
        RZ_Box copy = box;
        volume = std::make_unique<RZ_VolData>(&copy, 0);
        volume->SetRescaleTrans(0.25 * random.between(1, 9), random.between(-2000, 2000));
        const auto samples = static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim);
        for (int z = 0; z < box.zDim; ++z) {
            rasters_.push_back(std::make_unique<SourceRaster<short>>(samples));
            fill_nasty(random, rasters_.back()->data(), samples, true, 12);
            auto* slice =
                new RZ_ShortSlice(rasters_.back()->data(), PixelDataAttributes{box.xDim, box.yDim, 16, 1});
            slice->bitDepth = 10 + z % 5;
            slice->isSigned = z % 2 == 0;
            slice->computed = z % 3 != 0;  // must not show in a copy
            volume->SetSlice(slice, z);
            before_.insert(before_.end(), raster(z), raster(z) + samples);
        }
    }
    const short* raster(int z) const { return rasters_[static_cast<std::size_t>(z)]->data(); }
    bool untouched() const {
        auto at = before_.begin();
        for (const auto& r : rasters_) {
            const auto end = at + static_cast<std::ptrdiff_t>(r->size());
            if (!std::equal(at, end, r->data())) return false;
            at = end;
        }
        return true;
    }

    std::unique_ptr<RZ_VolData> volume;

  private:
    std::vector<std::unique_ptr<SourceRaster<short>>> rasters_;
    std::vector<short> before_;
};

}  // namespace rz_test
