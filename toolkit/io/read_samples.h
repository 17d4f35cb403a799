#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "toolkit/core/volume.h"
#include "toolkit/io/read_volume.h"

namespace rzobl {

/// Sample types that files hold.
enum class SampleType { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

std::size_t bytes_of(SampleType type);
/// "16-bit unsigned".
const char* name_of(SampleType type);

/// What a header promises.
struct ImageLayout {
    std::array<std::size_t, 3> size{1, 1, 1};
    SampleType type = SampleType::Int16;
    /// 1, or 3 for red, green, blue.
    int channels = 1;

    /// Samples, each of `channels` values, and the bytes of all; sizes lie between 1 and 32767.
    std::size_t count() const { return size[0] * size[1] * size[2]; }
    std::uint64_t bytes() const { return count() * bytes_of(type) * static_cast<std::size_t>(channels); }
};

/// Samples as a file holds them, in this machine's byte order, and how they read.
struct StoredSamples {
    SampleType type = SampleType::Int16;
    /// 1, or 3 for red, green, blue.
    int channels = 1;
    /// Samples, each of `channels` values.
    std::size_t count = 0;
    std::shared_ptr<std::byte> bytes;
    Rescale rescale;
    /// Significant bits where the file says so, else 0.
    int bits = 0;
    /// Stored value that stands for "nothing was measured here".
    std::optional<int> padding;
};

/// Zeroed memory with readable zeroes on both sides, since kernels read beyond a raster. Throws Error if it
/// cannot be had.
std::shared_ptr<std::byte> allocate_samples(std::size_t bytes);

/// The same samples in a layout that a Volume holds: 16-bit, 8-bit unsigned, or 32-bit pixels of three
/// channels.
struct VolumeSamples {
    SampleKind kind = SampleKind::Int16;
    std::shared_ptr<std::byte> bytes;
    Rescale rescale;
    bool isSigned = true;
    int bits = 16;
    std::optional<int> padding;
};

/// Converts, in place where the width allows it. Throws Error (naming `name`) for values that do not fit and
/// for floats without a stated range; adds a sentence to warnings wherever stored values change.
VolumeSamples to_volume_samples(StoredSamples&& stored, const ReadOptions& options, const std::string& name,
                                std::vector<std::string>& warnings);

}  // namespace rzobl
