#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// Seeded randomness that gives the same values with every compiler and standard library.

namespace rz_test {

using Seed = std::uint64_t;

/// Seeds 1 to count; only the one in the environment variable RZ_SEED if that is set.
std::vector<Seed> seeds(int count);
/// Whether RZ_SEED asks for one seed: counts over all seeds mean nothing then.
bool is_replay();
/// "replay: RZ_SEED=17", for failure messages.
std::string replay(Seed seed);

/// Bytes that stand for a seed: each generator of that seed draws from them, two bytes a time, and goes on by
/// itself behind the last. So a fuzzer, whose input they are, turns one choice of a case at a time.
struct Tape {
    Seed seed = 0;
    const std::uint8_t* bytes = nullptr;
    std::size_t count = 0;
};
/// The tape of the process, empty unless a fuzzer has put one in.
inline Tape current_tape;

/// SplitMix64 ("Fast splittable pseudorandom number generators", OOPSLA 2014).
class Random {
  public:
    explicit Random(Seed seed) : state_(seed * 0x9e3779b97f4a7c15ULL + 0x632be59bd9b4e019ULL) {
        if (current_tape.count > 1 && seed == current_tape.seed) tape_ = current_tape;
    }

    /// Whether the next draw is a fuzzer's choice.
    bool on_tape() const { return tape_.count > 1; }

    std::uint64_t bits() {
        if (on_tape()) return from_tape();
        std::uint64_t z = (state_ += 0x9e3779b97f4a7c15ULL);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
        return z ^ (z >> 31);
    }
    /// lo to hi, both inclusive.
    int between(int lo, int hi) {
        const auto count = static_cast<std::uint64_t>(static_cast<std::int64_t>(hi) - lo + 1);
        return static_cast<int>(lo + static_cast<std::int64_t>(bits() % count));
    }
    /// True once in n times.
    bool once_in(int n) { return between(1, n) == 1; }
    /// lo to hi, exclusive of hi, at 24 bits.
    float real(float lo, float hi) { return lo + (hi - lo) * (static_cast<float>(bits() >> 40) * 0x1p-24F); }
    template <class T>
    T pick(std::initializer_list<T> values) {
        return values.begin()[bits() % values.size()];
    }

  private:
    /// Sixteen bits four times over: whoever looks at the low bits or at the high ones sees the same choice.
    std::uint64_t from_tape() {
        const auto choice = static_cast<std::uint64_t>(tape_.bytes[0] | tape_.bytes[1] << 8);
        tape_.bytes += 2;
        tape_.count -= 2;
        return choice * 0x0001000100010001ULL;
    }

    std::uint64_t state_;
    Tape tape_;
};

}  // namespace rz_test
