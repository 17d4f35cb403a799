#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

namespace rzobl {

/// Bytes of a regular file; throws Error if it is none or cannot be opened for reading.
std::uint64_t readable_size(const std::filesystem::path& file);

/// At most `count` first bytes of a file.
std::vector<std::uint8_t> first_bytes(const std::filesystem::path& file, std::size_t count);

/// What a gzip or zlib stream unpacks to.
struct Unpacked {
    /// At most `keep` first bytes.
    std::vector<std::uint8_t> first;
    /// All bytes, counted up to the limit.
    std::uint64_t length = 0;
    /// Whether the stream came to its end, checksum included, or to the limit.
    bool whole = false;
};

/// Unpacks a stream (several gzip members in a row count as one) that starts at `offset`, keeping only its
/// head.
Unpacked unpack(const std::filesystem::path& file, std::uint64_t offset, std::size_t keep,
                std::uint64_t limit);

}  // namespace rzobl
