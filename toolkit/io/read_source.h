#pragma once

#include <cstdint>
#include <filesystem>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_samples.h"

namespace rzobl {

/// Where the samples of an image lie, as far as their header tells.
struct SampleSource {
    /// The bytes from there on; unpacked if `compressed`.
    PackedRange range;
    bool compressed = false;
    bool bigEndian = false;
};

/// Throws Error unless the data file that a header names is there.
void require_data_file(const std::filesystem::path& header, const std::filesystem::path& data);

/// Throws Error, with both numbers, unless the source holds what the layout promises. Takes no memory: a
/// compressed source is unpacked to nowhere. ITK reads cut files without a word, so this comes before it.
void require_samples(const SampleSource& source, const ImageLayout& layout);

/// How many float samples of a required source are NaN or infinite; 0 for integers.
std::uint64_t count_not_finite(const SampleSource& source, const ImageLayout& layout);

}  // namespace rzobl
