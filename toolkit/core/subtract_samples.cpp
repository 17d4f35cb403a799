#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "toolkit/core/error.h"
#include "toolkit/core/slab.h"
#include "toolkit/core/subtract_rows.h"

namespace rzobl {

namespace {

/// Rows this long have no blocks in a mean, nor in a blend.
constexpr int kStrip = 4;
/// The last column of a strip only serves its neighbour.
constexpr int kStripPixels = kStrip - 1;
constexpr std::size_t kSlack = 8;
/// A fraction up to this counts as none.
constexpr float kNoFraction = 0.001F;

struct Bounds {
    int least = std::numeric_limits<int>::max();
    int greatest = std::numeric_limits<int>::min();
};

int sample(const Volume& volume, int slice, int row, int column) {
    const std::size_t at = static_cast<std::size_t>(row) * static_cast<std::size_t>(volume.grid().size[0]) +
                           static_cast<std::size_t>(column);
    const void* const raster = volume.raster(slice);
    if (volume.kind() == SampleKind::Int16) return static_cast<const std::int16_t*>(raster)[at];
    return volume.isSigned ? static_cast<const std::int8_t*>(raster)[at]
                           : static_cast<const std::uint8_t*>(raster)[at];
}

Bounds bounds_of(const Volume& volume, std::initializer_list<SliceRange> ranges) {
    Bounds bounds;
    for (const SliceRange& range : ranges)
        for (int slice = range.first; slice <= range.last; ++slice)
            for (int row = 0; row < volume.grid().size[1]; ++row)
                for (int column = 0; column < volume.grid().size[0]; ++column) {
                    const int value = sample(volume, slice, row, column);
                    bounds.least = std::min(bounds.least, value);
                    bounds.greatest = std::max(bounds.greatest, value);
                }
    return bounds;
}

/// Stored difference -> stored sample of the result.
class Finish {
  public:
    Finish(const Volume& volume, int offset) : offset_(offset) {
        if (volume.kind() == SampleKind::UInt8)
            limits_ = volume.isSigned ? Bounds{-128, 127} : Bounds{0, 255};
        else if (volume.isSigned)
            limits_ = {INT16_MIN, INT16_MAX};
        else
            limits_ = {0, (1 << subtraction_bits(volume)) - 1};
    }
    int operator()(int difference) const {
        return std::clamp(difference + offset_, limits_.least, limits_.greatest);
    }

  private:
    int offset_;
    Bounds limits_;
};

void put(Image& image, int row, int column, int value) {
    const std::size_t at = static_cast<std::size_t>(row) * static_cast<std::size_t>(image.width()) +
                           static_cast<std::size_t>(column);
    if (image.kind == SampleKind::Int16)
        reinterpret_cast<std::int16_t*>(image.samples.data())[at] = static_cast<std::int16_t>(value);
    else
        reinterpret_cast<std::uint8_t*>(image.samples.data())[at] = static_cast<std::uint8_t>(value);
}

/// A strip of some columns of every slice wanted, all their rows and one more below, subtracted in one call.
/// Turned strips have the raster's columns as rows: a fraction along columns alone is then one along rows,
/// the only kind that the library blends by itself.
class Strips {
  public:
    Strips(const Volume& volume, const SubtractRequest& request, const Shift& shift, int least)
        : volume_(volume), request_(request), shift_(shift), least_(least) {
        const bool blendsRows = shift.fractions[1] > kNoFraction;
        turned_ = !blendsRows && shift.fractions[0] > kNoFraction;
        if (blendsRows) fractions_ = shift.fractions;
        if (turned_) fractions_ = {0, shift.fractions[0]};
        rows_ = (turned_ ? volume.grid().size[0] : volume.grid().size[1]) + 1;
        columns_ = turned_ ? volume.grid().size[1] : volume.grid().size[0];
        const auto slices = static_cast<std::size_t>(request.minuend.count()) +
                            static_cast<std::size_t>(request.subtrahend.count());
        const std::size_t stride = static_cast<std::size_t>(rows_) * kStrip + kSlack;
        copies_.resize((slices + 1) * stride);
        for (std::size_t slice = 0; slice < slices; ++slice) rasters_.push_back(&copies_[slice * stride]);
        output_ = &copies_[slices * stride];
    }

    int columns() const { return columns_; }

    void subtract(int start) {
        std::size_t copy = 0;
        for (int slice = request_.minuend.first; slice <= request_.minuend.last; ++slice)
            load(slice, start, 0, static_cast<short*>(rasters_[copy++]));
        for (int slice = request_.subtrahend.first; slice <= request_.subtrahend.last; ++slice)
            load(slice, start, shift_.rows, static_cast<short*>(rasters_[copy++]));
        RZ_SubOpParams parameters;
        parameters.minuend_last = static_cast<unsigned short>(request_.minuend.count() - 1);
        parameters.subtrahend_first = static_cast<unsigned short>(request_.minuend.count());
        parameters.subtrahend_last = static_cast<unsigned short>(copy - 1);
        parameters.pixel_shift[0] = fractions_[0];
        parameters.pixel_shift[1] = fractions_[1];
        // Signed, so that differences come out as they are.
        if (RZ_GetMultiSliceSubtractionPlane(rasters_, rows_, kStrip, 16, true, output_, parameters, nullptr,
                                             parameters) != 1)
            throw std::logic_error("a subtraction of checked slices was refused");
    }

    void store(int start, const Finish& finish, Image& image) const {
        const int count = std::min(kStripPixels, columns_ - start);
        for (int row = 0; row < rows_ - 1; ++row)
            for (int column = 0; column < count; ++column) {
                const int value = finish(output_[row * kStrip + column]);
                if (turned_)
                    put(image, start + column, row, value);
                else
                    put(image, row, start + column, value);
            }
    }

  private:
    /// Whole rows are moved here; what lies beyond the raster repeats its outermost samples.
    void load(int slice, int start, int movedRows, short* copy) const {
        const int lastRow = volume_.grid().size[1] - 1, lastColumn = volume_.grid().size[0] - 1;
        for (int row = 0; row < rows_; ++row)
            for (int i = 0; i < kStrip; ++i) {
                const int down = turned_ ? start + i : row, across = turned_ ? row : start + i;
                const int value = sample(volume_, slice, std::clamp(down + movedRows, 0, lastRow),
                                         std::min(across, lastColumn));
                *copy++ = static_cast<short>(value - least_);
            }
    }

    const Volume& volume_;
    const SubtractRequest& request_;
    const Shift& shift_;
    int least_;
    bool turned_ = false;
    std::array<float, 2> fractions_{0, 0};
    int rows_ = 0;
    int columns_ = 0;
    std::vector<short> copies_;
    std::vector<void*> rasters_;
    short* output_ = nullptr;
};

void keep_minuend(const Volume& volume, const SubtractRequest& request, Image& image) {
    if (image.firstRow == 0 && image.lastRow == image.height() - 1) return;
    const Image mean = slab(volume, request.minuend, RZ_OBL_SlabbingType::SlabAverage);
    for (int row = 0; row < image.height(); ++row) {
        if (row >= image.firstRow && row <= image.lastRow) continue;
        for (int column = 0; column < image.width(); ++column)
            put(image, row, column, mean.stored(column, row));
    }
}

}  // namespace

void subtract_samples(const Volume& volume, const SubtractRequest& request, const Shift& shift,
                      Image& image) {
    const Bounds bounds = bounds_of(volume, {request.minuend, request.subtrahend});
    if (bounds.greatest - bounds.least > INT16_MAX)
        throw Error("the samples to subtract run from " + std::to_string(bounds.least) + " to " +
                    std::to_string(bounds.greatest) + ", and a difference holds at most 32767");
    const Finish finish(volume, request.offset);
    Strips strips(volume, request, shift, bounds.least);
    for (int start = 0; start < strips.columns(); start += kStripPixels) {
        strips.subtract(start);
        strips.store(start, finish, image);
    }
    keep_minuend(volume, request, image);
}

}  // namespace rzobl
