#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/seeded.h"

namespace rz_test {

/// Counts the branches that the cases of a test have reached, by name. A reference calls met("border sample")
/// where it takes the branch; the test ends in EXPECT_EQ(branches.never_met({...}), "").
class Branches {
  public:
    /// name: a string literal.
    void met(const char* name) {
        for (auto& [known, count] : counts_) {
            if (known == name) {
                ++count;
                return;
            }
        }
        counts_.emplace_back(name, 1);
    }
    long count(const char* name) const {
        long sum = 0;
        for (const auto& [known, times] : counts_) {
            if (std::strcmp(known, name) == 0) sum += times;
        }
        return sum;
    }
    /// The names that were not met, separated by "; ". Empty in a replay of one seed.
    std::string never_met(std::initializer_list<const char*> names) const {
        std::string missing;
        if (is_replay()) return missing;
        for (const char* name : names) {
            if (count(name) == 0) missing += (missing.empty() ? "" : "; ") + std::string(name);
        }
        return missing;
    }

  private:
    std::vector<std::pair<const char*, long>> counts_;
};

}  // namespace rz_test
