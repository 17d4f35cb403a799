#include "tests/slabs/subtraction_case.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/reference/slabs/subtraction.h"

namespace rz_test {
namespace {

constexpr std::size_t kFence = 64;

float make_shift(Random& random, int rows) {
    const auto whole = static_cast<float>(random.between(-3, 3));
    switch (random.between(0, 15)) {
        case 0:
        case 1:
            return whole;
        case 2:
            return whole + random.pick({0.0005F, 0.000999F, 0.00101F, 0.002F});
        case 3:
            return 0.001F;  // the last that is not blended
        case 4:
            return std::nextafter(0.001F, 1.0F);
        case 5:
            return random.pick({-1e-9F, 0.99999994F, -0.0005F});
        case 6:
            return random.pick({0.5F, -0.5F, 0.25F, -0.25F, 0.75F});
        case 7:
            return static_cast<float>(random.between(-2 * rows, 2 * rows)) + random.pick({0.0F, 0.3F});
        case 8:
            return static_cast<float>(random.pick({-rows - 1, -rows, -rows + 1, rows - 1, rows, rows + 1}));
        case 9:
            return random.pick({std::numeric_limits<float>::quiet_NaN(),
                                std::numeric_limits<float>::infinity(),
                                -std::numeric_limits<float>::infinity()});
        case 10:
            return random.pick(
                {3e9F, -3e9F, 2147483520.0F, -2147483520.0F, -2147483648.0F, 2147483648.0F, 1e30F, 70000.5F});
        default:
            return whole + random.real(0.0F, 1.0F);
    }
}

}  // namespace

template <class Sample>
SubtractionCase<Sample>::SubtractionCase(Seed caseSeed, int depth, const SubtractionOptions& options)
    : seed(caseSeed), bitDepth(depth) {
    Random random(seed);
    rows = random.between(1, random.once_in(3) ? options.mostRows : std::min(6, options.mostRows));
    columns = random.between(1, random.once_in(2) ? 70 : 20);
    if (random.once_in(6)) columns = random.between(60, 300);
    isSigned = random.once_in(2);

    const int count = random.between(1, options.mostSlices);
    const auto slice = [&random, count] { return static_cast<unsigned short>(random.between(0, count - 1)); };
    RZ_SubOpParams& p = parameters;
    p.minuend_first = slice();
    p.minuend_last = slice();
    p.subtrahend_first = slice();
    p.subtrahend_last = slice();
    if (!random.once_in(12) && p.minuend_first > p.minuend_last) std::swap(p.minuend_first, p.minuend_last);
    if (!random.once_in(12) && p.subtrahend_first > p.subtrahend_last)
        std::swap(p.subtrahend_first, p.subtrahend_last);
    // Short ranges: the weights of one, two and three slices are the odd ones.
    if (random.once_in(3))
        p.minuend_last =
            static_cast<unsigned short>(std::min(p.minuend_first + random.between(0, 2), count - 1));
    if (random.once_in(3))
        p.subtrahend_last =
            static_cast<unsigned short>(std::min(p.subtrahend_first + random.between(0, 2), count - 1));
    p.pixel_shift[0] = make_shift(random, columns);
    p.pixel_shift[1] = make_shift(random, rows);
    if (random.once_in(4)) p.pixel_shift[1] = random.real(-2.0F, 2.0F);
    p.offset = static_cast<short>(
        random.pick({0, 1, 100, 255, 256, 1000, 32767, -1, -32768, random.between(-32768, 32767)}));

    // Many slices that agree: sums of bytes saturate.
    const bool agree = count > 100 && !random.once_in(4);
    const Seed shared = random.bits();
    const int content = sizeof(Sample) == 1 ? 8 : random.pick({std::clamp(bitDepth, 9, 16), 12, 16});
    for (int k = 0; k < count; ++k) {
        rasters.push_back(std::make_unique<SourceRaster<Sample>>(samples() + readSlack()));
        Random own(agree ? shared : random.bits());
        fill_nasty(own, rasters.back()->data(), rasters.back()->size(), isSigned, content);
        const bool inReach = (k >= p.minuend_first && k <= p.minuend_last) ||
                             (k >= p.subtrahend_first && k <= p.subtrahend_last);
        // A depth that nobody computes looks at no slice.
        const bool mayMiss = k != 0 && (!inReach || bitDepth < 8 || bitDepth > 16);
        const bool misses = random.once_in(2) || (k == p.minuend_first && random.once_in(4));
        if (mayMiss && misses) rasters.back().reset();
        slices.push_back(rasters.back() ? rasters.back()->data() : nullptr);
    }
    // Here and there the first slice of a range is missing, which refuses the call.
    if (random.once_in(40) && p.minuend_first != 0) slices[p.minuend_first] = nullptr;
    if (random.once_in(40) && p.subtrahend_first != 0) slices[p.subtrahend_first] = nullptr;

    output.resize(kFence + samples() + kWriteSlack + kFence);
    for (Sample& sample : output) sample = static_cast<Sample>(random.bits());
}

template <class Sample>
std::size_t SubtractionCase<Sample>::readSlack() const {
    const bool single = parameters.minuend_first == parameters.minuend_last ||
                        parameters.subtrahend_first == parameters.subtrahend_last;
    const int block = sizeof(Sample) == 1 ? 8 : 4;
    if (!single || columns <= block) return 0;
    const int last = (columns - block - 1) / block * block;
    return static_cast<std::size_t>(std::max(0, last + 2 * block - columns));
}

template <class Sample>
int SubtractionCase<Sample>::run() {
    RZ_SubOpParams unread;
    unread.minuend_first = 999;
    unread.pixel_shift[1] = 0.5F;
    unread.offset = 77;
    return RZ_GetMultiSliceSubtractionPlane(slices, rows, columns, bitDepth, isSigned, output.data() + kFence,
                                            parameters, reinterpret_cast<void*>(std::uintptr_t{8}), unread);
}

template <class Sample>
int SubtractionCase<Sample>::run_reference(Branches& branches) {
    return rz_reference::get_multi_slice_subtraction_plane(slices, rows, columns, bitDepth, isSigned,
                                                           output.data() + kFence, parameters, branches);
}

template <class Sample>
std::string SubtractionCase<Sample>::first_difference(const SubtractionCase& want,
                                                      const SubtractionCase& got) {
    const auto words = [&want](const std::string& what) {
        const RZ_SubOpParams& p = want.parameters;
        return what + " (" + std::to_string(want.rows) + " x " + std::to_string(want.columns) + ", " +
               std::to_string(want.bitDepth) + " bits, " + (want.isSigned ? "signed" : "unsigned") +
               ", shift " + std::to_string(p.pixel_shift[0]) + " " + std::to_string(p.pixel_shift[1]) +
               ", minuend " + std::to_string(p.minuend_last - p.minuend_first + 1) + ", subtrahend " +
               std::to_string(p.subtrahend_last - p.subtrahend_first + 1) + "), " + replay(want.seed);
    };
    const std::size_t end = kFence + want.samples();
    for (std::size_t i = 0; i < want.output.size(); ++i) {
        if (want.output[i] == got.output[i]) continue;
        if (i < kFence) return words("the fence before the output");
        if (i >= end + kWriteSlack) return words("the fence behind the slack");
        if (i >= end) continue;
        const int place = static_cast<int>(i - kFence);
        return words("row " + std::to_string(place / want.columns) + " column " +
                     std::to_string(place % want.columns) + ": want " + std::to_string(want.output[i]) +
                     ", got " + std::to_string(got.output[i]));
    }
    for (std::size_t k = 0; k < want.rasters.size(); ++k) {
        if (!want.rasters[k]) continue;
        const Sample* a = want.rasters[k]->data();
        if (!std::equal(a, a + want.rasters[k]->size(), got.rasters[k]->data()))
            return words("slice " + std::to_string(k));
    }
    return "";
}

namespace {

template <class Sample>
std::string compare(Seed seed, int depth, const SubtractionOptions& options, Branches& branches) {
    SubtractionCase<Sample> want(seed, depth, options);
    SubtractionCase<Sample> got(seed, depth, options);
    const std::vector<Sample> before = got.output;
    const int result = want.run_reference(branches);
    if (result != 1) branches.met("refused");
    if (got.run() != result) return "another result than " + std::to_string(result) + ", " + replay(seed);
    if (result != 1 && got.output != before) return "a refused call wrote, " + replay(seed);
    return SubtractionCase<Sample>::first_difference(want, got);
}

}  // namespace

std::string compare_subtraction(Seed seed, const SubtractionOptions& options, Branches& branches) {
    Random random(seed ^ 0x5ab5U);
    const int depth = random.between(options.leastBitDepth, options.greatestBitDepth);
    if (depth <= 8) return compare<std::uint8_t>(seed, depth, options, branches);
    return compare<std::uint16_t>(seed, depth, options, branches);
}

template struct SubtractionCase<std::uint8_t>;
template struct SubtractionCase<std::uint16_t>;

}  // namespace rz_test
