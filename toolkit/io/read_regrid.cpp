#include "toolkit/io/read_regrid.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

/// Along one axis, the same for every sample of a line: sample i of the grid lies at i + first + fraction of
/// the slice.
struct Offset {
    int first = 0;
    double fraction = 0;

    explicit Offset(double samples)
        : first(static_cast<int>(std::floor(samples))), fraction(samples - first) {
        // Rounded positions must not pull a second sample in.
        if (fraction < 1e-4 || fraction > 1 - 1e-4) {
            first += fraction > 0.5;
            fraction = 0;
        }
    }
};

/// Two neighbouring samples of a line of `size` samples and the weight of the second; measured up to half a
/// sample beyond the outermost centres.
struct Pair {
    bool inside = false;
    int a = 0, b = 0;
    double weight = 0;

    Pair(int i, const Offset& offset, int size) : weight(offset.fraction) {
        const int cell = i + offset.first;
        const double place = cell + offset.fraction;
        inside = place >= -0.5 && place <= size - 0.5;
        a = std::clamp(cell, 0, size - 1);
        b = std::clamp(cell + 1, 0, size - 1);
    }
};

/// A slice as one plane of the grid sees it.
struct Layer {
    const std::byte* raster = nullptr;
    double weight = 0;
    Offset column, row;
};

struct Short {
    static constexpr int kChannels = 1;
    using Stored = std::int16_t;
    static double channel(Stored sample, int) { return sample; }
    static Stored pack(const double* value) { return static_cast<Stored>(std::lround(value[0])); }
};

struct Byte {
    static constexpr int kChannels = 1;
    using Stored = std::uint8_t;
    static double channel(Stored sample, int) { return sample; }
    static Stored pack(const double* value) { return static_cast<Stored>(std::lround(value[0])); }
};

struct Colour {
    static constexpr int kChannels = 3;
    using Stored = std::uint32_t;
    static double channel(Stored sample, int c) { return static_cast<double>(sample >> (8 * c) & 0xff); }
    static Stored pack(const double* value) {
        return static_cast<Stored>(std::lround(value[0]) | std::lround(value[1]) << 8 |
                                   std::lround(value[2]) << 16);
    }
};

template <class Kind>
void fill_row(const std::vector<Layer>& layers, const Stack& stack, int j, int width,
              typename Kind::Stored background, typename Kind::Stored* out) {
    using Stored = typename Kind::Stored;
    const bool measured = std::all_of(layers.begin(), layers.end(), [&](const Layer& layer) {
        return Pair(j, layer.row, stack.rows).inside;
    });
    for (int i = 0; i < width; ++i) {
        double sum[3] = {0, 0, 0};
        bool inside = measured;
        for (const Layer& layer : layers) {
            const Pair x(i, layer.column, stack.columns), y(j, layer.row, stack.rows);
            inside = inside && x.inside;
            if (!inside) break;
            const auto* const upper = reinterpret_cast<const Stored*>(layer.raster) +
                                      static_cast<std::ptrdiff_t>(y.a) * stack.columns;
            const auto* const lower = reinterpret_cast<const Stored*>(layer.raster) +
                                      static_cast<std::ptrdiff_t>(y.b) * stack.columns;
            for (int c = 0; c < Kind::kChannels; ++c) {
                const double above =
                    Kind::channel(upper[x.a], c) * (1 - x.weight) + Kind::channel(upper[x.b], c) * x.weight;
                const double below =
                    Kind::channel(lower[x.a], c) * (1 - x.weight) + Kind::channel(lower[x.b], c) * x.weight;
                sum[c] += layer.weight * (above * (1 - y.weight) + below * y.weight);
            }
        }
        out[i] = inside ? Kind::pack(sum) : background;
    }
}

/// The one or two slices that plane k of the grid lies on or between.
std::vector<Layer> layers_of(int k, const Stack& stack, const StackShape& shape, const VolumeSamples& samples,
                             const Grid& grid, const std::array<double, 2>& start) {
    const double depth = k * grid.spacing[2];
    const auto layer = [&](std::size_t slice, double weight) {
        const std::size_t bytes = static_cast<std::size_t>(stack.columns) *
                                  static_cast<std::size_t>(stack.rows) * bytesPerSample(samples.kind);
        return Layer{samples.bytes.get() + slice * bytes, weight,
                     Offset((start[0] - shape.shift[slice][0]) / grid.spacing[0]),
                     Offset((start[1] - shape.shift[slice][1]) / grid.spacing[1])};
    };
    const auto above = std::upper_bound(shape.depth.begin(), shape.depth.end(), depth);
    const auto next = static_cast<std::size_t>(above - shape.depth.begin());
    if (next == 0) return {layer(0, 1)};
    if (next == shape.depth.size()) return {layer(next - 1, 1)};
    const double weight = (depth - shape.depth[next - 1]) / (shape.depth[next] - shape.depth[next - 1]);
    // Positions are rounded decimals: a plane that lies on a slice must not be mixed with its neighbour.
    if (weight < 1e-4) return {layer(next - 1, 1)};
    if (weight > 1 - 1e-4) return {layer(next, 1)};
    return {layer(next - 1, 1 - weight), layer(next, weight)};
}

template <class Kind>
void fill(Volume& volume, const Stack& stack, const StackShape& shape, const VolumeSamples& samples,
          std::uint32_t background) {
    const Grid& grid = volume.grid();
    const Vec3& first = stack.positions.front();
    const Vec3 offset{grid.origin[0] - first[0], grid.origin[1] - first[1], grid.origin[2] - first[2]};
    std::array<double, 2> start{};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        const Vec3& along = grid.direction[axis];
        start[axis] = offset[0] * along[0] + offset[1] * along[1] + offset[2] * along[2];
    }
    for (int k = 0; k < grid.size[2]; ++k) {
        const std::vector<Layer> layers = layers_of(k, stack, shape, samples, grid, start);
        auto* out = static_cast<typename Kind::Stored*>(volume.raster(k));
        for (int j = 0; j < grid.size[1]; ++j, out += grid.size[0])
            fill_row<Kind>(layers, stack, j, grid.size[0], static_cast<typename Kind::Stored>(background),
                           out);
    }
}

/// What stands for "nothing was measured": the padding value, or the least sample.
int background_of(const VolumeSamples& samples, std::size_t count) {
    if (samples.padding) return *samples.padding;
    if (samples.kind == SampleKind::Rgb) return 0;
    const auto least = [count](auto* value) -> int { return *std::min_element(value, value + count); };
    if (samples.kind == SampleKind::UInt8)
        return least(reinterpret_cast<const std::uint8_t*>(samples.bytes.get()));
    return least(reinterpret_cast<const std::int16_t*>(samples.bytes.get()));
}

}  // namespace

Volume regrid(const Stack& stack, const StackShape& shape, const VolumeSamples& samples, const Grid& grid,
              std::uint32_t background) {
    Volume volume = Volume::allocate(grid, samples.kind);
    switch (samples.kind) {
        case SampleKind::Int16:
            fill<Short>(volume, stack, shape, samples, background);
            break;
        case SampleKind::UInt8:
            fill<Byte>(volume, stack, shape, samples, background);
            break;
        case SampleKind::Rgb:
            fill<Colour>(volume, stack, shape, samples, background);
            break;
    }
    return volume;
}

void require_even(const StackShape& shape, const ReadOptions& options, const std::string& name) {
    if (!shape.fault.empty() && !options.regrid)
        refuse("%s: %s; --regrid resamples the slices onto an even grid", name.c_str(), shape.fault.c_str());
}

Volume make_volume(const Stack& stack, StoredSamples&& stored, const ReadOptions& options,
                   const std::string& name, std::vector<std::string>& warnings) {
    const StackShape shape = measure(stack, name);
    require_even(shape, options, name);
    if (!shape.remark.empty()) warnings.push_back(name + ": " + shape.remark);
    const std::size_t count = stored.count;
    VolumeSamples samples = to_volume_samples(std::move(stored), options, name, warnings);
    Volume volume;
    if (shape.fault.empty()) {
        volume = Volume::borrow(even_grid(stack, shape), samples.kind, samples.bytes.get(), samples.bytes);
    } else {
        const int background = background_of(samples, count);
        const Grid grid = enclosing_grid(stack, shape, name);
        volume = regrid(stack, shape, samples, grid, static_cast<std::uint32_t>(background));
        samples.padding = samples.kind == SampleKind::Rgb ? std::nullopt : std::optional<int>(background);
        warnings.push_back(
            sentence("%s: %s; resampled onto an even grid of %d x %d x %d samples, %.4g x %.4g x %.4g mm",
                     name.c_str(), shape.fault.c_str(), grid.size[0], grid.size[1], grid.size[2],
                     grid.spacing[0], grid.spacing[1], grid.spacing[2]));
    }
    volume.rescale = samples.rescale;
    volume.isSigned = samples.isSigned;
    volume.bitDepth = samples.bits;
    volume.padding = samples.padding;
    return volume;
}

}  // namespace rzobl
