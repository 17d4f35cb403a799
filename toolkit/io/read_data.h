#pragma once

#include <filesystem>

#include "toolkit/io/read_samples.h"

namespace rzobl {

/// Where the samples of an image lie.
struct SampleSource {
    std::filesystem::path file;
    std::uint64_t offset = 0;
    /// Whether a gzip or zlib stream begins at the offset, and how many bytes of it come before the samples.
    bool compressed = false;
    std::uint64_t skip = 0;
    bool bigEndian = false;
};

/// Throws Error unless the data file that a header names is there.
void require_data_file(const std::filesystem::path& header, const std::filesystem::path& data);

/// Throws Error, with both numbers, unless the source holds what the layout promises. Takes no memory: a
/// compressed source is unpacked to nowhere.
void require_samples(const SampleSource& source, const ImageLayout& layout);

/// Reads samples that have been required. Throws Error.
StoredSamples load_samples(const SampleSource& source, const ImageLayout& layout);

}  // namespace rzobl
