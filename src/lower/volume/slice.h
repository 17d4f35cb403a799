#pragma once

#include <cstdint>

#include "lower/export.h"

class MEM_PagerInfo;

/// Width and height of a raster in samples, and two fields that hold 16 and 1.
struct PixelDataAttributes {
    int width = 0;
    int height = 0;
    int bitsAllocated = 16;
    int samplesPerPixel = 1;
};

/// One image of a volume. Its raster is readable while the slice is mapped; rasters of this library stay
/// mapped. A copy shares the raster of its source, which must outlive it.
class RZ_LOWER_API RZ_Slice {
  public:
    /// Sample layouts, the values of pixelKind.
    static constexpr int kShort = 0;
    static constexpr int kByte = 1;
    static constexpr int kLong = 2;

    RZ_Slice() = default;
    /// Shares the raster of other.
    RZ_Slice(const RZ_Slice& other);

    // The order of the virtual operations is part of the interface.
    virtual ~RZ_Slice();
    /// Takes over the fields and shares the raster of other; releases a raster of its own.
    virtual RZ_Slice& operator=(const RZ_Slice& other);
    /// Counts every sample in bins[(sample - least) / binWidth]; samples outside the bins are left out.
    /// bins must hold all values from least to the greatest of the sample's type. Here: nothing, a bare slice
    /// has no samples of a known type.
    virtual void AddToHistogram(unsigned long* bins, int least, int binWidth);

    /// Significant bits of a sample.
    int bitDepth = 16;
    /// Whether samples are signed.
    bool isSigned = true;
    /// Sample layout: kShort 16-bit, kByte 8-bit, kLong 32-bit (three 8-bit channels).
    int pixelKind = kShort;
    /// Whether the raster was computed from others.
    bool computed = false;

    /// Address of the raster, whatever its layout; null if there is none.
    void* MappedRaster() const { return raster_; }

  protected:
    RZ_Slice(void* raster, const PixelDataAttributes& attributes, MEM_PagerInfo* owned);

    void* raster_ = nullptr;
    PixelDataAttributes attributes_;
    MEM_PagerInfo* owned_ = nullptr;
};

/// A slice of 16-bit or 8-bit samples (pixelKind says which; an 8-bit raster is used as bytes).
class RZ_LOWER_API RZ_ShortSlice : public RZ_Slice {
  public:
    /// Takes over info and its block as the raster; both are released with the slice. The last argument is
    /// always 0.
    RZ_ShortSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int);
    /// Over memory that the caller owns and keeps alive: no copy.
    RZ_ShortSlice(short* raster, const PixelDataAttributes& attributes);
    RZ_ShortSlice(const RZ_ShortSlice& other) = default;
    ~RZ_ShortSlice() override;

    RZ_Slice& operator=(const RZ_Slice& other) override;
    void AddToHistogram(unsigned long* bins, int least, int binWidth) override;
    virtual RZ_ShortSlice& operator=(const RZ_ShortSlice& other);

    /// The raster, row-major and unpadded. Not checked: null if the slice has none.
    short* GetMappedSlice() const { return static_cast<short*>(raster_); }
};

/// A slice of 32-bit samples. Samples are std::int32_t: `long` is 8 bytes wide on this platform.
class RZ_LOWER_API RZ_LongSlice : public RZ_Slice {
  public:
    /// Takes over info and its block as the raster.
    RZ_LongSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int);
    /// Over memory that the caller owns and keeps alive: no copy.
    RZ_LongSlice(std::int32_t* raster, const PixelDataAttributes& attributes);
    RZ_LongSlice(const RZ_LongSlice& other) = default;
    ~RZ_LongSlice() override;

    RZ_Slice& operator=(const RZ_Slice& other) override;
    virtual RZ_LongSlice& operator=(const RZ_LongSlice& other);

    /// The raster, row-major and unpadded. Not checked: null if the slice has none.
    std::int32_t* GetMappedSlice() const { return static_cast<std::int32_t*>(raster_); }
};
