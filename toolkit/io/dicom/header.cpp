#include "toolkit/io/dicom/header.h"

#include <cmath>

#include "toolkit/core/vector.h"
#include "toolkit/io/dicom/library.h"
#include "toolkit/io/read_text.h"

namespace rzobl::dicom {

namespace fs = std::filesystem;

namespace {

std::string text_of(DcmItem& item, const DcmTagKey& tag) {
    OFString value;
    if (item.findAndGetOFStringArray(tag, value).bad()) return {};
    return trimmed(std::string(value.c_str()));
}

/// Exactly `count` decimal numbers; false if the element is absent or empty. Throws Error for anything else.
template <std::size_t count>
bool numbers_of(DcmItem& item, const DcmTagKey& tag, const char* tagName, const fs::path& file,
                std::array<double, count>& values) {
    const std::string text = text_of(item, tag);
    if (text.empty()) return false;
    std::size_t begin = 0, found = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find('\\', begin), text.size());
        double value = 0;
        if (found == count || !parse_number(text.substr(begin, end - begin), value))
            refuse("%s: its %s '%s' does not hold %zu numbers", file.c_str(), tagName,
                   printable(text).c_str(), count);
        values[found++] = value;
        begin = end + 1;
    }
    if (found != count)
        refuse("%s: its %s '%s' does not hold %zu numbers", file.c_str(), tagName, printable(text).c_str(),
               count);
    return true;
}

int small_number(DcmItem& item, const DcmTagKey& tag, int otherwise) {
    Uint16 value = 0;
    return item.findAndGetUint16(tag, value).good() ? value : otherwise;
}

PixelLayout layout_of(DcmItem& data, const fs::path& file) {
    PixelLayout layout;
    layout.rows = small_number(data, DCM_Rows, 0);
    layout.columns = small_number(data, DCM_Columns, 0);
    if (layout.rows < 1 || layout.columns < 1 || layout.rows > 32767 || layout.columns > 32767)
        refuse("%s: states %d columns and %d rows", file.c_str(), layout.columns, layout.rows);
    layout.channels = small_number(data, DCM_SamplesPerPixel, 1);
    layout.bitsAllocated = small_number(data, DCM_BitsAllocated, 0);
    layout.bitsStored = small_number(data, DCM_BitsStored, layout.bitsAllocated);
    layout.highBit = small_number(data, DCM_HighBit, layout.bitsStored - 1);
    layout.isSigned = small_number(data, DCM_PixelRepresentation, 0) != 0;
    layout.photometric = text_of(data, DCM_PhotometricInterpretation);
    return layout;
}

/// The element's 16 bits read with the sign of the pixels, whichever of the two types the file gives it.
std::optional<int> stored_value(DcmItem& data, const DcmTagKey& tag, bool isSigned) {
    Uint16 bits = 0;
    Sint16 value = 0;
    if (data.findAndGetUint16(tag, bits).bad()) {
        if (data.findAndGetSint16(tag, value).bad()) return std::nullopt;
        bits = static_cast<Uint16>(value);
    }
    return isSigned ? static_cast<int>(static_cast<Sint16>(bits)) : static_cast<int>(bits);
}

std::optional<Padding> padding_of(DcmItem& data, const PixelLayout& layout) {
    const std::optional<int> first = stored_value(data, DCM_PixelPaddingValue, layout.isSigned);
    if (!first || layout.channels != 1) return std::nullopt;
    const int last = stored_value(data, DCM_PixelPaddingRangeLimit, layout.isSigned).value_or(*first);
    return Padding{std::min(*first, last), std::max(*first, last)};
}

/// Where the elements of one picture stand: for most files the data set itself, for multi-frame objects items
/// of the picture or of all pictures.
class Places {
  public:
    Places(DcmItem& data, DcmItem* own, DcmItem* shared) : data_(data), own_(own), shared_(shared) {}

    /// The item that holds `tag`: in the group `sequence` where there are groups.
    DcmItem* find(const DcmTagKey& sequence, const DcmTagKey& tag) const {
        for (DcmItem* const group : {own_, shared_}) {
            DcmItem* item = nullptr;
            if (group && group->findAndGetSequenceItem(sequence, item, 0).good() && item &&
                item->tagExists(tag))
                return item;
        }
        return data_.tagExists(tag) ? &data_ : nullptr;
    }

  private:
    DcmItem& data_;
    DcmItem* own_;
    DcmItem* shared_;
};

/// False where the item or its element is missing.
template <std::size_t count>
bool numbers_at(const Places& places, const DcmTagKey& sequence, const DcmTagKey& tag, const char* tagName,
                const fs::path& file, std::array<double, count>& values) {
    DcmItem* const item = places.find(sequence, tag);
    return item && numbers_of(*item, tag, tagName, file, values);
}

void place(Frame& frame, const Places& places) {
    const fs::path& file = frame.file;
    std::array<double, 6> cosines{};
    std::array<double, 2> spacing{};
    frame.placed =
        numbers_at(places, DCM_PlanePositionSequence, DCM_ImagePositionPatient, "ImagePositionPatient", file,
                   frame.position) &&
        numbers_at(places, DCM_PlaneOrientationSequence, DCM_ImageOrientationPatient,
                   "ImageOrientationPatient", file, cosines) &&
        numbers_at(places, DCM_PixelMeasuresSequence, DCM_PixelSpacing, "PixelSpacing", file, spacing);
    if (!frame.placed) return;
    frame.alongRow = {cosines[0], cosines[1], cosines[2]};
    frame.alongColumn = {cosines[3], cosines[4], cosines[5]};
    const double skew = dot(frame.alongRow, frame.alongColumn);
    if (std::abs(length(frame.alongRow) - 1) > 1e-2 || std::abs(length(frame.alongColumn) - 1) > 1e-2 ||
        std::abs(skew) > 1e-3)
        refuse("%s: its ImageOrientationPatient holds no two directions at right angles", file.c_str());
    // Decimals of the file make them only nearly orthonormal.
    frame.alongRow = scaled(frame.alongRow, 1 / length(frame.alongRow));
    frame.alongColumn =
        added(frame.alongColumn, scaled(frame.alongRow, -dot(frame.alongRow, frame.alongColumn)));
    frame.alongColumn = scaled(frame.alongColumn, 1 / length(frame.alongColumn));
    // The element gives the distance of rows first.
    frame.spacing = {spacing[1], spacing[0]};
    if (!(frame.spacing[0] > 0 && frame.spacing[1] > 0))
        refuse("%s: its PixelSpacing is %g x %g mm", file.c_str(), spacing[0], spacing[1]);
}

Rescale rescale_of(const Places& places, const fs::path& file) {
    std::array<double, 1> slope{1}, intercept{0};
    numbers_at(places, DCM_PixelValueTransformationSequence, DCM_RescaleSlope, "RescaleSlope", file, slope);
    numbers_at(places, DCM_PixelValueTransformationSequence, DCM_RescaleIntercept, "RescaleIntercept", file,
               intercept);
    if (slope[0] == 0) refuse("%s: states a RescaleSlope of 0", file.c_str());
    return {slope[0], intercept[0]};
}

SeriesFacts facts_of(DcmFileFormat& format) {
    DcmDataset& data = *format.getDataset();
    SeriesFacts facts;
    facts.uid = text_of(data, DCM_SeriesInstanceUID);
    facts.number = text_of(data, DCM_SeriesNumber);
    facts.description = text_of(data, DCM_SeriesDescription);
    facts.modality = text_of(data, DCM_Modality);
    facts.manufacturer = text_of(data, DCM_Manufacturer);
    facts.transferSyntax = DcmXfer(data.getOriginalXfer()).getXferName();
    facts.hasLookupTable = data.tagExists(DCM_ModalityLUTSequence);
    return facts;
}

/// Reports and directories have no pixels; a picture without them, or an object of no known kind, is damaged.
bool must_have_pixels(DcmFileFormat& format) {
    std::string kind = text_of(*format.getDataset(), DCM_SOPClassUID);
    if (kind.empty()) kind = text_of(*format.getMetaInfo(), DCM_MediaStorageSOPClassUID);
    return kind.empty() || dcmIsImageStorageSOPClassUID(kind.c_str()) ||
           format.getDataset()->tagExists(DCM_Rows);
}

}  // namespace

Header read_header(const fs::path& file) {
    prepare_library();
    DcmFileFormat format;
    load(format, file);
    DcmDataset& data = *format.getDataset();
    Header header;
    header.series = facts_of(format);
    if (!data.tagExists(DCM_PixelData) || !data.tagExists(DCM_Rows)) {
        if (must_have_pixels(format)) refuse("%s is damaged or cut short (it has no pixels)", file.c_str());
        return header;
    }

    Frame frame;
    frame.file = file;
    frame.instance = text_of(data, DCM_SOPInstanceUID);
    frame.layout = layout_of(data, file);
    frame.padding = padding_of(data, frame.layout);
    long long count = 1;
    const std::string stated = text_of(data, DCM_NumberOfFrames);
    if (!stated.empty() && (!parse_integer(stated, count) || count < 1 || count > 32767))
        refuse("%s: states '%s' pictures", file.c_str(), printable(stated).c_str());
    DcmItem* shared = nullptr;
    data.findAndGetSequenceItem(DCM_SharedFunctionalGroupsSequence, shared, 0);
    for (long long i = 0; i < count; ++i) {
        DcmItem* own = nullptr;
        data.findAndGetSequenceItem(DCM_PerFrameFunctionalGroupsSequence, own, static_cast<signed long>(i));
        const Places places(data, own, shared);
        frame.index = static_cast<int>(i);
        frame.rescale = rescale_of(places, file);
        place(frame, places);
        // Pictures that share one position are no volume: only groups of their own place them.
        if (count > 1 && !own) frame.placed = false;
        header.frames.push_back(frame);
    }
    return header;
}

}  // namespace rzobl::dicom
