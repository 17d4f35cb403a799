#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace rzobl {

/// Bytes of a regular file; throws Error if it is none or cannot be opened for reading.
std::uint64_t readable_size(const std::filesystem::path& file);

/// At most `count` first bytes of a file.
std::vector<std::uint8_t> first_bytes(const std::filesystem::path& file, std::size_t count);

/// How far a gzip or zlib stream could be unpacked.
struct Unpacked {
    /// Bytes that came out, up to the limit.
    std::uint64_t length = 0;
    /// Whether the stream came to its end, checksum included, or to the limit.
    bool whole = false;
};

/// Unpacks a stream (several gzip members in a row count as one) that starts at `offset` of a file. Of what
/// comes out the first `skip` bytes are dropped and at most `limit` more counted, and kept in `out` unless
/// that is null.
Unpacked unpack(const std::filesystem::path& file, std::uint64_t offset, std::uint64_t skip,
                std::uint64_t limit, std::byte* out);

}  // namespace rzobl
