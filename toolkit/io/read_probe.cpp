#include "toolkit/io/read_probe.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

bool starts_with(const std::vector<std::uint8_t>& bytes, std::size_t offset, const char* mark) {
    const std::size_t length = std::strlen(mark);
    return bytes.size() >= offset + length && std::memcmp(bytes.data() + offset, mark, length) == 0;
}

bool is_dicom(const std::vector<std::uint8_t>& bytes) {
    if (starts_with(bytes, 128, "DICM")) return true;
    // Without a mark: an element of group 2 or 8, little or big endian, with a short length.
    if (bytes.size() < 132) return false;
    const auto* const b = bytes.data();
    const bool little = (b[0] == 2 || b[0] == 8) && b[1] == 0 && b[3] == 0;
    const bool big = b[0] == 0 && (b[1] == 2 || b[1] == 8) && b[2] == 0;
    const bool spelled = b[4] >= 'A' && b[4] <= 'Z' && b[5] >= 'A' && b[5] <= 'Z';
    const bool implied = little && b[5] == 0 && b[6] == 0 && b[7] == 0;
    return (little || big) && (spelled || implied);
}

bool is_nifti(const std::vector<std::uint8_t>& bytes) {
    if (bytes.size() < 4) return false;
    const auto* const b = bytes.data();
    // The header's own size: 348, or 540 in the second version.
    const bool little = (b[0] == 0x5c && b[1] == 1) || (b[0] == 0x1c && b[1] == 2);
    const bool big = (b[3] == 0x5c && b[2] == 1) || (b[3] == 0x1c && b[2] == 2);
    const bool marked =
        starts_with(bytes, 344, "n+") || starts_with(bytes, 344, "ni") || starts_with(bytes, 4, "n+2");
    return marked && ((little && b[2] == 0 && b[3] == 0) || (big && b[0] == 0 && b[1] == 0));
}

bool is_metaimage(const std::vector<std::uint8_t>& bytes) {
    const std::string head(bytes.begin(), bytes.end());
    return head.rfind("ObjectType", 0) == 0 || head.rfind("NDims", 0) == 0;
}

bool ends_with(const std::string& text, const std::string& ending) {
    return text.size() >= ending.size() &&
           text.compare(text.size() - ending.size(), ending.size(), ending) == 0;
}

}  // namespace

bool starts_as_dicom(const fs::path& file) {
    return is_dicom(first_bytes(file, 132));
}

bool named_as_dicom(const fs::path& file) {
    const std::string ending = lower_case(file.extension().string());
    return ending == ".dcm" || ending == ".dicom" || ending == ".ima";
}

FileFormat probe(const fs::path& file) {
    readable_size(file);
    const std::vector<std::uint8_t> bytes = first_bytes(file, 352);
    if (starts_with(bytes, 0, "NRRD")) return FileFormat::Nrrd;
    if (starts_with(bytes, 0, "\x89PNG\r\n\x1a\n")) return FileFormat::Png;
    if (is_nifti(bytes)) return FileFormat::Nifti;
    if (is_dicom(bytes)) return FileFormat::Dicom;
    if (is_metaimage(bytes)) return FileFormat::MetaImage;

    const std::string name = lower_case(file.filename().string());
    if (named_as_dicom(file)) return FileFormat::Dicom;
    if (ends_with(name, ".nii") || ends_with(name, ".nii.gz")) return FileFormat::Nifti;
    if (ends_with(name, ".nrrd") || ends_with(name, ".nhdr")) return FileFormat::Nrrd;
    if (ends_with(name, ".mhd") || ends_with(name, ".mha")) return FileFormat::MetaImage;
    if (ends_with(name, ".png")) return FileFormat::Png;
    return FileFormat::Unknown;
}

}  // namespace rzobl
