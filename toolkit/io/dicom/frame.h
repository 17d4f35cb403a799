#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include "toolkit/core/volume.h"

namespace rzobl::dicom {

/// How the pixels of a picture are stored.
struct PixelLayout {
    int rows = 0;
    int columns = 0;
    int channels = 1;
    int bitsAllocated = 0;
    int bitsStored = 0;
    int highBit = 0;
    bool isSigned = false;
    std::string photometric;

    bool operator==(const PixelLayout& o) const {
        return rows == o.rows && columns == o.columns && channels == o.channels &&
               bitsAllocated == o.bitsAllocated && bitsStored == o.bitsStored && highBit == o.highBit &&
               isSigned == o.isSigned && photometric == o.photometric;
    }
};

/// First and last stored value, sign applied, that stand for "nothing was measured here".
struct Padding {
    int first = 0;
    int last = 0;

    bool operator==(const Padding& o) const { return first == o.first && last == o.last; }
};

/// One picture, before its pixels are read.
struct Frame {
    std::filesystem::path file;
    /// Number of the picture in its file.
    int index = 0;
    std::string instance;
    PixelLayout layout;
    Rescale rescale;
    std::optional<Padding> padding;
    /// Whether the file says where the picture lies; the next four count only then.
    bool placed = false;
    Vec3 position{};
    Vec3 alongRow{};
    Vec3 alongColumn{};
    /// Between columns and between rows, mm.
    std::array<double, 2> spacing{};
};

/// What a file says of its series.
struct SeriesFacts {
    std::string uid;
    std::string number;
    std::string description;
    std::string modality;
    std::string manufacturer;
    std::string transferSyntax;
    bool hasLookupTable = false;
};

}  // namespace rzobl::dicom
