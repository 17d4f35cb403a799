#include "lower/volume/slice.h"

#include <cstddef>

#include "lower/pager/mem_pager.h"

namespace {

template <class T>
void countSamples(const void* raster, std::size_t count, unsigned long* bins, int least, int binCount) {
    const auto* samples = static_cast<const T*>(raster);
    for (std::size_t i = 0; i < count; ++i) {
        // 64 bits: the difference of a sample and any int fits.
        const long long bin = static_cast<long long>(samples[i]) - least;
        if (bin >= 0 && bin < binCount) ++bins[bin];
    }
}

std::size_t sampleCount(const PixelDataAttributes& attributes) {
    if (attributes.width <= 0 || attributes.height <= 0) return 0;
    return static_cast<std::size_t>(attributes.width) * static_cast<std::size_t>(attributes.height);
}

}  // namespace

RZ_Slice::RZ_Slice(const RZ_Slice& other)
    : bitDepth(other.bitDepth),
      isSigned(other.isSigned),
      pixelKind(other.pixelKind),
      computed(other.computed),
      raster_(other.raster_),
      attributes_(other.attributes_) {}

RZ_Slice::RZ_Slice(void* raster, const PixelDataAttributes& attributes, MEM_PagerInfo* owned)
    : raster_(raster), attributes_(attributes), owned_(owned) {}

RZ_Slice::~RZ_Slice() {
    delete owned_;
}

RZ_Slice& RZ_Slice::operator=(const RZ_Slice& other) {
    if (other.raster_ != raster_) {
        delete owned_;
        owned_ = nullptr;
    }
    bitDepth = other.bitDepth;
    isSigned = other.isSigned;
    pixelKind = other.pixelKind;
    computed = other.computed;
    raster_ = other.raster_;
    attributes_ = other.attributes_;
    return *this;
}

void RZ_Slice::AddToHistogram(unsigned long*, int, int) {}

RZ_ShortSlice::RZ_ShortSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int)
    : RZ_Slice(info ? info->Ptr() : nullptr, attributes, info) {}

RZ_ShortSlice::RZ_ShortSlice(short* raster, const PixelDataAttributes& attributes)
    : RZ_Slice(raster, attributes, nullptr) {}

RZ_ShortSlice::RZ_ShortSlice(std::uint8_t* raster, const PixelDataAttributes& attributes)
    : RZ_Slice(raster, attributes, nullptr) {
    pixelKind = kByte;
    bitDepth = 8;
    isSigned = false;
}

RZ_ShortSlice::~RZ_ShortSlice() = default;

void RZ_ShortSlice::AddToHistogram(unsigned long* bins, int least, int binCount) {
    if (!raster_) return;
    const std::size_t count = sampleCount(attributes_);
    if (pixelKind == kByte) {
        if (isSigned) {
            countSamples<std::int8_t>(raster_, count, bins, least, binCount);
        } else {
            countSamples<std::uint8_t>(raster_, count, bins, least, binCount);
        }
    } else if (isSigned) {
        countSamples<std::int16_t>(raster_, count, bins, least, binCount);
    } else {
        countSamples<std::uint16_t>(raster_, count, bins, least, binCount);
    }
}

RZ_ShortSlice& RZ_ShortSlice::operator=(const RZ_ShortSlice& other) {
    RZ_Slice::operator=(other);
    return *this;
}

RZ_LongSlice::RZ_LongSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int)
    : RZ_Slice(info ? info->Ptr() : nullptr, attributes, info) {
    pixelKind = kLong;
    bitDepth = 32;
    isSigned = false;
}

RZ_LongSlice::RZ_LongSlice(std::int32_t* raster, const PixelDataAttributes& attributes)
    : RZ_Slice(raster, attributes, nullptr) {
    pixelKind = kLong;
    bitDepth = 32;
    isSigned = false;
}

RZ_LongSlice::~RZ_LongSlice() = default;

RZ_LongSlice& RZ_LongSlice::operator=(const RZ_LongSlice& other) {
    RZ_Slice::operator=(other);
    return *this;
}
