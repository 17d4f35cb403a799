#include "toolkit/io/read_nrrd_header.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_header_text.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

struct Fields {
    std::map<std::string, std::string> fields;     // "name: value", names in lower case without blanks
    std::map<std::string, std::string> keyValues;  // "name:=value"
    std::uint64_t end = 0;
    bool attached = false;

    std::string get(const std::string& name) const {
        const auto found = fields.find(name);
        return found == fields.end() ? std::string() : found->second;
    }
};

std::string without_blanks(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c != ' ' && c != '\t') result += c;
    }
    return result;
}

/// A header ends with an empty line, before the samples, or with its file.
Fields split(const fs::path& file) {
    const std::string name = file.string();
    const HeaderText text = read_header_text(
        file, [](const std::string& line) { return line.empty(); }, true);
    if (text.lines.empty() || text.lines[0].text.rfind("NRRD000", 0) != 0 || text.lines[0].text.size() != 8)
        refuse("%s is no NRRD file (its first line is not NRRD000 and a digit)", name.c_str());
    Fields result;
    for (std::size_t i = 1; i < text.lines.size(); ++i) {
        const std::string& line = text.lines[i].text;
        result.end = text.lines[i].end;
        if (line.empty()) {
            result.attached = true;
            break;
        }
        if (line[0] == '#') continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos)
            refuse("%s: '%s' in its header is no field", name.c_str(), printable(line).c_str());
        const std::string field = line.substr(0, colon);
        if (line.compare(colon, 2, ":=") == 0) {
            result.keyValues.emplace(field, line.substr(colon + 2));
            continue;
        }
        const auto [entry, fresh] =
            result.fields.emplace(lower_case(without_blanks(field)), trimmed(line.substr(colon + 1)));
        if (!fresh) refuse("%s: its header states the field %s twice", name.c_str(), entry->first.c_str());
    }
    return result;
}

std::optional<SampleType> type_named(const std::string& name) {
    static const std::map<std::string, SampleType> kTypes{
        {"signed char", SampleType::Int8},
        {"int8", SampleType::Int8},
        {"int8_t", SampleType::Int8},
        {"uchar", SampleType::UInt8},
        {"unsigned char", SampleType::UInt8},
        {"uint8", SampleType::UInt8},
        {"uint8_t", SampleType::UInt8},
        {"short", SampleType::Int16},
        {"short int", SampleType::Int16},
        {"signed short", SampleType::Int16},
        {"signed short int", SampleType::Int16},
        {"int16", SampleType::Int16},
        {"int16_t", SampleType::Int16},
        {"ushort", SampleType::UInt16},
        {"unsigned short", SampleType::UInt16},
        {"unsigned short int", SampleType::UInt16},
        {"uint16", SampleType::UInt16},
        {"uint16_t", SampleType::UInt16},
        {"int", SampleType::Int32},
        {"signed int", SampleType::Int32},
        {"int32", SampleType::Int32},
        {"int32_t", SampleType::Int32},
        {"uint", SampleType::UInt32},
        {"unsigned int", SampleType::UInt32},
        {"uint32", SampleType::UInt32},
        {"uint32_t", SampleType::UInt32},
        {"float", SampleType::Float32},
        {"double", SampleType::Float64},
    };
    const auto found = kTypes.find(lower_case(name));
    return found == kTypes.end() ? std::nullopt : std::optional<SampleType>(found->second);
}

/// Three or four axes: samples, or the channels of colours and then samples.
void take_axes(NrrdHeader& header, const Fields& fields, const std::string& name) {
    std::vector<long long> sizes = integers_of(fields.get("sizes"), name, "sizes");
    long long dimension = 0;
    if (!parse_integer(fields.get("dimension"), dimension) ||
        dimension != static_cast<long long>(sizes.size()))
        refuse("%s: states %s dimensions and %zu sizes", name.c_str(),
               printable(fields.get("dimension")).c_str(), sizes.size());
    const std::string kinds = lower_case(fields.get("kinds"));
    const std::string first = kinds.substr(0, kinds.find(' '));
    const bool colours =
        first == "rgb-color" || first == "3-color" || first == "vector" || first == "3-vector";
    if (dimension == 4 && sizes[0] == 3 && colours) {
        header.image.channels = 3;
        sizes.erase(sizes.begin());
    }
    if (sizes.size() != 3 && sizes.size() != 2)
        refuse("%s: has %lld dimensions%s; only single volumes of scalars or of red, green, blue can be read",
               name.c_str(), dimension,
               kinds.empty() ? "" : sentence(" (%s)", printable(kinds).c_str()).c_str());
    header.image.size = sizes_of(sizes, name);
}

void take_rescale(NrrdHeader& header, const Fields& fields, const std::string& name) {
    const auto take = [&](const char* key, double& value) {
        const auto found = fields.keyValues.find(key);
        if (found != fields.keyValues.end() && !parse_number(found->second, value))
            refuse("%s: '%s' as its %s is not a number", name.c_str(), printable(found->second).c_str(), key);
    };
    take("rescale_slope", header.rescale.slope);
    take("rescale_intercept", header.rescale.intercept);
    if (header.rescale.slope == 0) refuse("%s: states a rescale slope of 0", name.c_str());
}

/// "(1,0,0)" as three numbers; false for "none".
bool vector_of(const std::string& text, Vec3& value, const std::string& name) {
    if (lower_case(text) == "none") return false;
    std::string bare = text;
    for (char& c : bare) {
        if (c == ',') c = ' ';
    }
    const bool framed = bare.size() > 2 && bare.front() == '(' && bare.back() == ')';
    const std::vector<double> numbers =
        framed ? numbers_of(bare.substr(1, bare.size() - 2), name, "space directions")
               : std::vector<double>();
    if (numbers.size() != 3)
        refuse("%s: '%s' in its header is no vector of three numbers", name.c_str(), printable(text).c_str());
    std::copy(numbers.begin(), numbers.end(), value.begin());
    return true;
}

/// "(1, 0,0) none (0,0,1)" split behind its vectors.
std::vector<std::string> vectors_in(const std::string& text) {
    std::vector<std::string> found;
    bool inside = false;
    std::string current;
    for (const char c : text + ' ') {
        inside = c == '(' || (inside && c != ')');
        if (c != ' ' && c != '\t') current += c;
        if (!inside && !current.empty() && (c == ' ' || c == '\t' || c == ')')) {
            found.push_back(current);
            current.clear();
        }
    }
    return found;
}

/// Signs that turn a space to left, posterior, superior.
Vec3 signs_of(const NrrdHeader& header, const std::string& name, std::vector<std::string>& warnings) {
    static const std::map<std::string, Vec3> kSigns{
        {"left-posterior-superior", {1, 1, 1}},   {"lps", {1, 1, 1}},
        {"right-anterior-superior", {-1, -1, 1}}, {"ras", {-1, -1, 1}},
        {"left-anterior-superior", {1, -1, 1}},   {"las", {1, -1, 1}},
    };
    const auto found = kSigns.find(header.space);
    if (found != kSigns.end()) return found->second;
    warnings.push_back(sentence(
        "%s: %s; its axes are taken to run to the left, back and head", name.c_str(),
        header.space.empty()
            ? "states no space"
            : sentence("its space '%s' is not one of the patient", printable(header.space).c_str()).c_str()));
    return {1, 1, 1};
}

void place(NrrdHeader& header, const Fields& fields, const std::string& name,
           std::vector<std::string>& warnings) {
    const Vec3 signs = signs_of(header, name, warnings);
    const std::string directions = fields.get("spacedirections");
    std::size_t axis = 0;
    if (!directions.empty()) {
        for (const std::string& text : vectors_in(directions)) {
            Vec3 value{};
            if (!vector_of(text, value, name)) continue;
            if (axis == 3) refuse("%s: states more than three space directions", name.c_str());
            header.axes[axis++] = value;
        }
    } else {
        // A number for each axis, where the channels of colours have none.
        std::istringstream words(fields.get("spacings"));
        for (std::string word; words >> word;) {
            double spacing = 0;
            if (lower_case(word) == "nan") continue;
            if (axis == 3 || !parse_number(word, spacing))
                refuse("%s: its spacings '%s' are not three numbers", name.c_str(),
                       printable(fields.get("spacings")).c_str());
            header.axes[axis][axis] = spacing;
            ++axis;
        }
        if (axis == 0) {
            header.axes = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
            axis = 3;
            warnings.push_back(name + ": states no spacing; samples are taken as 1 mm apart");
        }
    }
    if (axis < 2 || (axis < 3 && header.image.size[2] > 1))
        refuse("%s: states %zu space directions where three belong", name.c_str(), axis);
    const std::string origin = fields.get("spaceorigin");
    if (!origin.empty()) vector_of(origin, header.origin, name);
    for (std::size_t i = 0; i < 3; ++i) {
        header.origin[i] *= signs[i];
        for (Vec3& step : header.axes) step[i] *= signs[i];
    }
}

bool begins_as_gzip(const PackedRange& range) {
    std::ifstream stream(range.file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(range.offset));
    return stream.get() == 0x1f && stream.get() == 0x8b;
}

void take_source(NrrdHeader& header, const Fields& fields, const fs::path& file) {
    const std::string name = file.string();
    header.source.compressed = header.encoding == "gzip";
    header.source.bigEndian = fields.get("endian") == "big";
    if (bytes_of(header.image.type) > 1 && fields.get("endian") != "little" && fields.get("endian") != "big")
        refuse("%s: does not state the byte order of its samples (endian: little or big)", name.c_str());
    const auto skip = [&](const char* field) {
        long long value = 0;
        const std::string stated = fields.get(field);
        if (!stated.empty() && !parse_integer(stated, value))
            refuse("%s: '%s' as its %s is not a number", name.c_str(), printable(stated).c_str(), field);
        return value;
    };
    const long long bytes = skip("byteskip"), lines = skip("lineskip");
    if (lines != 0) refuse("%s: its samples follow skipped lines, which is not supported", name.c_str());
    if (bytes < -1 || (bytes != 0 && header.source.compressed))
        refuse("%s: a byte skip of %lld before %s samples is not supported", name.c_str(), bytes,
               header.encoding.c_str());

    header.source.range.file = file;
    header.source.range.offset = fields.end;
    const std::string stated = fields.get("datafile");
    if (!stated.empty()) {
        if (lower_case(stated).rfind("list", 0) == 0 || stated.find('%') != std::string::npos)
            refuse("%s: its samples lie in several files, which is not supported", name.c_str());
        header.source.range.file = file.parent_path() / stated;
        header.source.range.offset = 0;
        require_data_file(file, header.source.range.file);
    } else if (!fields.attached) {
        refuse("%s is cut short or damaged: no samples follow its header and it names no data file",
               name.c_str());
    }
    if (bytes > 0) header.source.range.offset += static_cast<std::uint64_t>(bytes);
    // -1: the samples are the last bytes of the file.
    if (bytes == -1) {
        const std::uint64_t size = readable_size(header.source.range.file);
        header.source.range.offset = size - std::min(size, header.image.bytes());
    }
    // ITK takes a stream without gzip's mark for plain samples.
    if (header.source.compressed && !begins_as_gzip(header.source.range))
        refuse("%s is cut short or damaged: its samples do not begin as gzip does",
               header.source.range.file.c_str());
}

}  // namespace

NrrdHeader read_nrrd_header(const fs::path& file, std::vector<std::string>& warnings) {
    readable_size(file);
    const std::string name = file.string();
    const Fields fields = split(file);
    NrrdHeader header;
    take_axes(header, fields, name);
    const std::optional<SampleType> type = type_named(fields.get("type"));
    if (!type)
        refuse("%s: samples of type '%s' are not supported", name.c_str(),
               printable(fields.get("type")).c_str());
    header.image.type = *type;

    header.encoding = lower_case(fields.get("encoding"));
    if (header.encoding == "gz") header.encoding = "gzip";
    if (header.encoding != "raw" && header.encoding != "gzip")
        refuse("%s: its encoding '%s' is not supported, only raw and gzip", name.c_str(),
               printable(header.encoding).c_str());
    header.space = lower_case(fields.get("space"));
    take_rescale(header, fields, name);
    place(header, fields, name, warnings);
    take_source(header, fields, file);
    require_samples(header.source, header.image);
    return header;
}

}  // namespace rzobl
