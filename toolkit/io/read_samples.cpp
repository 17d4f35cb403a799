#include "toolkit/io/read_samples.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "toolkit/core/memory.h"
#include "toolkit/core/text.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

constexpr int kOffset = 32768;

/// How the values lie that a narrowing must hold.
template <class T>
struct Range {
    T least = std::numeric_limits<T>::max();
    T greatest = std::numeric_limits<T>::lowest();
};

template <class T>
const T* values(const StoredSamples& stored) {
    return reinterpret_cast<const T*>(stored.bytes.get());
}

/// NaNs are left out; least > greatest if there is nothing else.
template <class T>
Range<T> range_of(const StoredSamples& stored) {
    Range<T> range;
    const T* const value = values<T>(stored);
    for (std::size_t i = 0; i < stored.count; ++i) {
        if (value[i] < range.least) range.least = value[i];
        if (value[i] > range.greatest) range.greatest = value[i];
    }
    return range;
}

/// 16-bit samples out of wider or narrower integers, less an offset; the values must fit.
template <class T>
std::shared_ptr<std::byte> narrow(const StoredSamples& stored, int offset) {
    auto bytes = allocate_samples(stored.count * 2);
    auto* const out = reinterpret_cast<std::int16_t*>(bytes.get());
    const T* const in = values<T>(stored);
    for (std::size_t i = 0; i < stored.count; ++i)
        out[i] = static_cast<std::int16_t>(static_cast<std::int64_t>(in[i]) - offset);
    return bytes;
}

void shift_padding(VolumeSamples& samples, int offset) {
    samples.rescale.intercept += offset * samples.rescale.slope;
    if (samples.padding) *samples.padding -= offset;
}

/// The kernels read 16-bit samples as signed.
void warn_of_offset(const VolumeSamples& samples, long long greatest, const std::string& name,
                    std::vector<std::string>& warnings) {
    warnings.push_back(
        sentence("%s: unsigned samples reach %lld; %d is taken off every sample and kept in the rescale "
                 "intercept, now %s",
                 name.c_str(), greatest, kOffset, text(samples.rescale.intercept).c_str()));
}

void take_unsigned16(VolumeSamples& samples, const StoredSamples& stored, const std::string& name,
                     std::vector<std::string>& warnings) {
    const std::uint16_t greatest = range_of<std::uint16_t>(stored).greatest;
    samples.bytes = stored.bytes;
    samples.isSigned = false;
    if (greatest <= INT16_MAX && (!samples.padding || *samples.padding <= INT16_MAX)) return;
    auto* const value = reinterpret_cast<std::uint16_t*>(samples.bytes.get());
    for (std::size_t i = 0; i < stored.count; ++i) value[i] = static_cast<std::uint16_t>(value[i] - kOffset);
    samples.isSigned = true;
    samples.bits = 16;
    shift_padding(samples, kOffset);
    warn_of_offset(samples, greatest, name, warnings);
}

template <class T>
void take_wide_integers(VolumeSamples& samples, const StoredSamples& stored, const std::string& name,
                        std::vector<std::string>& warnings) {
    const Range<T> found = range_of<T>(stored);
    const auto least = static_cast<long long>(found.least);
    const auto greatest = static_cast<long long>(found.greatest);
    samples.bits = 16;
    if (least >= INT16_MIN && greatest <= INT16_MAX) {
        samples.bytes = narrow<T>(stored, 0);
    } else if (least >= 0 && greatest <= UINT16_MAX) {
        samples.bytes = narrow<T>(stored, kOffset);
        shift_padding(samples, kOffset);
        warn_of_offset(samples, greatest, name, warnings);
    } else {
        refuse("%s: its %s samples run from %lld to %lld, which 16 bits cannot hold", name.c_str(),
               name_of(stored.type), least, greatest);
    }
}

template <class T>
void take_floats(VolumeSamples& samples, const StoredSamples& stored, const ReadOptions& options,
                 const std::string& name, std::vector<std::string>& warnings) {
    const Rescale in = stored.rescale;
    if (!options.floatRange) {
        const Range<T> found = range_of<T>(stored);
        if (found.least > found.greatest) refuse("%s: its float samples hold no number", name.c_str());
        double least = static_cast<double>(found.least) * in.slope + in.intercept;
        double greatest = static_cast<double>(found.greatest) * in.slope + in.intercept;
        if (least > greatest) std::swap(least, greatest);
        refuse(
            "%s: holds %s samples from %s to %s; state the range that is mapped to 16 bits (--float-range)",
            name.c_str(), name_of(stored.type), text(least).c_str(), text(greatest).c_str());
    }
    const auto [low, high] = *options.floatRange;
    if (!(low < high && std::isfinite(high - low)))
        refuse("the float range %g to %g must be two rising numbers", low, high);

    samples.bytes = allocate_samples(stored.count * 2);
    samples.bits = 16;
    samples.rescale.slope = (high - low) / 65535;
    samples.rescale.intercept = low + kOffset * samples.rescale.slope;
    samples.padding.reset();
    auto* const out = reinterpret_cast<std::int16_t*>(samples.bytes.get());
    const T* const value = values<T>(stored);
    std::size_t outside = 0;
    for (std::size_t i = 0; i < stored.count; ++i) {
        const double v = static_cast<double>(value[i]) * in.slope + in.intercept;
        outside += !(v >= low && v <= high);
        const double level = v >= low ? std::min(std::round((v - low) / samples.rescale.slope), 65535.0) : 0;
        out[i] = static_cast<std::int16_t>(static_cast<int>(level) - kOffset);
    }
    if (outside > 0)
        warnings.push_back(sentence(
            "%s: %s outside %s to %s took the nearer end (what is not a number, the lower)", name.c_str(),
            counted(outside, "sample").c_str(), text(low).c_str(), text(high).c_str()));
}

void take_colours(VolumeSamples& samples, const StoredSamples& stored, const std::string& name) {
    if (stored.type != SampleType::UInt8)
        refuse("%s: colours of %s channels are not supported, only of 8 bits", name.c_str(),
               name_of(stored.type));
    samples.kind = SampleKind::Rgb;
    samples.bits = 8;
    samples.isSigned = false;
    samples.rescale = {};
    samples.padding.reset();
    samples.bytes = allocate_samples(stored.count * 4);
    auto* const out = reinterpret_cast<std::uint32_t*>(samples.bytes.get());
    const auto* const in = values<std::uint8_t>(stored);
    for (std::size_t i = 0; i < stored.count; ++i) {
        const std::uint8_t* const channel = in + 3 * i;
        out[i] = static_cast<std::uint32_t>(channel[0] | channel[1] << 8 | channel[2] << 16);
    }
}

}  // namespace

std::size_t bytes_of(SampleType type) {
    switch (type) {
        case SampleType::Int8:
        case SampleType::UInt8:
            return 1;
        case SampleType::Int16:
        case SampleType::UInt16:
            return 2;
        case SampleType::Int32:
        case SampleType::UInt32:
        case SampleType::Float32:
            return 4;
        case SampleType::Float64:
            return 8;
    }
    return 0;
}

const char* name_of(SampleType type) {
    switch (type) {
        case SampleType::Int8:
            return "8-bit signed";
        case SampleType::UInt8:
            return "8-bit unsigned";
        case SampleType::Int16:
            return "16-bit signed";
        case SampleType::UInt16:
            return "16-bit unsigned";
        case SampleType::Int32:
            return "32-bit signed";
        case SampleType::UInt32:
            return "32-bit unsigned";
        case SampleType::Float32:
            return "32-bit float";
        case SampleType::Float64:
            return "64-bit float";
    }
    return "unknown";
}

std::shared_ptr<std::byte> allocate_samples(std::size_t bytes) {
    const auto block = std::make_shared<Block>(bytes, "the volume");
    return {block, block->data()};
}

VolumeSamples to_volume_samples(StoredSamples&& stored, const ReadOptions& options, const std::string& name,
                                std::vector<std::string>& warnings) {
    VolumeSamples samples;
    samples.rescale = stored.rescale;
    samples.padding = stored.padding;
    samples.bits = stored.bits > 0 ? stored.bits : static_cast<int>(bytes_of(stored.type)) * 8;
    if (stored.channels == 3) {
        take_colours(samples, stored, name);
        return samples;
    }
    switch (stored.type) {
        case SampleType::UInt8:
            samples.kind = SampleKind::UInt8;
            samples.isSigned = false;
            samples.bytes = stored.bytes;
            break;
        case SampleType::Int8:
            samples.bytes = narrow<std::int8_t>(stored, 0);
            break;
        case SampleType::Int16:
            samples.bytes = stored.bytes;
            break;
        case SampleType::UInt16:
            take_unsigned16(samples, stored, name, warnings);
            break;
        case SampleType::Int32:
            take_wide_integers<std::int32_t>(samples, stored, name, warnings);
            break;
        case SampleType::UInt32:
            take_wide_integers<std::uint32_t>(samples, stored, name, warnings);
            break;
        case SampleType::Float32:
            take_floats<float>(samples, stored, options, name, warnings);
            break;
        case SampleType::Float64:
            take_floats<double>(samples, stored, options, name, warnings);
            break;
    }
    return samples;
}

}  // namespace rzobl
