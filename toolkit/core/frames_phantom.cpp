#include "toolkit/core/frames_phantom.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace rzobl {

namespace {

constexpr int kSide = 320;
constexpr int kFrames = 8;
constexpr int kFirstWithContrast = 4;
/// Samples where nothing lies in the beam.
constexpr double kBright = 3600;
constexpr double kNoise = 12;

struct Vessel {
    double fromColumn, fromRow, toColumn, toRow, radius;
};

constexpr Vessel kTree[] = {
    {168, 319, 160, 214, 7},   {160, 214, 118, 158, 5.5}, {160, 214, 204, 166, 5.5}, {118, 158, 96, 92, 4},
    {118, 158, 150, 104, 3.5}, {204, 166, 196, 96, 4},    {204, 166, 246, 128, 3.5}, {96, 92, 64, 48, 2.5},
    {96, 92, 108, 34, 2.5},    {150, 104, 146, 44, 2},    {196, 96, 178, 40, 2.5},   {196, 96, 222, 46, 2.5},
    {246, 128, 268, 70, 2.5},  {246, 128, 284, 122, 2},   {108, 34, 112, 0, 1.5},    {222, 46, 236, 4, 1.5},
};

/// 0 to 1 across an edge of one sample.
double within(double depth) {
    return std::clamp(depth + 0.5, 0.0, 1.0);
}

/// How much the bones and the soft tissue take of the beam, as an exponent.
double tissue(double column, double row) {
    const double across = (column - 160) / 160;
    double sum = 0.35 + 0.1 * across * across;
    // Ribs: bands that fall off to both sides, brighter between their edges.
    const double along = row - 26 * across * across * (1 + 0.3 * across);
    const double rib = std::abs(along - 40 * std::round(along / 40));
    sum += 0.28 * within(9 - rib) + 0.12 * within(rib - 6) * within(9 - rib);
    // Vertebrae.
    const double disc = std::abs(row - 52 * std::round(row / 52));
    sum += 0.4 * within(17 - std::abs(column - 152)) * within(disc - 5);
    return sum;
}

double contrast(double column, double row) {
    double most = 0;
    for (const Vessel& vessel : kTree) {
        const double dc = vessel.toColumn - vessel.fromColumn, dr = vessel.toRow - vessel.fromRow;
        const double t = std::clamp(
            ((column - vessel.fromColumn) * dc + (row - vessel.fromRow) * dr) / (dc * dc + dr * dr), 0.0,
            1.0);
        const double off = std::hypot(column - vessel.fromColumn - t * dc, row - vessel.fromRow - t * dr);
        const double depth = 1 - off * off / (vessel.radius * vessel.radius);
        if (depth > 0) most = std::max(most, 0.05 * vessel.radius * std::sqrt(depth));
    }
    return most;
}

/// The same noise everywhere, about 0: the sum of four even ones.
class Noise {
  public:
    double next() {
        double sum = 0;
        for (int i = 0; i < 4; ++i) {
            state_ = state_ * 6364136223846793005U + 1442695040888963407U;
            sum += static_cast<double>(state_ >> 40) / 16777216.0 - 0.5;
        }
        return sum;
    }

  private:
    std::uint64_t state_ = 1;
};

}  // namespace

Volume make_frames() {
    Grid grid;
    grid.size = {kSide, kSide, kFrames};
    grid.spacing = {0.5, 0.5, 1};
    Volume frames = Volume::allocate(grid, SampleKind::Int16);
    frames.isSigned = false;
    frames.bitDepth = 12;
    Noise noise;
    for (int frame = 0; frame < kFrames; ++frame) {
        const bool filled = frame >= kFirstWithContrast;
        auto* sample = static_cast<std::int16_t*>(frames.raster(frame));
        for (int row = 0; row < kSide; ++row)
            for (int column = 0; column < kSide; ++column) {
                const double sum =
                    filled ? tissue(column + kFramesShift[0], row + kFramesShift[1]) + contrast(column, row)
                           : tissue(column, row);
                const double value = kBright * std::exp(-sum) + kNoise * noise.next();
                *sample++ = static_cast<std::int16_t>(std::lround(std::clamp(value, 0.0, 4095.0)));
            }
    }
    return frames;
}

}  // namespace rzobl
