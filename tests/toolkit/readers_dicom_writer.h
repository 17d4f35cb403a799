#pragma once

#include <array>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rz_test {

using Vector = std::array<double, 3>;

/// A DICOM picture that a test writes; everything that the readers look at can be set.
struct DicomSlice {
    int columns = 6;
    int rows = 5;
    int channels = 1;
    int bitsAllocated = 16;
    int bitsStored = 12;
    int highBit = 11;
    bool isSigned = false;
    std::string photometric = "MONOCHROME2";
    int planar = 0;
    /// Containers as they stand in the file, bitsAllocated wide; rows x columns x channels of them. Empty:
    /// zeroes.
    std::vector<int> pixels;
    bool placed = true;
    Vector position{0, 0, 0};
    Vector alongRow{1, 0, 0};
    Vector alongColumn{0, 1, 0};
    /// Between rows, between columns, as the element orders them.
    std::array<double, 2> pixelSpacing{0.5, 0.5};
    std::optional<double> slope;
    std::optional<double> intercept;
    std::optional<int> padding;
    std::optional<int> paddingLimit;
    double thickness = 99;
    std::string seriesUid = "1.2.3.4";
    std::string seriesNumber = "7";
    std::string description = "TEST";
    /// Made up where empty.
    std::string instanceUid;
};

/// "1.2.840.10008.1.2.1" and the like: names of the transfer syntaxes that tests write.
enum class Syntax {
    LittleExplicit,
    LittleImplicit,
    BigExplicit,
    Deflated,
    Rle,
    JpegLossless,
    JpegBaseline,
    JpegLs
};

void write_dicom(const std::filesystem::path& file, const DicomSlice& slice,
                 Syntax syntax = Syntax::LittleExplicit);

/// The slice's elements with pixels that claim to be JPEG 2000.
void write_undecodable_dicom(const std::filesystem::path& file, const DicomSlice& slice);

/// An object with a series but no picture.
void write_dicom_report(const std::filesystem::path& file);

/// All slices in one multi-frame file, each placed by functional groups of its own if `grouped`.
void write_multiframe_dicom(const std::filesystem::path& file, const std::vector<DicomSlice>& slices,
                            bool grouped);

/// `count` slices at start + k x step, named in an order that is not theirs; `edit` changes each before it is
/// written.
void write_series(const std::filesystem::path& folder, const DicomSlice& like, int count, const Vector& step,
                  const std::function<void(DicomSlice&, int)>& edit = {},
                  Syntax syntax = Syntax::LittleExplicit);

}  // namespace rz_test
