#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <vector>

namespace rzobl {

/// Bytes of a regular file; throws Error if it is none or cannot be opened for reading.
std::uint64_t readable_size(const std::filesystem::path& file);

/// At most `count` first bytes of a file.
std::vector<std::uint8_t> first_bytes(const std::filesystem::path& file, std::size_t count);

/// A gzip or zlib stream within a file.
struct PackedRange {
    std::filesystem::path file;
    std::uint64_t offset = 0;
    /// Packed bytes that belong to it; what lies behind them is left alone.
    std::uint64_t length = std::numeric_limits<std::uint64_t>::max();
    /// Unpacked bytes that come before those that are asked for.
    std::uint64_t skip = 0;
    /// Whether several gzip members in a row count as one.
    bool members = true;
};

/// How far a stream could be unpacked.
struct Unpacked {
    /// Bytes that came out, up to the limit.
    std::uint64_t length = 0;
    /// Whether the stream came to its end, checksum included, or to the limit.
    bool whole = false;
};

/// Unpacks at most `limit` bytes, handed to `take` (if any) piece by piece.
Unpacked unpack(const PackedRange& range, std::uint64_t limit,
                const std::function<void(const std::byte*, std::size_t)>& take = nullptr);

}  // namespace rzobl
