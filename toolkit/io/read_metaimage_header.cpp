#include "toolkit/io/read_metaimage_header.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <map>
#include <optional>

#include "toolkit/core/vector.h"
#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_header_text.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

struct Keys {
    std::map<std::string, std::string> values;
    std::uint64_t end = 0;

    std::string get(const std::string& key) const {
        const auto found = values.find(key);
        return found == values.end() ? std::string() : found->second;
    }
};

bool names_data(const std::string& line) {
    return line.rfind("ElementDataFile", 0) == 0;
}

Keys split(const fs::path& file) {
    const HeaderText text = read_header_text(file, names_data, false);
    Keys keys;
    for (const HeaderText::Line& line : text.lines) {
        keys.end = line.end;
        if (trimmed(line.text).empty()) continue;
        const std::size_t sign = line.text.find_first_of("=:");
        if (sign == std::string::npos)
            refuse("%s: '%s' in its header is no field", file.c_str(), printable(line.text).c_str());
        const auto [entry, fresh] =
            keys.values.emplace(trimmed(line.text.substr(0, sign)), trimmed(line.text.substr(sign + 1)));
        if (!fresh) refuse("%s: its header states %s twice", file.c_str(), printable(entry->first).c_str());
    }
    return keys;
}

std::optional<SampleType> type_named(std::string name) {
    static const std::map<std::string, SampleType> kTypes{
        {"MET_CHAR", SampleType::Int8},     {"MET_UCHAR", SampleType::UInt8},
        {"MET_SHORT", SampleType::Int16},   {"MET_USHORT", SampleType::UInt16},
        {"MET_INT", SampleType::Int32},     {"MET_UINT", SampleType::UInt32},
        {"MET_FLOAT", SampleType::Float32}, {"MET_DOUBLE", SampleType::Float64},
    };
    const std::string array = "_ARRAY";
    if (name.size() > array.size() && name.compare(name.size() - array.size(), array.size(), array) == 0)
        name.resize(name.size() - array.size());
    const auto found = kTypes.find(name);
    return found == kTypes.end() ? std::nullopt : std::optional<SampleType>(found->second);
}

bool truth(const Keys& keys, const char* key, bool otherwise) {
    const std::string value = lower_case(keys.get(key));
    return value.empty() ? otherwise : value[0] == 't' || value[0] == '1';
}

long long integer(const Keys& keys, const char* key, long long otherwise, const std::string& name) {
    long long value = otherwise;
    if (!keys.get(key).empty() && !parse_integer(keys.get(key), value))
        refuse("%s: '%s' as its %s is not a number", name.c_str(), printable(keys.get(key)).c_str(), key);
    return value;
}

void take_size(MetaImageHeader& header, const Keys& keys, const std::string& name) {
    const long long dimensions = integer(keys, "NDims", 0, name);
    const std::vector<long long> sizes = integers_of(keys.get("DimSize"), name, "DimSize");
    if (dimensions < 2 || dimensions > 4 || dimensions != static_cast<long long>(sizes.size()))
        refuse("%s: states %lld dimensions and %zu sizes; two or three can be read", name.c_str(), dimensions,
               sizes.size());
    header.image.size = sizes_of(sizes, name);
    const long long channels = integer(keys, "ElementNumberOfChannels", 1, name);
    if (channels != 1 && channels != 3)
        refuse("%s: has %lld channels; only 1, or 3 for red, green, blue can be read", name.c_str(),
               channels);
    header.image.channels = static_cast<int>(channels);
}

/// The first of some fields, of which a file states one: as many numbers as belong there, or none.
std::vector<double> one_of(const Keys& keys, std::initializer_list<const char*> fields, std::size_t count,
                           const std::string& name) {
    for (const char* field : fields) {
        if (keys.values.count(field) == 0) continue;
        std::vector<double> numbers = numbers_of(keys.get(field), name, field);
        if (numbers.size() != count)
            refuse("%s: its field %s does not hold %zu numbers", name.c_str(), field, count);
        return numbers;
    }
    return {};
}

/// Axis by axis in the file; of two dimensions the third is left without length.
void place(MetaImageHeader& header, const Keys& keys, const std::string& name,
           std::vector<std::string>& warnings) {
    const auto n = static_cast<std::size_t>(integer(keys, "NDims", 0, name));
    std::vector<double> spacing = one_of(keys, {"ElementSpacing", "ElementSize"}, n, name);
    if (spacing.empty()) {
        spacing.assign(n, 1);
        warnings.push_back(name + ": states no spacing; samples are taken as 1 mm apart");
    }
    const std::vector<double> offset = one_of(keys, {"Offset", "Position", "Origin"}, n, name);
    const std::vector<double> matrix =
        one_of(keys, {"TransformMatrix", "Rotation", "Orientation"}, n * n, name);
    for (std::size_t axis = 0; axis < 3 && axis < n; ++axis) {
        if (!(spacing[axis] > 0))
            refuse("%s: a spacing of %g mm along axis %zu", name.c_str(), spacing[axis], axis + 1);
        Vec3 along{};
        for (std::size_t i = 0; i < 3 && i < n; ++i)
            along[i] = matrix.empty() ? (i == axis) : matrix[axis * n + i];
        // Rounded decimals make its directions only nearly of length 1; the spacing stays as stated.
        if (!(std::abs(length(along) - 1) < 1e-2))
            refuse("%s: its TransformMatrix holds a direction of length %g", name.c_str(), length(along));
        header.axes[axis] = scaled(along, spacing[axis] / length(along));
        if (!offset.empty()) header.origin[axis] = offset[axis];
    }
    for (const double of : one_of(keys, {"CenterOfRotation"}, n, name)) {
        if (of != 0) warnings.push_back(name + ": its CenterOfRotation is left out");
    }
}

void take_rescale(MetaImageHeader& header, const Keys& keys, const std::string& name) {
    const auto take = [&](const char* key, double& value) {
        if (keys.values.count(key) != 0 && !parse_number(keys.get(key), value))
            refuse("%s: '%s' as its %s is not a number", name.c_str(), printable(keys.get(key)).c_str(), key);
    };
    take("ElementToIntensityFunctionSlope", header.rescale.slope);
    take("ElementToIntensityFunctionOffset", header.rescale.intercept);
    if (header.rescale.slope == 0) refuse("%s: states a rescale slope of 0", name.c_str());
}

void take_source(MetaImageHeader& header, const Keys& keys, const fs::path& file) {
    const std::string name = file.string(), stated = keys.get("ElementDataFile");
    header.source.compressed = truth(keys, "CompressedData", false);
    header.source.bigEndian =
        truth(keys, "BinaryDataByteOrderMSB", truth(keys, "ElementByteOrderMSB", false));
    const bool local = lower_case(stated) == "local";
    const long long skip = integer(keys, "HeaderSize", 0, name);
    if (skip < -1 || (skip != 0 && (local || header.source.compressed)))
        refuse("%s: a HeaderSize of %lld is not supported here", name.c_str(), skip);
    if (stated.empty() || lower_case(stated).rfind("list", 0) == 0 || stated.find('%') != std::string::npos)
        refuse("%s: its samples lie in several files or in none, which is not supported", name.c_str());
    header.source.range.file = local ? file : file.parent_path() / stated;
    if (!local) require_data_file(file, header.source.range.file);
    header.source.range.offset = local ? keys.end : static_cast<std::uint64_t>(std::max(skip, 0LL));
    const std::uint64_t size = readable_size(header.source.range.file);
    // -1: the samples are the last bytes of the file.
    if (skip == -1) header.source.range.offset = size - std::min(size, header.image.bytes());

    if (!header.source.compressed) return;
    // ITK unpacks as many bytes as are stated, none if nothing is, and only the first of several streams.
    header.source.range.members = false;
    const long long packed = integer(keys, "CompressedDataSize", 0, name);
    const std::uint64_t held = size - std::min(size, header.source.range.offset);
    if (packed < 1)
        refuse("%s: its compressed samples cannot be read without their length (CompressedDataSize)",
               name.c_str());
    header.source.range.length = static_cast<std::uint64_t>(packed);
    if (header.source.range.length > held)
        refuse("%s is cut short: its header promises %lld bytes of compressed samples and it holds %llu",
               header.source.range.file.c_str(), packed, static_cast<unsigned long long>(held));
}

}  // namespace

MetaImageHeader read_metaimage_header(const fs::path& file, std::vector<std::string>& warnings) {
    readable_size(file);
    const std::string name = file.string();
    const Keys keys = split(file);
    const std::string kind = keys.get("ObjectType");
    if (!kind.empty() && kind != "Image")
        refuse("%s holds a MetaIO object of type '%s', not an image", name.c_str(), printable(kind).c_str());
    MetaImageHeader header;
    take_size(header, keys, name);
    const std::optional<SampleType> type = type_named(keys.get("ElementType"));
    if (!type)
        refuse("%s: samples of type '%s' are not supported", name.c_str(),
               printable(keys.get("ElementType")).c_str());
    header.image.type = *type;
    if (!truth(keys, "BinaryData", true))
        refuse("%s: samples written as text are not supported", name.c_str());
    take_rescale(header, keys, name);
    place(header, keys, name, warnings);
    take_source(header, keys, file);
    require_samples(header.source, header.image);
    return header;
}

}  // namespace rzobl
