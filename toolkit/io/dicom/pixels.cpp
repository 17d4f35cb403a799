#include "toolkit/io/dicom/pixels.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcfcache.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

#include "toolkit/core/text.h"
#include "toolkit/io/dicom/common_rescale.h"
#include "toolkit/io/dicom/library.h"
#include "toolkit/io/dicom/rle_check.h"
#include "toolkit/io/read_text.h"

namespace rzobl::dicom {

namespace fs = std::filesystem;

namespace {

std::size_t values_of(const PixelLayout& layout) {
    return static_cast<std::size_t>(layout.rows) * static_cast<std::size_t>(layout.columns) *
           static_cast<std::size_t>(layout.channels);
}

SampleType type_of(const PixelLayout& layout) {
    if (layout.bitsAllocated == 8) return layout.isSigned ? SampleType::Int8 : SampleType::UInt8;
    return layout.isSigned ? SampleType::Int16 : SampleType::UInt16;
}

/// Small files cannot make us take all memory: encoders do not pack tighter than this.
void check_claim(const std::vector<Frame>& frames, const std::string& input) {
    const double claimed =
        static_cast<double>(values_of(frames.front().layout) *
                            static_cast<std::size_t>(frames.front().layout.bitsAllocated / 8)) *
        static_cast<double>(frames.size());
    double held = 0;
    const fs::path* last = nullptr;
    for (const Frame& frame : frames) {
        if (!last || *last != frame.file) held += static_cast<double>(fs::file_size(frame.file));
        last = &frame.file;
    }
    if (claimed > std::max(4096 * held, 268435456.0))
        refuse("%s: its slices claim %s of pixels in %s of files", input.c_str(), bytes_text(claimed).c_str(),
               bytes_text(held).c_str());
}

/// Reads frames file by file; a file stays open for the frames that follow each other.
class FrameReader {
  public:
    /// The pixels as they are stored, `bytes` many, in this machine's byte order.
    void read(const Frame& frame, std::byte* out, std::size_t bytes) {
        if (!format_ || file_ != frame.file) open(frame.file);
        DcmDataset& data = *format_->getDataset();
        DcmElement* element = nullptr;
        if (data.findAndGetElement(DCM_PixelData, element).bad() || !element)
            refuse("%s is damaged or cut short (it has no pixels)", file_.c_str());
        Uint32 held = 0;
        if (element->getUncompressedFrameSize(&data, held).bad() || held != bytes)
            refuse("%s: its pictures hold %u bytes where %zu belong", file_.c_str(), held, bytes);
        if (data.getOriginalXfer() == EXS_RLELossless) check_rle(*element, frame, bytes);
        buffer_.assign(held + (held & 1), 0);
        OFString colours;
        Uint32 fragment = 0;
        const OFCondition state =
            element->getUncompressedFrame(&data, static_cast<Uint32>(frame.index), fragment, buffer_.data(),
                                          static_cast<Uint32>(buffer_.size()), colours, &cache_);
        const std::string syntax = DcmXfer(data.getOriginalXfer()).getXferName();
        if (state == EC_CannotChangeRepresentation || state == EC_UnsupportedEncoding)
            refuse("%s: its pixels are compressed as '%s', which this build cannot decode", file_.c_str(),
                   syntax.c_str());
        if (state.bad())
            refuse("%s: its pixels (%s) cannot be read (%s)", file_.c_str(), syntax.c_str(),
                   printable(lower_case(state.text())).c_str());
        if (frame.layout.channels == 3 && colours != "RGB")
            refuse("%s: colours of the model '%s' are not supported, only RGB", file_.c_str(),
                   printable(colours.c_str()).c_str());
        Uint16 planes = 0;
        data.findAndGetUint16(DCM_PlanarConfiguration, planes);
        if (frame.layout.channels == 3 && planes == 1)
            interleave(out, bytes);
        else
            std::copy_n(reinterpret_cast<const std::byte*>(buffer_.data()), bytes, out);
    }

  private:
    /// One fragment for each frame, whole.
    void check_rle(DcmElement& element, const Frame& frame, std::size_t bytes) {
        DcmPixelSequence* fragments = nullptr;
        DcmPixelItem* item = nullptr;
        Uint8* code = nullptr;
        auto* const pixels = dynamic_cast<DcmPixelData*>(&element);
        const auto segments =
            static_cast<std::size_t>(frame.layout.channels * frame.layout.bitsAllocated / 8);
        // The first item is the table of offsets.
        const auto number = static_cast<unsigned long>(frame.index) + 1;
        const bool whole =
            pixels && pixels->getEncapsulatedRepresentation(EXS_RLELossless, nullptr, fragments).good() &&
            fragments && fragments->getItem(item, number).good() && item &&
            item->getUint8Array(code).good() && code &&
            is_whole_rle_frame(code, item->getLength(), segments, bytes / segments);
        if (!whole) refuse("%s is damaged: its run-length coded pixels are not whole", file_.c_str());
    }

    void open(const fs::path& file) {
        format_ = std::make_unique<DcmFileFormat>();
        cache_.clear();
        file_ = file;
        load(*format_, file);
    }

    void interleave(std::byte* out, std::size_t bytes) {
        const std::size_t pixels = bytes / 3;
        for (std::size_t i = 0; i < bytes; ++i)
            out[i] = static_cast<std::byte>(buffer_[(i % 3) * pixels + i / 3]);
    }

    fs::path file_;
    std::unique_ptr<DcmFileFormat> format_;
    DcmFileCache cache_;
    std::vector<Uint8> buffer_;
};

/// The bits that count, with their sign. A container that holds the padding value as a whole stays as it is:
/// padding may lie outside the stored bits.
template <class T>
void keep_stored_bits(T* value, std::size_t count, const Frame& frame) {
    const int unused = frame.layout.highBit + 1 - frame.layout.bitsStored;
    const std::uint32_t mask = (1U << frame.layout.bitsStored) - 1;
    const std::uint32_t sign = frame.layout.isSigned ? 1U << (frame.layout.bitsStored - 1) : 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (frame.padding && value[i] >= frame.padding->first && value[i] <= frame.padding->last) continue;
        const std::uint32_t bits = static_cast<std::uint32_t>(value[i]) >> unused & mask;
        value[i] = static_cast<T>((bits ^ sign) - sign);
    }
}

bool is_padding(const Frame& frame, std::int64_t value) {
    return frame.padding && value >= frame.padding->first && value <= frame.padding->last;
}

/// The least measured value in the units of all slices; none if there is only padding.
template <class T>
std::optional<std::int64_t> least_measured(const T* value, std::size_t slice,
                                           const std::vector<Frame>& frames, const CommonRescale& common) {
    std::optional<std::int64_t> least;
    for (std::size_t k = 0; k < frames.size(); ++k) {
        const Conversion& to = common.slices[k];
        for (const T* v = value + k * slice; v != value + (k + 1) * slice; ++v) {
            if (is_padding(frames[k], *v)) continue;
            const std::int64_t converted = *v * to.factor + to.offset;
            if (!least || converted < *least) least = converted;
        }
    }
    return least;
}

/// Brings slices to one rescale and padding to one value; wider samples only where factors and offsets ask
/// for it.
template <class T>
void unify(StoredSamples& samples, const std::vector<Frame>& frames, const CommonRescale& common,
           const std::string& input) {
    auto* const value = reinterpret_cast<T*>(samples.bytes.get());
    const std::size_t slice = values_of(frames.front().layout);
    const bool padded =
        std::any_of(frames.begin(), frames.end(), [](const Frame& f) { return f.padding.has_value(); });
    std::optional<std::int64_t> background;
    if (padded) background = least_measured(value, slice, frames, common);
    const auto convert = [&](const Frame& frame, const Conversion& to, T v) {
        return background && is_padding(frame, v) ? *background : v * to.factor + to.offset;
    };
    if (background)
        samples.padding = static_cast<int>(std::clamp<std::int64_t>(*background, INT32_MIN, INT32_MAX));
    if (common.same) {
        if (!background) return;
        for (std::size_t k = 0; k < frames.size(); ++k) {
            for (T* v = value + k * slice; v != value + (k + 1) * slice; ++v)
                *v = static_cast<T>(convert(frames[k], {}, *v));
        }
        return;
    }
    const std::shared_ptr<std::byte> wide = allocate_samples(slice * frames.size() * 4);
    auto* out = reinterpret_cast<std::int32_t*>(wide.get());
    for (std::size_t k = 0; k < frames.size(); ++k) {
        for (const T* v = value + k * slice; v != value + (k + 1) * slice; ++v) {
            const std::int64_t converted = convert(frames[k], common.slices[k], *v);
            if (converted < INT32_MIN || converted > INT32_MAX)
                refuse("%s: its slices differ in their rescale, and a common one does not fit",
                       input.c_str());
            *out++ = static_cast<std::int32_t>(converted);
        }
    }
    samples.bytes = wide;
    samples.type = SampleType::Int32;
    samples.bits = 0;
}

}  // namespace

void check_layout(const Frame& frame) {
    const PixelLayout& layout = frame.layout;
    const char* const file = frame.file.c_str();
    const bool grey =
        layout.channels == 1 && (layout.photometric.empty() || layout.photometric == "MONOCHROME1" ||
                                 layout.photometric == "MONOCHROME2");
    const bool colour = layout.channels == 3 && layout.bitsAllocated == 8 && layout.bitsStored == 8 &&
                        !layout.isSigned && layout.photometric != "HSV" && layout.photometric != "ARGB";
    if (!grey && !colour)
        refuse("%s: pixels of %d channels, %d bits, '%s' are not supported", file, layout.channels,
               layout.bitsAllocated, printable(layout.photometric).c_str());
    if (layout.bitsAllocated != 8 && layout.bitsAllocated != 16)
        refuse("%s: pixels of %d allocated bits are not supported, only of 8 and 16", file,
               layout.bitsAllocated);
    if (layout.bitsStored < 1 || layout.highBit + 1 < layout.bitsStored ||
        layout.highBit >= layout.bitsAllocated)
        refuse("%s: states %d stored bits below bit %d in %d allocated ones", file, layout.bitsStored,
               layout.highBit + 1, layout.bitsAllocated);
}

StoredSamples read_pixels(const std::vector<Frame>& frames, const std::string& input,
                          std::vector<std::string>& warnings) {
    const PixelLayout& layout = frames.front().layout;
    check_layout(frames.front());
    check_claim(frames, input);
    const CommonRescale common = common_rescale(frames, input);

    StoredSamples samples;
    samples.type = type_of(layout);
    samples.channels = layout.channels;
    samples.bits = layout.bitsStored;
    samples.rescale = common.rescale;
    const std::size_t values = values_of(layout), bytes = values * bytes_of(samples.type);
    samples.count = values / static_cast<std::size_t>(layout.channels) * frames.size();
    samples.bytes = allocate_samples(bytes * frames.size());
    FrameReader reader;
    for (std::size_t k = 0; k < frames.size(); ++k) {
        std::byte* const slice = samples.bytes.get() + k * bytes;
        reader.read(frames[k], slice, bytes);
        if (layout.channels != 1) continue;
        switch (samples.type) {
            case SampleType::Int8:
                keep_stored_bits(reinterpret_cast<std::int8_t*>(slice), values, frames[k]);
                break;
            case SampleType::UInt8:
                keep_stored_bits(reinterpret_cast<std::uint8_t*>(slice), values, frames[k]);
                break;
            case SampleType::Int16:
                keep_stored_bits(reinterpret_cast<std::int16_t*>(slice), values, frames[k]);
                break;
            default:
                keep_stored_bits(reinterpret_cast<std::uint16_t*>(slice), values, frames[k]);
                break;
        }
    }
    if (layout.channels == 1) {
        switch (samples.type) {
            case SampleType::Int8:
                unify<std::int8_t>(samples, frames, common, input);
                break;
            case SampleType::UInt8:
                unify<std::uint8_t>(samples, frames, common, input);
                break;
            case SampleType::Int16:
                unify<std::int16_t>(samples, frames, common, input);
                break;
            default:
                unify<std::uint16_t>(samples, frames, common, input);
                break;
        }
    }
    if (!common.same)
        warnings.push_back(
            sentence("%s: its slices differ in their rescale and were brought to slope %g, "
                     "intercept %g",
                     input.c_str(), common.rescale.slope, common.rescale.intercept));
    return samples;
}

}  // namespace rzobl::dicom
