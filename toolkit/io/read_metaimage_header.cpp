#include "toolkit/io/read_metaimage_header.h"

#include <algorithm>
#include <map>
#include <optional>

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
    // As many numbers as the dimensions need, where the fields are there.
    const auto count = static_cast<std::size_t>(dimensions);
    for (const char* field : {"ElementSpacing", "ElementSize", "Offset", "Position", "Origin"}) {
        if (keys.values.count(field) != 0 && numbers_of(keys.get(field), name, field).size() != count)
            refuse("%s: its field %s does not hold %zu numbers", name.c_str(), field, count);
    }
    for (const char* field : {"TransformMatrix", "Rotation", "Orientation"}) {
        if (keys.values.count(field) != 0 && numbers_of(keys.get(field), name, field).size() != count * count)
            refuse("%s: its field %s does not hold %zu numbers", name.c_str(), field, count * count);
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

void check_data(const MetaImageHeader& header, const Keys& keys, const fs::path& file) {
    const std::string name = file.string(), stated = keys.get("ElementDataFile");
    const ExpectedImage& image = header.image;
    const std::uint64_t needed = std::uint64_t{image.size[0]} * image.size[1] * image.size[2] *
                                 bytes_of(image.type) * static_cast<std::uint64_t>(image.channels);
    const bool local = lower_case(stated) == "local";
    const long long skip = integer(keys, "HeaderSize", 0, name);
    if (skip < -1 || (skip != 0 && (local || header.compressed)))
        refuse("%s: a HeaderSize of %lld is not supported here", name.c_str(), skip);
    if (stated.empty() || lower_case(stated).rfind("list", 0) == 0 || stated.find('%') != std::string::npos)
        refuse("%s: its samples lie in several files or in none, which is not supported", name.c_str());
    const fs::path data = local ? file : file.parent_path() / stated;
    const std::uint64_t offset = local ? keys.end : static_cast<std::uint64_t>(std::max(skip, 0LL));
    require_bytes(data, offset, needed, header.compressed);
    if (!header.compressed) return;
    const long long size = integer(keys, "CompressedDataSize", 0, name);
    if (size < 0 || static_cast<std::uint64_t>(size) > readable_size(data) - offset)
        refuse("%s: states %lld bytes of compressed data and has %llu", name.c_str(), size,
               static_cast<unsigned long long>(readable_size(data) - offset));
}

}  // namespace

MetaImageHeader read_metaimage_header(const fs::path& file) {
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
    header.compressed = truth(keys, "CompressedData", false);
    take_rescale(header, keys, name);
    check_data(header, keys, file);
    return header;
}

}  // namespace rzobl
