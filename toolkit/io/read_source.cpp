#include "toolkit/io/read_source.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <fstream>

#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

/// Joins pieces of any length to floats and counts those that are no finite number.
template <class Float>
class NotFinite {
  public:
    explicit NotFinite(bool bigEndian) : bigEndian_(bigEndian) {}

    void take(const std::byte* bytes, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            value_[bigEndian_ ? sizeof(Float) - 1 - filled_ : filled_] = bytes[i];
            if (++filled_ < sizeof(Float)) continue;
            filled_ = 0;
            Float number;
            std::memcpy(&number, value_.data(), sizeof number);
            if (!std::isfinite(number)) ++found;
        }
    }

    std::uint64_t found = 0;

  private:
    std::array<std::byte, sizeof(Float)> value_{};
    std::size_t filled_ = 0;
    bool bigEndian_;
};

template <class Float>
std::uint64_t count_in(const SampleSource& source, std::uint64_t bytes) {
    NotFinite<Float> counter(source.bigEndian);
    const auto take = [&](const std::byte* piece, std::size_t count) { counter.take(piece, count); };
    if (source.compressed) {
        unpack(source.range, bytes, take);
        return counter.found;
    }
    std::ifstream stream(source.range.file, std::ios::binary);
    stream.seekg(static_cast<std::streamoff>(source.range.offset));
    std::array<char, 1U << 16> piece{};
    while (bytes > 0 && stream) {
        stream.read(piece.data(), static_cast<std::streamsize>(std::min<std::uint64_t>(bytes, piece.size())));
        const auto count = static_cast<std::size_t>(stream.gcount());
        take(reinterpret_cast<const std::byte*>(piece.data()), count);
        bytes -= count;
    }
    return counter.found;
}

}  // namespace

void require_data_file(const std::filesystem::path& header, const std::filesystem::path& data) {
    if (!std::filesystem::exists(data))
        refuse("%s: its data file %s does not exist", header.c_str(),
               printable(data.filename().string()).c_str());
}

void require_samples(const SampleSource& source, const ImageLayout& layout) {
    const char* const file = source.range.file.c_str();
    const std::uint64_t size = readable_size(source.range.file), needed = layout.bytes();
    std::uint64_t held = size - std::min(size, source.range.offset);
    if (source.compressed) {
        // One byte more, so that the end of the stream and its checksum are met.
        const Unpacked unpacked = unpack(source.range, needed + 1);
        held = unpacked.length;
        if (held == needed && !unpacked.whole) refuse("%s is damaged: its compressed data end early", file);
    }
    // What unpacks streams at one go has room for no more than the samples.
    if (held > needed && source.compressed && !source.range.members)
        refuse(
            "%s is damaged: its compressed data hold more than the %llu bytes of samples that its header "
            "promises",
            file, static_cast<unsigned long long>(needed));
    if (held < needed)
        refuse("%s is cut short: its header promises %llu bytes of samples and it holds %llu", file,
               static_cast<unsigned long long>(needed), static_cast<unsigned long long>(held));
}

std::uint64_t count_not_finite(const SampleSource& source, const ImageLayout& layout) {
    if (layout.type == SampleType::Float32) return count_in<float>(source, layout.bytes());
    if (layout.type == SampleType::Float64) return count_in<double>(source, layout.bytes());
    return 0;
}

}  // namespace rzobl
