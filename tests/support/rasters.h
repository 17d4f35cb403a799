#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/seeded.h"
#include "tests/support/source_block.h"

namespace rz_test {

/// An output raster filled with noise, between two fences of noise. Two of the same size and seed are equal,
/// so that the raster that a reference wrote and the one of a kernel compare as wholes.
template <class T>
class Fenced {
  public:
    static constexpr std::size_t kFence = 256;

    Fenced(std::size_t samples, Seed seed) : block_(samples + 2 * kFence) {
        Random random(seed);
        for (T& sample : block_) sample = static_cast<T>(random.bits());
        before_ = block_;
    }

    T* data() { return block_.data() + kFence; }
    const T* data() const { return block_.data() + kFence; }
    std::size_t size() const { return block_.size() - 2 * kFence; }
    /// What sample i held at first.
    T before(std::size_t i) const { return before_[kFence + i]; }
    bool fencesIntact() const {
        return std::equal(block_.begin(), block_.begin() + kFence, before_.begin()) &&
               std::equal(block_.end() - kFence, block_.end(), before_.end() - kFence);
    }
    bool untouched() const { return block_ == before_; }
    friend bool operator==(const Fenced& a, const Fenced& b) { return a.block_ == b.block_; }

  private:
    std::vector<T> block_;
    std::vector<T> before_;
};

/// Samples about a raster that a kernel may read though they are not the raster's.
struct Readable {
    std::size_t before = 0;
    std::size_t behind = 0;
};

/// A source raster filled with noise, in a block of exactly its size and that of what may be read about it:
/// one byte further is a fault (see SourceBlock). On which side it is at once one follows from size and seed.
template <class T>
class SourceRaster {
  public:
    explicit SourceRaster(std::size_t samples, Readable about = {}, Seed seed = 1)
        : block_((about.before + samples + about.behind) * sizeof(T),
                 (samples + seed) % 2 == 0 ? SourceBlock::Fence::kBehind : SourceBlock::Fence::kBefore),
          samples_(samples),
          before_(about.before) {
        Random random(seed);
        T* first = static_cast<T*>(block_.data());
        for (std::size_t i = 0; i < before_ + samples + about.behind; ++i)
            first[i] = static_cast<T>(random.bits());
    }

    T* data() { return static_cast<T*>(block_.data()) + before_; }
    const T* data() const { return static_cast<const T*>(block_.data()) + before_; }
    std::size_t size() const { return samples_; }

  private:
    SourceBlock block_;
    std::size_t samples_;
    std::size_t before_;
};

/// Fills with runs of least, greatest, zero, alternating least and greatest, small, and random samples of
/// this sign and depth. Neighbours differ wherever they are random.
template <class T>
void fill_nasty(Random& random, T* samples, std::size_t count, bool isSigned, int bitDepth) {
    if (random.on_tape()) {  // one choice for the content, not one per sample
        Random content(random.bits());
        return fill_nasty(content, samples, count, isSigned, bitDepth);
    }
    const int least = isSigned ? -(1 << (bitDepth - 1)) : 0;
    const int greatest = isSigned ? (1 << (bitDepth - 1)) - 1 : (1 << bitDepth) - 1;
    std::size_t i = 0;
    while (i < count) {
        const std::size_t end = std::min(count, i + static_cast<std::size_t>(random.between(1, 24)));
        const int kind = random.between(0, 9);
        for (; i < end; ++i) {
            int value = random.between(least, greatest);
            if (kind == 0) value = least;
            if (kind == 1) value = greatest;
            if (kind == 2) value = 0;
            if (kind == 3) value = i % 2 == 0 ? least : greatest;
            if (kind == 4) value = random.between(std::max(least, -4), 4);
            samples[i] = static_cast<T>(value);
        }
    }
}

/// 32-bit pixels: each byte least, greatest or random; the top byte, which nothing may show, is noise.
inline void fill_nasty_pixels(Random& random, std::uint32_t* pixels, std::size_t count) {
    if (random.on_tape()) {
        Random content(random.bits());
        return fill_nasty_pixels(content, pixels, count);
    }
    for (std::size_t i = 0; i < count; ++i) {
        pixels[i] = static_cast<std::uint32_t>(random.bits());
        if (random.once_in(3)) pixels[i] &= static_cast<std::uint32_t>(random.bits() | 0xff00ff00U);
        if (random.once_in(8)) pixels[i] = random.pick({0U, 0xffffffffU, 0xff0000U, 0xff00U, 0xffU});
    }
}

}  // namespace rz_test
