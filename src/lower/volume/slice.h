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
/// mapped. A copy shares the raster of its source, which must outlive it. Thread-safe for concurrent reads.
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
    /// Takes over the fields and shares the raster of other; releases a raster of its own, unless other
    /// shares just that one.
    virtual RZ_Slice& operator=(const RZ_Slice& other);
    /// For every sample s with least <= s < least + binCount, counts up bins[s - least]; other samples are
    /// left out. Here: nothing, a bare slice has no samples of a known type.
    virtual void AddToHistogram(unsigned long* bins, int least, int binCount);

    // The order of the fields is part of the interface, too. They are the caller's to set.

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
    /// Size of the raster.
    const PixelDataAttributes& GetAttributes() const { return attributes_; }

  protected:
    /// owned: the block of raster, deleted with the slice, or null for memory of the caller.
    RZ_Slice(void* raster, const PixelDataAttributes& attributes, MEM_PagerInfo* owned);

    void* raster_ = nullptr;
    PixelDataAttributes attributes_;
    MEM_PagerInfo* owned_ = nullptr;

  private:
    friend class RZ_SliceVector;
};

/// A slice of 16-bit or 8-bit samples (pixelKind says which; an 8-bit raster is used as bytes).
class RZ_LOWER_API RZ_ShortSlice : public RZ_Slice {
  public:
    /// Takes over info, which came from `new`, and its block as the raster; both are released with the slice.
    /// The block must hold width x height samples. The last argument is always 0. 16 bits, signed.
    RZ_ShortSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int);
    /// Over memory that the caller owns and keeps alive: no copy. 16 bits, signed.
    RZ_ShortSlice(short* raster, const PixelDataAttributes& attributes);
    /// The same for bytes. pixelKind kByte, 8 bits, unsigned.
    RZ_ShortSlice(std::uint8_t* raster, const PixelDataAttributes& attributes);
    RZ_ShortSlice(const RZ_ShortSlice& other) = default;
    ~RZ_ShortSlice() override;

    using RZ_Slice::operator=;
    /// Reads the raster by pixelKind and isSigned.
    void AddToHistogram(unsigned long* bins, int least, int binCount) override;
    virtual RZ_ShortSlice& operator=(const RZ_ShortSlice& other);

    /// The raster, row-major and unpadded. Not checked: null if the slice has none.
    short* GetMappedSlice() const { return static_cast<short*>(raster_); }
};

/// A slice of 32-bit samples, each three unsigned 8-bit channels: pixelKind kLong, 32 bits, unsigned. Samples
/// are std::int32_t, since `long` is 8 bytes wide on this platform. AddToHistogram counts nothing.
class RZ_LOWER_API RZ_LongSlice : public RZ_Slice {
  public:
    /// Takes over info, which came from `new`, and its block as the raster. The last argument is always 0.
    RZ_LongSlice(MEM_PagerInfo* info, PixelDataAttributes& attributes, int);
    /// Over memory that the caller owns and keeps alive: no copy.
    RZ_LongSlice(std::int32_t* raster, const PixelDataAttributes& attributes);
    RZ_LongSlice(const RZ_LongSlice& other) = default;
    ~RZ_LongSlice() override;

    using RZ_Slice::operator=;
    virtual RZ_LongSlice& operator=(const RZ_LongSlice& other);

    /// The raster, row-major and unpadded. Not checked: null if the slice has none.
    std::int32_t* GetMappedSlice() const { return static_cast<std::int32_t*>(raster_); }
};
