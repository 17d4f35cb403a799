#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lower/volume/tvolume.h"
#include "tests/support/branches.h"
#include "tests/support/rasters.h"

namespace rz_test {

/// A destination: rasters of noise between fences of noise, compared bit by bit.
class FloatVolume {
  public:
    FloatVolume(const RZ_Box& box, Seed seed);

    float at(int x, int y, int z) const;
    bool untouched() const;
    bool fences_intact() const;
    /// Where two volumes of a seed first differ, in words; empty if they are equal bit by bit.
    static std::string first_difference(const FloatVolume& want, const FloatVolume& got);

    RZ_TVolume<float> volume;

  private:
    std::size_t samples_;
    std::vector<std::vector<float>> blocks_;
    std::vector<std::vector<float>> before_;
    std::vector<float*> rasters_;
    RZ_TVolumeRecord<float> record_;
};

/// A source of T, `short` or `float`: rasters of exactly their size, but for what a single column or row needs.
template <class T>
class SourceVolume {
  public:
    explicit SourceVolume(const RZ_Box& box);
    /// Fills with noise of its kind; floats take any magnitude, infinities with `infinite`.
    void fill(Random& random, bool infinite);
    T& at(int x, int y, int z) { return rasters_[static_cast<std::size_t>(z)][y * volume.xDim + x]; }

    RZ_TVolume<T> volume;

  private:
    std::vector<std::unique_ptr<SourceRaster<T>>> blocks_;
    std::vector<T*> rasters_;
    RZ_TVolumeRecord<T> record_;
};

/// Two boxes that meet, of any orientation, or on a common grid so that coordinates fall on the bounds.
struct ResampleBoxes {
    explicit ResampleBoxes(Random& random);
    RZ_Box source;
    RZ_Box destination;
};

/// Runs the case of a seed in both forms and says where they differ; empty if nowhere.
template <class T>
std::string compare_resample(Seed seed, Branches& branches);

}  // namespace rz_test
