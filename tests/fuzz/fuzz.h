#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/support/seeded.h"

// What the fuzzers share. Each turns its input into a call: the makers of the tests draw their choices from
// the input's bytes. Two forms run, and the first difference stops the fuzzer.

namespace rz_fuzz {

/// An input, read from the front.
class Input {
  public:
    Input(const std::uint8_t* bytes, std::size_t count) : bytes_(bytes), count_(count) {}

    /// 0 where nothing is left.
    std::uint8_t byte() {
        if (count_ == 0) return 0;
        --count_;
        return *bytes_++;
    }
    /// Puts the rest on the tape of this seed.
    void put_on_tape(rz_test::Seed seed) const { rz_test::current_tape = {seed, bytes_, count_}; }

    const std::uint8_t* data() const { return bytes_; }
    std::size_t size() const { return count_; }

  private:
    const std::uint8_t* bytes_;
    std::size_t count_;
};

/// Stops the fuzzer with these words unless there are none.
void stop_at(const std::string& difference);
void stop_unless(bool holds, const char* what);

}  // namespace rz_fuzz
