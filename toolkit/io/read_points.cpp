#include "toolkit/io/read_points.h"

#include <fstream>
#include <iterator>
#include <system_error>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace fs = std::filesystem;

namespace {

/// Far more than a curve can have points for.
constexpr std::uint64_t kMostBytes = 64U << 20;

std::string whole_file(const fs::path& file) {
    const std::uint64_t size = readable_size(file);
    if (size > kMostBytes)
        refuse("%s has %llu bytes, too many for the points of a curve", file.c_str(),
               static_cast<unsigned long long>(size));
    std::ifstream stream(file, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (text.compare(0, 3, "\xef\xbb\xbf") == 0) text.erase(0, 3);  // a mark of UTF-8
    return text;
}

}  // namespace

std::vector<Vec3> points::from_list(const std::string& list) {
    std::vector<Vec3> found;
    std::size_t begin = 0;
    while (begin <= list.size()) {
        const std::size_t end = std::min(list.find(';', begin), list.size());
        const std::string item = list.substr(begin, end - begin);
        begin = end + 1;
        if (trimmed(item).empty() && begin > list.size()) break;  // a last semicolon ends the list
        Vec3 point;
        std::size_t at = 0, count = 0;
        while (at <= item.size()) {
            const std::size_t comma = std::min(item.find(',', at), item.size());
            const std::string number = item.substr(at, comma - at);
            at = comma + 1;
            double value = 0;
            if (!parse_number(number, value))
                refuse("point %zu, \"%s\", is not three finite numbers x,y,z", found.size() + 1,
                       printable(item).c_str());
            if (count < 3) point[count] = value;
            ++count;
        }
        if (count != 3)
            refuse("point %zu, \"%s\", is not three finite numbers x,y,z", found.size() + 1,
                   printable(item).c_str());
        found.push_back(point);
    }
    return found;
}

bool points::is_ras(const std::string& system, const std::string& name) {
    const std::string known = lower_case(trimmed(system));
    if (known == "ras" || known == "0") return true;
    if (known == "lps" || known == "1") return false;
    refuse("%s: the coordinate system \"%s\" is neither LPS nor RAS", name.c_str(),
           printable(system).c_str());
}

void points::ras_to_lps(std::vector<Vec3>& points) {
    for (Vec3& point : points) point = {-point[0], -point[1], point[2]};
}

std::vector<Vec3> read_points(const std::string& fileOrList) {
    std::error_code ignored;
    if (!fs::exists(fileOrList, ignored)) {
        if (fileOrList.find(',') != std::string::npos && fileOrList.find('/') == std::string::npos)
            return points::from_list(fileOrList);
        refuse("\"%s\" is neither a file nor a list of points x,y,z;x,y,z", printable(fileOrList).c_str());
    }
    const std::string text = whole_file(fileOrList);
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) refuse("%s is empty", fileOrList.c_str());
    const bool json = text[first] == '{' || text[first] == '[';
    std::vector<Vec3> found =
        json ? points::from_json(text, fileOrList) : points::from_table(text, fileOrList);
    if (found.empty()) refuse("%s holds no points", fileOrList.c_str());
    return found;
}

}  // namespace rzobl
