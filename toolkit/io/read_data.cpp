#include "toolkit/io/read_data.h"

#include <algorithm>
#include <fstream>

#include "toolkit/io/read_bytes.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

void swap_bytes(std::byte* values, std::size_t width, std::size_t count) {
    if (width == 1) return;
    for (std::size_t i = 0; i < count; ++i, values += width) std::reverse(values, values + width);
}

}  // namespace

void require_data_file(const std::filesystem::path& header, const std::filesystem::path& data) {
    if (!std::filesystem::exists(data))
        refuse("%s: its data file %s does not exist", header.c_str(),
               printable(data.filename().string()).c_str());
}

void require_samples(const SampleSource& source, const ImageLayout& layout) {
    const char* const file = source.file.c_str();
    const std::uint64_t size = readable_size(source.file), needed = layout.bytes();
    std::uint64_t held = size - std::min(size, source.offset);
    if (source.compressed) {
        // One byte more, so that the end of the stream and its checksum are met.
        const Unpacked unpacked = unpack(source.file, source.offset, source.skip, needed + 1, nullptr);
        held = unpacked.length;
        if (held == needed && !unpacked.whole) refuse("%s is damaged: its compressed data end early", file);
    }
    if (held < needed)
        refuse("%s is cut short: its header promises %llu bytes of samples and it holds %llu", file,
               static_cast<unsigned long long>(needed), static_cast<unsigned long long>(held));
}

StoredSamples load_samples(const SampleSource& source, const ImageLayout& layout) {
    StoredSamples samples;
    samples.type = layout.type;
    samples.channels = layout.channels;
    samples.count = layout.count();
    const std::size_t bytes = layout.bytes();
    samples.bytes = allocate_samples(bytes);
    std::uint64_t held = 0;
    if (source.compressed) {
        held = unpack(source.file, source.offset, source.skip, bytes, samples.bytes.get()).length;
    } else {
        std::ifstream stream(source.file, std::ios::binary);
        stream.seekg(static_cast<std::streamoff>(source.offset));
        stream.read(reinterpret_cast<char*>(samples.bytes.get()), static_cast<std::streamsize>(bytes));
        held = static_cast<std::uint64_t>(std::max<std::streamsize>(stream.gcount(), 0));
    }
    if (held != bytes) refuse("%s cannot be read to its end", source.file.c_str());
    const std::size_t width = bytes_of(layout.type);
    if (source.bigEndian) swap_bytes(samples.bytes.get(), width, bytes / width);
    return samples;
}

}  // namespace rzobl
