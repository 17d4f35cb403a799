#include <algorithm>
#include <cmath>

#include "bench/harness/volume.h"

namespace rz_bench {
namespace {

struct Ellipsoid {
    /// Centre and half axes as fractions of the volume's sides.
    float centre[3];
    float half[3];
    /// What it adds inside.
    float value;
    /// Width of its edge, as a fraction of its half axes squared.
    float edge;
};

// Added up from air at -1000: scalp, skull, brain, ventricles, sinus, three vessels, a dense rod.
constexpr Ellipsoid kHead[] = {
    {{0.50F, 0.50F, 0.50F}, {0.46F, 0.48F, 0.49F}, 1040.0F, 0.020F},
    {{0.50F, 0.50F, 0.50F}, {0.43F, 0.45F, 0.46F}, 900.0F, 0.020F},
    {{0.50F, 0.50F, 0.50F}, {0.40F, 0.42F, 0.43F}, -900.0F, 0.020F},
    {{0.44F, 0.50F, 0.55F}, {0.06F, 0.12F, 0.10F}, -35.0F, 0.10F},
    {{0.56F, 0.50F, 0.55F}, {0.06F, 0.12F, 0.10F}, -35.0F, 0.10F},
    {{0.50F, 0.20F, 0.35F}, {0.10F, 0.06F, 0.08F}, -1000.0F, 0.08F},
    {{0.35F, 0.45F, 0.50F}, {0.015F, 0.20F, 0.015F}, 260.0F, 0.30F},
    {{0.60F, 0.55F, 0.45F}, {0.20F, 0.012F, 0.015F}, 260.0F, 0.30F},
    {{0.55F, 0.62F, 0.50F}, {0.012F, 0.012F, 0.30F}, 260.0F, 0.30F},
    {{0.42F, 0.60F, 0.45F}, {0.03F, 0.03F, 0.20F}, 600.0F, 0.20F},
};

// SplitMix64 ("Fast splittable pseudorandom number generators", OOPSLA 2014) of a sample's number: near
// normal noise with a deviation of about 12.
float noise(std::uint64_t n) {
    std::uint64_t z = n * 0x9e3779b97f4a7c15ULL + 0x51ed270b7a1c5e9dULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    z ^= z >> 31;
    const auto sum =
        static_cast<float>((z & 0xffff) + ((z >> 16) & 0xffff) + ((z >> 32) & 0xffff) + (z >> 48));
    return (sum - 131070.0F) * (12.0F / 37837.0F);
}

}  // namespace

std::unique_ptr<Volume> make_phantom(int nx, int ny, int nz) {
    auto volume = std::make_unique<Volume>("phantom", Kind::kInt16, nx, ny, nz, 1.0, 1.0, 1.0);
    auto* sample = static_cast<short*>(volume->block());
    std::vector<float> row(static_cast<std::size_t>(nx));
    std::uint64_t number = 0;
    for (int z = 0; z < nz; ++z) {
        for (int y = 0; y < ny; ++y) {
            std::fill(row.begin(), row.end(), -1000.0F);
            for (const Ellipsoid& e : kHead) {
                const float dy = (static_cast<float>(y) / static_cast<float>(ny) - e.centre[1]) / e.half[1];
                const float dz = (static_cast<float>(z) / static_cast<float>(nz) - e.centre[2]) / e.half[2];
                const float rest = dy * dy + dz * dz;
                if (rest > 1.0F + e.edge) continue;
                const float scale = 1.0F / (static_cast<float>(nx) * e.half[0]);
                const float shift = e.centre[0] / e.half[0];
                for (int x = 0; x < nx; ++x) {
                    const float dx = static_cast<float>(x) * scale - shift;
                    const float inside = (1.0F + e.edge - dx * dx - rest) * (0.5F / e.edge);
                    row[static_cast<std::size_t>(x)] += e.value * std::min(1.0F, std::max(0.0F, inside));
                }
            }
            for (int x = 0; x < nx; ++x)
                *sample++ =
                    static_cast<short>(std::lround(row[static_cast<std::size_t>(x)] + noise(number++)));
        }
    }
    volume->refreshRasters();
    return volume;
}

std::unique_ptr<Volume> make_phantom_of_kind(const Volume& phantom, Kind kind) {
    auto volume = std::make_unique<Volume>(kind == Kind::kUInt8 ? "phantom, 8 bits" : "phantom, colour", kind,
                                           phantom.size[0], phantom.size[1], phantom.size[2], 1.0, 1.0, 1.0);
    const auto* from = static_cast<const short*>(phantom.block());
    const std::size_t count = phantom.blockBytes() / 2;
    for (std::size_t i = 0; i < count; ++i) {
        const int byte = std::clamp((from[i] + 1100) / 9, 0, 255);
        if (kind == Kind::kUInt8) {
            static_cast<std::uint8_t*>(volume->block())[i] = static_cast<std::uint8_t>(byte);
        } else {
            const auto level = static_cast<std::uint32_t>(byte);
            static_cast<std::uint32_t*>(volume->block())[i] =
                level | (255U - level) << 8 | (level / 2U) << 16;
        }
    }
    volume->refreshRasters();
    return volume;
}

}  // namespace rz_bench
