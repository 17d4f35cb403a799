#include <gtest/gtest.h>
#include <stdio.h>

#include <fstream>
#include <set>
#include <string>

// The written list of exported symbols against what the two shared libraries really export, demangled. A line
// of the list that begins with '#' is a remark, one in brackets names the library of the lines that follow.

namespace {

std::set<std::string> listed(const std::string& library) {
    std::ifstream list(RZ_SYMBOL_LIST);
    std::set<std::string> symbols;
    std::string current;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#') continue;
        if (line[0] == '[') {
            current = line.substr(1, line.size() - 2);
        } else if (current == library) {
            symbols.insert(line);
        }
    }
    return symbols;
}

/// Constructors and destructors have several symbols of one name: a set.
std::set<std::string> exported(const std::string& file) {
    FILE* const nm = popen(("nm -D --defined-only -C '" + file + "'").c_str(), "r");
    if (nm == nullptr) return {"nm cannot be run"};
    std::string text;
    char block[4096];
    while (const std::size_t bytes = fread(block, 1, sizeof block, nm)) text.append(block, bytes);
    if (pclose(nm) != 0) return {"nm failed on the library"};

    std::set<std::string> symbols;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = text.find('\n', begin);
        const std::string line = text.substr(begin, end - begin);
        begin = end == std::string::npos ? text.size() : end + 1;
        constexpr std::size_t kNameColumn = 19;  // 16 digits of address, a letter, two blanks
        if (line.size() <= kNameColumn) continue;
        const std::string name = line.substr(kNameColumn);
        if (name.compare(0, 2, "__") != 0) symbols.insert(name);  // the sanitizers' own
    }
    return symbols;
}

std::string lines_only_in(const std::set<std::string>& these, const std::set<std::string>& those) {
    std::string lines;
    for (const std::string& symbol : these)
        if (those.count(symbol) == 0) lines += symbol + '\n';
    return lines;
}

void expect_equal(const std::set<std::string>& want, const std::set<std::string>& got) {
    ASSERT_FALSE(want.empty());
    EXPECT_EQ(lines_only_in(want, got), "") << "listed, but not exported";
    EXPECT_EQ(lines_only_in(got, want), "") << "exported, but not listed";
}

TEST(exports, rz_obl_exports_its_list) {
    expect_equal(listed("RZ_Obl"), exported(RZ_LIBRARY_FILE));
}

TEST(exports, lower_exports_its_list) {
    expect_equal(listed("lower"), exported(RZ_LOWER_FILE));
}

}  // namespace
