#include "readers_dicom_writer.h"

#include <dcmtk/config/osconfig.h>
#include <dcmtk/dcmdata/dcpixel.h>
#include <dcmtk/dcmdata/dcpixseq.h>
#include <dcmtk/dcmdata/dcpxitem.h>
#include <dcmtk/dcmdata/dcrleerg.h>
#include <dcmtk/dcmdata/dctk.h>
#include <dcmtk/dcmimage/diregist.h>  // lets encoders see colours
#include <dcmtk/dcmjpeg/djencode.h>
#include <dcmtk/dcmjpeg/djrploss.h>
#include <dcmtk/dcmjpls/djencode.h>

#include <mutex>
#include <sstream>
#include <stdexcept>

namespace rz_test {

namespace {

void require(const OFCondition& condition) {
    if (condition.bad()) throw std::runtime_error(condition.text());
}

template <class Container>
std::string joined(const Container& values) {
    std::ostringstream text;
    text.precision(12);
    bool first = true;
    for (const double value : values) {
        text << (first ? "" : "\\") << value;
        first = false;
    }
    return text.str();
}

void put(DcmItem& item, const DcmTagKey& tag, const std::string& value) {
    require(item.putAndInsertString(tag, value.c_str()));
}

void put_number(DcmItem& item, const DcmTagKey& tag, int value) {
    require(item.putAndInsertUint16(tag, static_cast<Uint16>(value)));
}

std::string orientation(const DicomSlice& s) {
    return joined(std::vector<double>{s.alongRow[0], s.alongRow[1], s.alongRow[2], s.alongColumn[0],
                                      s.alongColumn[1], s.alongColumn[2]});
}

void put_padding(DcmItem& data, const DicomSlice& slice, const DcmTagKey& key, int value) {
    DcmTag tag(key, slice.isSigned ? EVR_SS : EVR_US);
    if (slice.isSigned) {
        auto* const element = new DcmSignedShort(tag);
        require(element->putSint16(static_cast<Sint16>(value)));
        require(data.insert(element));
    } else {
        auto* const element = new DcmUnsignedShort(tag);
        require(element->putUint16(static_cast<Uint16>(value)));
        require(data.insert(element));
    }
}

void describe(DcmItem& data, const DicomSlice& slice) {
    char made[100];
    put(data, DCM_SOPClassUID, UID_CTImageStorage);
    put(data, DCM_SOPInstanceUID,
        slice.instanceUid.empty() ? dcmGenerateUniqueIdentifier(made) : slice.instanceUid);
    put(data, DCM_Modality, "CT");
    put(data, DCM_SeriesInstanceUID, slice.seriesUid);
    put(data, DCM_SeriesNumber, slice.seriesNumber);
    put(data, DCM_SeriesDescription, slice.description);
    put(data, DCM_SliceThickness, joined(std::vector<double>{slice.thickness}));
    put_number(data, DCM_SamplesPerPixel, slice.channels);
    put(data, DCM_PhotometricInterpretation, slice.photometric);
    if (slice.channels > 1) put_number(data, DCM_PlanarConfiguration, slice.planar);
    put_number(data, DCM_Rows, slice.rows);
    put_number(data, DCM_Columns, slice.columns);
    put_number(data, DCM_BitsAllocated, slice.bitsAllocated);
    put_number(data, DCM_BitsStored, slice.bitsStored);
    put_number(data, DCM_HighBit, slice.highBit);
    put_number(data, DCM_PixelRepresentation, slice.isSigned ? 1 : 0);
    if (slice.padding) put_padding(data, slice, DCM_PixelPaddingValue, *slice.padding);
    if (slice.paddingLimit) put_padding(data, slice, DCM_PixelPaddingRangeLimit, *slice.paddingLimit);
}

void place(DcmItem& data, const DicomSlice& slice) {
    if (slice.placed) {
        put(data, DCM_ImagePositionPatient, joined(slice.position));
        put(data, DCM_ImageOrientationPatient, orientation(slice));
        put(data, DCM_PixelSpacing, joined(slice.pixelSpacing));
    }
    if (slice.slope) put(data, DCM_RescaleSlope, joined(std::vector<double>{*slice.slope}));
    if (slice.intercept) put(data, DCM_RescaleIntercept, joined(std::vector<double>{*slice.intercept}));
}

void append_pixels(std::vector<Uint16>& words, std::vector<Uint8>& bytes, const DicomSlice& slice) {
    const auto count = static_cast<std::size_t>(slice.rows * slice.columns * slice.channels);
    for (std::size_t i = 0; i < count; ++i) {
        const int value = slice.pixels.empty() ? 0 : slice.pixels.at(i);
        words.push_back(static_cast<Uint16>(value));
        bytes.push_back(static_cast<Uint8>(value));
    }
}

void put_pixels(DcmItem& data, const std::vector<DicomSlice>& slices) {
    std::vector<Uint16> words;
    std::vector<Uint8> bytes;
    for (const DicomSlice& slice : slices) append_pixels(words, bytes, slice);
    if (bytes.size() % 2 != 0) bytes.push_back(0);
    if (slices.front().bitsAllocated == 16)
        require(data.putAndInsertUint16Array(DCM_PixelData, words.data(), words.size()));
    else
        require(data.putAndInsertUint8Array(DCM_PixelData, bytes.data(), bytes.size()));
}

E_TransferSyntax code_of(Syntax syntax) {
    switch (syntax) {
        case Syntax::LittleExplicit:
            return EXS_LittleEndianExplicit;
        case Syntax::LittleImplicit:
            return EXS_LittleEndianImplicit;
        case Syntax::BigExplicit:
            return EXS_BigEndianExplicit;
        case Syntax::Deflated:
            return EXS_DeflatedLittleEndianExplicit;
        case Syntax::Rle:
            return EXS_RLELossless;
        case Syntax::JpegLossless:
            return EXS_JPEGProcess14SV1;
        case Syntax::JpegBaseline:
            return EXS_JPEGProcess1;
        case Syntax::JpegLs:
            return EXS_JPEGLSLossless;
    }
    return EXS_Unknown;
}

void save(DcmFileFormat& format, const std::filesystem::path& file, Syntax syntax) {
    static std::once_flag once;
    std::call_once(once, [] {
        DcmRLEEncoderRegistration::registerCodecs();
        DJEncoderRegistration::registerCodecs();
        DJLSEncoderRegistration::registerCodecs();
    });
    const E_TransferSyntax code = code_of(syntax);
    const DJ_RPLossy lossy(95);
    require(
        format.getDataset()->chooseRepresentation(code, syntax == Syntax::JpegBaseline ? &lossy : nullptr));
    require(format.saveFile(file.c_str(), code));
}

}  // namespace

void write_dicom(const std::filesystem::path& file, const DicomSlice& slice, Syntax syntax) {
    DcmFileFormat format;
    describe(*format.getDataset(), slice);
    place(*format.getDataset(), slice);
    put_pixels(*format.getDataset(), {slice});
    save(format, file, syntax);
}

void write_undecodable_dicom(const std::filesystem::path& file, const DicomSlice& slice) {
    DcmFileFormat format;
    describe(*format.getDataset(), slice);
    place(*format.getDataset(), slice);
    auto* const sequence = new DcmPixelSequence(DCM_PixelSequenceTag);
    require(sequence->insert(new DcmPixelItem(DCM_PixelItemTag)));
    DcmOffsetList offsets;
    std::vector<Uint8> fragment{0xff, 0x4f, 0xff, 0x51, 0, 0, 0, 0};
    require(
        sequence->storeCompressedFrame(offsets, fragment.data(), static_cast<Uint32>(fragment.size()), 0));
    auto* const pixels = new DcmPixelData(DCM_PixelData);
    pixels->putOriginalRepresentation(EXS_JPEG2000LosslessOnly, nullptr, sequence);
    require(format.getDataset()->insert(pixels));
    require(format.saveFile(file.c_str(), EXS_JPEG2000LosslessOnly));
}

void write_dicom_report(const std::filesystem::path& file) {
    DcmFileFormat format;
    put(*format.getDataset(), DCM_SOPClassUID, UID_BasicTextSRStorage);
    put(*format.getDataset(), DCM_SOPInstanceUID, "1.2.3.99");
    put(*format.getDataset(), DCM_SeriesInstanceUID, "1.2.3.98");
    put(*format.getDataset(), DCM_Modality, "SR");
    require(format.saveFile(file.c_str(), EXS_LittleEndianExplicit));
}

void write_multiframe_dicom(const std::filesystem::path& file, const std::vector<DicomSlice>& slices,
                            bool grouped) {
    DcmFileFormat format;
    DcmDataset& data = *format.getDataset();
    const DicomSlice& first = slices.front();
    describe(data, first);
    put(data, DCM_SOPClassUID, UID_EnhancedCTImageStorage);
    put(data, DCM_NumberOfFrames, std::to_string(slices.size()));
    if (grouped) {
        DcmItem *shared = nullptr, *item = nullptr;
        require(data.findOrCreateSequenceItem(DCM_SharedFunctionalGroupsSequence, shared, 0));
        require(shared->findOrCreateSequenceItem(DCM_PixelMeasuresSequence, item, 0));
        put(*item, DCM_PixelSpacing, joined(first.pixelSpacing));
        put(*item, DCM_SliceThickness, joined(std::vector<double>{first.thickness}));
        require(shared->findOrCreateSequenceItem(DCM_PlaneOrientationSequence, item, 0));
        put(*item, DCM_ImageOrientationPatient, orientation(first));
        for (std::size_t k = 0; k < slices.size(); ++k) {
            DcmItem *own = nullptr, *position = nullptr, *values = nullptr;
            require(data.findOrCreateSequenceItem(DCM_PerFrameFunctionalGroupsSequence, own, -2));
            require(own->findOrCreateSequenceItem(DCM_PlanePositionSequence, position, 0));
            put(*position, DCM_ImagePositionPatient, joined(slices[k].position));
            require(own->findOrCreateSequenceItem(DCM_PixelValueTransformationSequence, values, 0));
            put(*values, DCM_RescaleSlope, joined(std::vector<double>{slices[k].slope.value_or(1)}));
            put(*values, DCM_RescaleIntercept, joined(std::vector<double>{slices[k].intercept.value_or(0)}));
        }
    } else {
        place(data, first);
    }
    put_pixels(data, slices);
    save(format, file, Syntax::LittleExplicit);
}

void write_series(const std::filesystem::path& folder, const DicomSlice& like, int count, const Vector& step,
                  const std::function<void(DicomSlice&, int)>& edit, Syntax syntax) {
    for (int k = 0; k < count; ++k) {
        DicomSlice slice = like;
        for (std::size_t axis = 0; axis < 3; ++axis) slice.position[axis] += k * step[axis];
        if (edit) edit(slice, k);
        // Neither their order nor its reverse.
        write_dicom(folder / ("S" + std::to_string((k * 7 + 3) % 101) + ".dcm"), slice, syntax);
    }
}

}  // namespace rz_test
