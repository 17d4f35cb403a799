#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

// The public headers as a set. That each compiles alone is shown by the lone_headers target, which this test
// links.

namespace {

std::set<std::string> public_headers() {
    std::set<std::string> headers;
    std::istringstream list(RZ_PUBLIC_HEADERS);
    for (std::string header; std::getline(list, header, ':');) headers.insert(header);
    return headers;
}

/// What a header includes in quotes.
std::vector<std::string> included_by(const std::string& header) {
    std::ifstream file(std::string(RZ_INCLUDE_ROOT) + '/' + header);
    EXPECT_TRUE(file.good()) << header << " cannot be read";
    std::vector<std::string> included;
    const std::string directive = "#include \"";
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, directive.size(), directive) != 0) continue;
        included.push_back(line.substr(directive.size(), line.rfind('"') - directive.size()));
    }
    return included;
}

void collect(const std::string& header, std::set<std::string>& reached) {
    if (!reached.insert(header).second) return;
    for (const std::string& next : included_by(header)) collect(next, reached);
}

TEST(headers, a_public_header_includes_public_headers_only) {
    const std::set<std::string> headers = public_headers();
    for (const std::string& header : headers)
        for (const std::string& included : included_by(header))
            EXPECT_EQ(headers.count(included), 1U) << header << " includes " << included;
}

TEST(headers, the_two_umbrellas_reach_every_public_header) {
    std::set<std::string> reached;
    collect("rz_obl/rz_obl.h", reached);
    collect("lower/lower.h", reached);
    EXPECT_EQ(reached, public_headers());
}

}  // namespace
