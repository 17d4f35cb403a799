#include "toolkit/io/read_header_text.h"

#include <algorithm>
#include <sstream>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kHeaderLimit = 64 * 1024;
constexpr std::size_t kLineLimit = 480;

template <class Number, class Parse>
std::vector<Number> parsed(const std::string& value, const std::string& name, const std::string& field,
                           Parse parse) {
    std::vector<Number> numbers;
    std::istringstream words(value);
    for (std::string word; words >> word;) {
        Number number{};
        if (!parse(word, number))
            refuse("%s: '%s' in its field %s is not a number", name.c_str(), printable(word).c_str(),
                   field.c_str());
        numbers.push_back(number);
    }
    return numbers;
}

}  // namespace

HeaderText read_header_text(const fs::path& file, bool (*last)(const std::string& line), bool whole) {
    const std::vector<std::uint8_t> bytes = first_bytes(file, kHeaderLimit);
    HeaderText header;
    std::size_t begin = 0;
    while (begin < bytes.size()) {
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(begin);
        const auto newline = std::find(from, bytes.end(), '\n');
        std::string line(from, newline);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.size() > kLineLimit) refuse("%s: a line of its header is too long", file.c_str());
        if (line.find('\0') != std::string::npos) refuse("%s: its header is not text", file.c_str());
        begin = static_cast<std::size_t>(newline - bytes.begin()) + (newline != bytes.end() ? 1 : 0);
        header.lines.push_back({line, begin});
        if (last(line)) return header;
    }
    if (!whole || bytes.size() == kHeaderLimit) refuse("%s: its header has no end", file.c_str());
    return header;
}

std::vector<long long> integers_of(const std::string& value, const std::string& name,
                                   const std::string& field) {
    return parsed<long long>(value, name, field, parse_integer);
}

std::vector<double> numbers_of(const std::string& value, const std::string& name, const std::string& field) {
    return parsed<double>(value, name, field, parse_number);
}

std::array<std::size_t, 3> sizes_of(const std::vector<long long>& sizes, const std::string& name) {
    std::array<std::size_t, 3> result{1, 1, 1};
    if (sizes.empty()) refuse("%s: states no size", name.c_str());
    for (std::size_t axis = 0; axis < sizes.size(); ++axis) {
        if (axis > 2 && sizes[axis] != 1)
            refuse("%s: has %zu dimensions; only three can be read", name.c_str(), sizes.size());
        if (sizes[axis] < 1 || sizes[axis] > 32767)
            refuse("%s: a size of %lld along axis %zu; sizes must lie between 1 and 32767", name.c_str(),
                   sizes[axis], axis + 1);
        if (axis < 3) result[axis] = static_cast<std::size_t>(sizes[axis]);
    }
    return result;
}

}  // namespace rzobl
