#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "toolkit/core/memory.h"
#include "toolkit/core/subtract_rows.h"

namespace rzobl {

namespace {

/// The library takes its last block whole: 7 samples of 16 bits or 15 of 8.
constexpr std::size_t kSlackBytes = 16;

unsigned short number(std::size_t slice) {
    return static_cast<unsigned short>(slice);
}

}  // namespace

int subtraction_bits(const Volume& volume) {
    return std::clamp(volume.bitDepth, 9, volume.isSigned ? 16 : 15);
}

void subtract_whole_rows(const Volume& volume, const SubtractRequest& request, const Shift& shift,
                         Image& image) {
    const std::size_t bytes = image.samples.size();
    std::vector<int> wanted;
    for (const SliceRange& range : {request.minuend, request.subtrahend})
        for (int slice = range.first; slice <= range.last; ++slice) wanted.push_back(slice);
    // Copies, since a caller's rasters need not have the slack.
    const Block copies((wanted.size() + 1) * (bytes + kSlackBytes), "the subtraction");
    std::vector<void*> rasters;
    for (const int slice : wanted) {
        rasters.push_back(copies.data() + rasters.size() * (bytes + kSlackBytes));
        std::memcpy(rasters.back(), volume.raster(slice), bytes);
    }
    void* const output = copies.data() + rasters.size() * (bytes + kSlackBytes);

    RZ_SubOpParams parameters;
    const auto minuends = static_cast<std::size_t>(request.minuend.count());
    parameters.minuend_last = number(minuends - 1);
    parameters.subtrahend_first = number(minuends);
    parameters.subtrahend_last = number(rasters.size() - 1);
    parameters.pixel_shift[0] = shift.fractions[0];
    parameters.pixel_shift[1] = static_cast<float>(request.shift[1]);
    parameters.offset = static_cast<short>(request.offset);
    const int bits = volume.kind() == SampleKind::UInt8 ? 8 : subtraction_bits(volume);
    if (RZ_GetMultiSliceSubtractionPlane(rasters, image.height(), image.width(), bits, volume.isSigned,
                                         output, parameters, nullptr, parameters) != 1)
        throw std::logic_error("a subtraction of checked slices was refused");
    std::memcpy(image.samples.data(), output, bytes);
}

}  // namespace rzobl
