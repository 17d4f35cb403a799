#include "tests/services/resample_case.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "rz_obl/volume_services/volume_services.h"
#include "tests/lower/geometry_cases.h"
#include "tests/reference/services/resample.h"

namespace rz_test {
namespace {

constexpr std::size_t kFence = 32;

bool same_bits(const std::vector<float>& a, const std::vector<float>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

std::uint32_t bits_of(float x) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}

}  // namespace

FloatVolume::FloatVolume(const RZ_Box& box, Seed seed)
    : volume(box, &record_),
      samples_(static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim)) {
    Random random(seed);
    for (int z = 0; z < box.zDim; ++z) {
        std::vector<float> block(samples_ + 2 * kFence);
        for (float& sample : block) sample = random.real(-1e6F, 1e6F);
        blocks_.push_back(block);
    }
    before_ = blocks_;
    for (auto& block : blocks_) rasters_.push_back(block.data() + kFence);
    record_.rasters = rasters_.data();
}

float FloatVolume::at(int x, int y, int z) const {
    return rasters_[static_cast<std::size_t>(z)][y * volume.xDim + x];
}

bool FloatVolume::untouched() const {
    for (std::size_t z = 0; z < blocks_.size(); ++z) {
        if (!same_bits(blocks_[z], before_[z])) return false;
    }
    return true;
}

bool FloatVolume::fences_intact() const {
    for (std::size_t z = 0; z < blocks_.size(); ++z) {
        for (std::size_t i = 0; i < kFence; ++i) {
            const std::size_t end = kFence + samples_ + i;
            if (bits_of(blocks_[z][i]) != bits_of(before_[z][i])) return false;
            if (bits_of(blocks_[z][end]) != bits_of(before_[z][end])) return false;
        }
    }
    return true;
}

std::string FloatVolume::first_difference(const FloatVolume& want, const FloatVolume& got) {
    for (int z = 0; z < want.volume.zDim; ++z) {
        for (int y = 0; y < want.volume.yDim; ++y) {
            for (int x = 0; x < want.volume.xDim; ++x) {
                const float a = want.at(x, y, z);
                const float b = got.at(x, y, z);
                if (bits_of(a) == bits_of(b)) continue;
                return "voxel " + std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(z) +
                       ": want " + std::to_string(a) + ", got " + std::to_string(b);
            }
        }
    }
    return got.fences_intact() ? "" : "a fence";
}

template <class T>
SourceVolume<T>::SourceVolume(const RZ_Box& box) : volume(box, &record_) {
    const std::size_t samples = static_cast<std::size_t>(box.xDim) * static_cast<std::size_t>(box.yDim);
    // The indices of a clamped sample in a single column or row are -1.
    const Readable about{(box.xDim < 2 ? 1U : 0U) + (box.yDim < 2 ? static_cast<std::size_t>(box.xDim) : 0U),
                         0};
    for (int z = 0; z < box.zDim; ++z) {
        blocks_.push_back(std::make_unique<SourceRaster<T>>(samples, about, static_cast<Seed>(z + 1)));
        rasters_.push_back(blocks_.back()->data());
    }
    record_.rasters = rasters_.data();
}

template <class T>
void SourceVolume<T>::fill(Random& random, bool infinite) {
    for (auto& block : blocks_) {
        if constexpr (std::is_same_v<T, short>) {
            fill_nasty(random, block->data(), block->size(), true, random.between(7, 16));
        } else {
            for (std::size_t i = 0; i < block->size(); ++i) {
                const float magnitude = random.pick({1.0F, 1e-3F, 1e-40F, 1e6F, 1e38F});
                block->data()[i] = random.real(-3.0F, 3.0F) * magnitude;
                if (random.once_in(9)) block->data()[i] = random.pick({0.0F, -0.0F});
                if (infinite && random.once_in(5)) block->data()[i] = std::numeric_limits<float>::infinity();
            }
        }
    }
}

ResampleBoxes::ResampleBoxes(Random& random) {
    BoxCase from = random_box(random, random.pick({0.0, 5.0, 300.0}), 9);
    for (std::size_t k = 0; k < 3; ++k) {
        if (k < 2 && !random.once_in(8) && from.dims[k] < 2) from.dims[k] = 2;
    }
    if (random.once_in(5)) from.dims[2] = 1;
    const bool longRows = random.once_in(4);  // several blocks of voxels inside the source
    if (longRows) {
        from.dims[0] = random.between(9, 40);
        from.dims[1] = random.between(9, 20);
    }
    if (random.once_in(4)) {
        // On a grid of half samples: coordinates come out exact.
        from.axes = {Vec3{1, 0, 0}, Vec3{0, 1, 0}, Vec3{0, 0, 1}};
        for (std::size_t k = 0; k < 3; ++k) {
            from.start[k] = random.between(-4, 4);
            from.spacing[k] = random.pick({0.5, 1.0, 2.0});
        }
        BoxCase to = from;
        for (std::size_t k = 0; k < 3; ++k) {
            to.dims[k] = random.between(0, 9);
            to.spacing[k] = from.spacing[k] * random.pick({1.0, 1.0, 0.5, 0.25, 2.0});
            to.start[k] += from.spacing[k] * 0.5 * random.between(-3, 3);
        }
        source = from.box();
        destination = to.box();
        return;
    }
    BoxCase to = random_box(random, 0.0, 10);
    if (random.once_in(3)) to.axes = from.axes;
    if (longRows) {
        to.dims = {random.between(9, 45), random.between(1, 4), random.between(1, 4)};
        if (random.once_in(2)) to.axes = from.axes;
    }
    // About the middle of the source, so that they meet.
    Vec3 middle = from.physical({from.dims[0] * 0.5, from.dims[1] * 0.5, from.dims[2] * 0.5});
    for (std::size_t k = 0; k < 3; ++k) {
        to.spacing[k] = from.spacing[k] * static_cast<double>(random.real(0.3F, 1.6F));
        middle = along(middle, -0.5 * to.spacing[k] * to.dims[k], to.axes[k]);
    }
    to.start = middle;
    source = from.box();
    destination = to.box();
    const Vec3 start = to.start;
    if (random.once_in(6)) {  // sheared
        const Vec3 side = along(to.side(0), 0.4, to.side(1));
        destination.params =
            RZ_BoxParams(start.data(), side.data(), to.side(1).data(), along(to.side(2), 0.3, side).data());
    }
    if (random.once_in(40)) {
        const Vec3 nowhere = {std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0};
        destination.params =
            RZ_BoxParams(nowhere.data(), to.side(0).data(), to.side(1).data(), to.side(2).data());
    }
}

template <class T>
std::string compare_resample(Seed seed, Branches& branches) {
    Random random(seed);
    const ResampleBoxes boxes(random);
    SourceVolume<T> source(boxes.source);
    source.fill(random, random.once_in(10));
    const float outside = random.pick({0.0F, -1024.0F, 1e9F, -0.0F, std::numeric_limits<float>::infinity()});
    FloatVolume want(boxes.destination, seed);
    FloatVolume got(boxes.destination, seed);
    rz_reference::resample<T>(source.volume, want.volume, outside, branches);
    const int unread = random.between(-5, 5);
    if (RZ_OBLUtils::Resample(source.volume, got.volume, outside, unread) != 1)
        return "another result than 1, " + replay(seed);
    const std::string difference = FloatVolume::first_difference(want, got);
    return difference.empty() ? "" : difference + ", " + replay(seed);
}

template class SourceVolume<short>;
template class SourceVolume<float>;
template std::string compare_resample<short>(Seed seed, Branches& branches);
template std::string compare_resample<float>(Seed seed, Branches& branches);

}  // namespace rz_test
