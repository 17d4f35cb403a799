#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "tests/faults/sweep.h"

// Every request for memory of every exported function is refused once. Which functions there are says the
// list of exports.

namespace rz_test {

// What gtest writes of a parameter.
static void PrintTo(const ExportedSweep& exported, std::ostream* out) {
    *out << exported.functions.size() << " exported";
}

}  // namespace rz_test

namespace {

using namespace rz_test;

std::vector<ExportedSweep> all_sweeps() {
    std::vector<ExportedSweep> all;
    for (const auto& area : {planar_sweeps(), curved_sweeps(), slab_sweeps(), service_sweeps(),
                             lower_sweeps(), quiet_sweeps(), quiet_lower_sweeps()}) {
        all.insert(all.end(), area.begin(), area.end());
    }
    return all;
}

class Refused : public testing::TestWithParam<ExportedSweep> {};

TEST_P(Refused, one_request_after_the_other) {
    in_own_process(GetParam().run);
}

INSTANTIATE_TEST_SUITE_P(Memory, Refused, testing::ValuesIn(all_sweeps()),
                         [](const auto& parameter) { return parameter.param.name; });

/// Functions of the list: no data, no type information.
std::vector<std::string> exported_functions() {
    std::ifstream list(RZ_EXPORTED_SYMBOLS);
    const std::set<std::string> data = {"JrnGLog", "RZ_BoxParams::c_edges"};
    std::vector<std::string> functions;
    for (std::string line; std::getline(list, line);) {
        if (line.empty() || line[0] == '#' || line[0] == '[') continue;
        if (line.rfind("typeinfo", 0) == 0 || line.rfind("vtable", 0) == 0 || data.count(line) != 0) continue;
        functions.push_back(line);
    }
    return functions;
}

TEST(Exports, every_function_is_swept) {
    const std::vector<std::string> functions = exported_functions();
    ASSERT_GT(functions.size(), 100U);
    std::set<std::string> swept;
    for (const ExportedSweep& exported : all_sweeps()) {
        for (const std::string& name : exported.functions) {
            int lines = 0;
            for (const std::string& line : functions) {
                const bool isOverload = name.find('(') != std::string::npos;
                if (isOverload ? line.rfind(name, 0) != 0 : line != name) continue;
                ++lines;
                swept.insert(line);
            }
            EXPECT_EQ(lines, 1) << name << " does not tell one function";
        }
    }
    for (const std::string& line : functions) EXPECT_EQ(swept.count(line), 1U) << line << " is not swept";
}

}  // namespace
