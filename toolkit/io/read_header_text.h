#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace rzobl {

/// The text header of a NRRD or MetaImage file, line by line, with where it ends.
struct HeaderText {
    struct Line {
        std::string text;
        /// Bytes from the file's start to the byte behind this line.
        std::uint64_t end = 0;
    };
    std::vector<Line> lines;
};

/// Splits the first 64 KiB of a file into lines (without their line ends), each at most 480 characters long;
/// stops behind the first line for which last(line) holds. Throws Error if no line is the last, unless the
/// file itself ends and `whole` allows that, or if a line is too long or not text.
HeaderText read_header_text(const std::filesystem::path& file, bool (*last)(const std::string& line),
                            bool whole);

/// Numbers of a field, separated by blanks. Throws Error (naming `name` and `field`) if one is none.
std::vector<long long> integers_of(const std::string& value, const std::string& name,
                                   const std::string& field);
std::vector<double> numbers_of(const std::string& value, const std::string& name, const std::string& field);

/// Product of sizes that lie between 1 and 32767 each. Throws Error for others.
std::array<std::size_t, 3> sizes_of(const std::vector<long long>& sizes, const std::string& name);

}  // namespace rzobl
