#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "tests/toolkit/slabs_fields.h"
#include "toolkit/core/error.h"
#include "toolkit/core/slab.h"
#include "toolkit/core/subtract.h"

// Slabs and subtractions of whole slices against plain sums.

namespace rz_test {

using namespace rzobl;
using testing::HasSubstr;
using Type = RZ_OBL_SlabbingType;

namespace {

struct Kind {
    SampleKind kind;
    bool isSigned;
    int least, greatest;
};

/// What volumes can hold; the toolkit keeps unsigned 16-bit samples below 32768.
Kind random_kind(Random& random) {
    return random.pick<Kind>({{SampleKind::Int16, true, -32768, 32767},
                              {SampleKind::Int16, true, -1024, 3071},
                              {SampleKind::Int16, true, -7, -1},
                              {SampleKind::Int16, false, 0, 32767},
                              {SampleKind::UInt8, false, 0, 255},
                              {SampleKind::UInt8, true, -128, 127}});
}

SliceRange random_range(Random& random, int slices) {
    const int a = random.between(0, slices - 1), b = random.between(0, slices - 1);
    return {std::min(a, b), std::max(a, b)};
}

long long sum_at(const Volume& volume, const SliceRange& range, int column, int row) {
    long long sum = 0;
    for (int k = range.first; k <= range.last; ++k) sum += sample_at(volume, column, row, k);
    return sum;
}

template <class Function>
void for_each_pixel(const Grid& grid, Function function) {
    for (int row = 0; row < grid.size[1]; ++row)
        for (int column = 0; column < grid.size[0]; ++column) {
            function(column, row);
            if (testing::Test::HasFatalFailure()) return;
        }
}

Volume random_volume(Random& random) {
    const Kind kind = random_kind(random);
    Grid grid = random_grid(random, 1, 30);
    // Once more than a band of samples.
    if (random.once_in(8)) grid.size = {131, 97, random.between(1, 9)};
    return noise_volume(random, grid, kind.kind, kind.isSigned, kind.least, kind.greatest);
}

std::string refusal(const Volume& volume, const SubtractRequest& request) {
    try {
        subtract(volume, request);
    } catch (const Error& error) {
        return error.what();
    }
    return "no refusal";
}

}  // namespace

TEST(SlabsMean, IsTheArithmeticMeanWhateverTheSigns) {
    for (const Seed seed : seeds(120)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Volume volume = random_volume(random);
        const SliceRange range = random_range(random, volume.grid().size[2]);
        const Image mean = slab(volume, range, Type::SlabAverage);
        ASSERT_EQ(mean.kind, SampleKind::Int16);
        for_each_pixel(volume.grid(), [&](int column, int row) {
            const long long n = range.count(), sum = sum_at(volume, range, column, row);
            // The nearest whole number: no further than one half.
            ASSERT_LE(2 * std::abs(mean.stored(column, row) * n - sum), n) << column << ' ' << row;
        });
        if (HasFatalFailure()) return;
    }
}

TEST(SlabsMean, OfMixedSignsByHand) {
    Grid grid;
    grid.size = {2, 1, 2};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    static_cast<std::int16_t*>(volume.raster(0))[0] = -1;
    static_cast<std::int16_t*>(volume.raster(1))[0] = 1;
    static_cast<std::int16_t*>(volume.raster(0))[1] = -1000;
    static_cast<std::int16_t*>(volume.raster(1))[1] = 40;
    const Image mean = slab(volume, {0, 1}, Type::SlabAverage);
    EXPECT_EQ(mean.stored(0, 0), 0);
    EXPECT_EQ(mean.stored(1, 0), -480);
}

TEST(SlabsExtreme, IsThePlainMaximumAndMinimum) {
    for (const Seed seed : seeds(120)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Volume volume = random_volume(random);
        const SliceRange range = random_range(random, volume.grid().size[2]);
        const Image greatest = slab(volume, range, Type::SlabMaximum);
        const Image least = slab(volume, range, Type::SlabMinimum);
        for_each_pixel(volume.grid(), [&](int column, int row) {
            int low = INT32_MAX, high = INT32_MIN;
            for (int k = range.first; k <= range.last; ++k) {
                low = std::min(low, sample_at(volume, column, row, k));
                high = std::max(high, sample_at(volume, column, row, k));
            }
            ASSERT_EQ(greatest.stored(column, row), high) << column << ' ' << row;
            ASSERT_EQ(least.stored(column, row), low) << column << ' ' << row;
        });
        if (HasFatalFailure()) return;
    }
}

TEST(SlabsGeometry, ASlabLiesInTheMiddleOfItsRangeAndIsAsThick) {
    Random random(1);
    Grid grid = random_grid(random, 8, 8);
    Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 1000);
    volume.rescale = {2, -50};
    volume.bitDepth = 12;
    const Image image = slab(volume, {2, 5}, Type::SlabMaximum);
    EXPECT_EQ(image.grid.size, (std::array<int, 3>{8, 8, 1}));
    expect_vector(image.grid.origin, grid.toPhysical({0, 0, 3.5}), 1e-12);
    expect_vector(image.grid.spacing, {grid.spacing[0], grid.spacing[1], 4 * grid.spacing[2]}, 1e-12);
    for (std::size_t k = 0; k < 3; ++k) expect_vector(image.grid.direction[k], grid.direction[k], 0);
    EXPECT_EQ(image.rescale.slope, 2);
    EXPECT_EQ(image.rescale.intercept, -50);
    EXPECT_EQ(image.bitDepth, 12);
    EXPECT_TRUE(image.isSigned);
}

TEST(SlabsSlide, EveryPlaceIsTheSlabOfItsSlices) {
    for (const Seed seed : seeds(40)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Volume volume = random_volume(random);
        const SliceRange range = random_range(random, volume.grid().size[2]);
        for (const Type type : {Type::SlabMinimum, Type::SlabAverage, Type::SlabMaximum}) {
            const Volume afresh = sliding_slab(volume, range, type, Slide::Afresh);
            const Volume onward = sliding_slab(volume, range, type, Slide::Incremental);
            ASSERT_EQ(afresh.grid().size[2], volume.grid().size[2] - range.last);
            for (int place = 0; place < afresh.grid().size[2]; ++place) {
                const SliceRange here{range.first + place, range.last + place};
                const Image want = slab(volume, here, type);
                ASSERT_EQ(std::memcmp(afresh.raster(place), want.samples.data(), want.samples.size()), 0);
                expect_vector(afresh.grid().toPhysical(index(0, 0, place)), want.grid.origin, 1e-9);
                // Each step may round by one half more.
                const int slack = type == Type::SlabAverage ? (place + 2) / 2 + 1 : 0;
                for_each_pixel(volume.grid(), [&](int column, int row) {
                    ASSERT_NEAR(sample_at(onward, column, row, place), want.stored(column, row), slack);
                });
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(SlabsSlide, AMeanOfEightSlicesGoesOnFromTheOneBefore) {
    // Slices 0 and 1 alternate: means of 8 are 0.5, stored as 1. Going on from 1: (8 x 1 + 0 - 0) / 8 = 1;
    // from one that sheds a 1 and takes a 0: (8 - 1) / 8 = 0.875, stored as 1, where afresh gives 3 / 8,
    // stored as 0.
    Grid grid;
    grid.size = {5, 1, 9};
    Volume volume = Volume::allocate(grid, SampleKind::Int16);
    for (int k = 0; k < 9; k += 2)
        for (int i = 0; i < 5; ++i) static_cast<std::int16_t*>(volume.raster(k))[i] = k < 8;
    EXPECT_EQ(sample_at(sliding_slab(volume, {0, 7}, Type::SlabAverage, Slide::Afresh), 2, 0, 1), 0);
    EXPECT_EQ(sample_at(sliding_slab(volume, {0, 7}, Type::SlabAverage, Slide::Incremental), 2, 0, 1), 1);
}

TEST(SlabsSubtract, IsTheDifferenceOfMeansWithABilinearShift) {
    for (const Seed seed : seeds(250)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const Kind kind = random.pick<Kind>({{SampleKind::Int16, true, -1024, 3071},
                                             {SampleKind::Int16, true, -30000, 2767},
                                             {SampleKind::Int16, false, 0, 4095},
                                             {SampleKind::Int16, false, 0, 32767},
                                             {SampleKind::UInt8, false, 0, 255},
                                             {SampleKind::UInt8, true, -128, 127}});
        Grid grid = random_grid(random, 1, 24);
        Volume volume = noise_volume(random, grid, kind.kind, kind.isSigned, kind.least, kind.greatest);
        if (kind.kind == SampleKind::Int16 && !kind.isSigned)
            volume.bitDepth = kind.greatest > 4095 ? 15 : 12;
        SubtractRequest request;
        request.minuend = random_range(random, grid.size[2]);
        request.subtrahend = random_range(random, grid.size[2]);
        const int rows = grid.size[1], columns = grid.size[0];
        if (random.once_in(2)) request.shift[0] = static_cast<double>(random.real(0.01F, 0.99F));
        request.shift[1] = random.between(-rows + 1, rows - 1);
        if (random.once_in(2) && request.shift[1] < rows - 1)
            request.shift[1] += static_cast<double>(random.real(0.01F, 0.99F));
        if (!kind.isSigned) request.offset = random.between(0, kind.kind == SampleKind::UInt8 ? 128 : 2048);
        const Image image = subtract(volume, request);

        const auto mean = [&](const SliceRange& range, int column, int row) {
            return std::floor(static_cast<double>(sum_at(volume, range, column, row)) / range.count() + 0.5);
        };
        const int down = static_cast<int>(std::floor(request.shift[1]));
        const double fx = request.shift[0], fy = request.shift[1] - down;
        const double least = kind.isSigned ? (kind.kind == SampleKind::UInt8 ? -128 : -32768) : 0;
        const double most = kind.kind == SampleKind::UInt8 ? (kind.isSigned ? 127 : 255)
                            : kind.isSigned                ? 32767
                                                           : (1 << volume.bitDepth) - 1;
        for_each_pixel(grid, [&](int column, int row) {
            const int s = row + down;
            if (s < 0 || s >= rows) {
                ASSERT_TRUE(row < image.firstRow || row > image.lastRow);
                ASSERT_EQ(image.stored(column, row), mean(request.minuend, column, row));
                return;
            }
            ASSERT_TRUE(row >= image.firstRow && row <= image.lastRow);
            const int next = std::min(s + 1, rows - 1), right = std::min(column + 1, columns - 1);
            const double moved = (1 - fy) * ((1 - fx) * mean(request.subtrahend, column, s) +
                                             fx * mean(request.subtrahend, right, s)) +
                                 fy * ((1 - fx) * mean(request.subtrahend, column, next) +
                                       fx * mean(request.subtrahend, right, next));
            const double want =
                std::clamp(mean(request.minuend, column, row) - moved + request.offset, least, most);
            // Rounded once, in single precision.
            ASSERT_NEAR(image.stored(column, row), want, 0.52) << column << ' ' << row;
        });
        if (HasFatalFailure()) return;
    }
}

TEST(SlabsSubtract, WholeRowsAreTheLibrarysCall) {
    for (const Seed seed : seeds(60)) {
        SCOPED_TRACE(replay(seed));
        Random random(seed);
        const bool bytes = random.once_in(2), isSigned = random.once_in(2);
        const Grid grid = random_grid(random, 1, 40);
        const Volume volume = noise_volume(random, grid, bytes ? SampleKind::UInt8 : SampleKind::Int16,
                                           isSigned, isSigned ? -128 : 0, isSigned ? 127 : 255);
        SubtractRequest request;
        request.minuend = random_range(random, grid.size[2]);
        request.subtrahend = random_range(random, grid.size[2]);
        request.shift = {static_cast<double>(random.real(0, 0.99F)),
                         static_cast<double>(random.real(0, static_cast<float>(grid.size[1]) - 1))};
        request.offset = isSigned ? 0 : 17;
        request.wholeRows = true;
        const Image image = subtract(volume, request);

        // Rasters of the pager have more slack than is wanted.
        std::vector<void*> rasters;
        for (int k = 0; k < grid.size[2]; ++k) rasters.push_back(volume.raster(k));
        std::vector<char> want(image.samples.size() + 16);
        RZ_SubOpParams parameters;
        parameters.minuend_first = static_cast<unsigned short>(request.minuend.first);
        parameters.minuend_last = static_cast<unsigned short>(request.minuend.last);
        parameters.subtrahend_first = static_cast<unsigned short>(request.subtrahend.first);
        parameters.subtrahend_last = static_cast<unsigned short>(request.subtrahend.last);
        for (std::size_t k = 0; k < 2; ++k) parameters.pixel_shift[k] = static_cast<float>(request.shift[k]);
        parameters.offset = static_cast<short>(request.offset);
        // The 16-bit default of a volume means 15 bits where samples are unsigned.
        const int bits = bytes ? 8 : isSigned ? 16 : 15;
        ASSERT_EQ(RZ_GetMultiSliceSubtractionPlane(rasters, grid.size[1], grid.size[0], bits, isSigned,
                                                   want.data(), parameters, nullptr, parameters),
                  1);
        ASSERT_EQ(std::memcmp(image.samples.data(), want.data(), image.samples.size()), 0);
    }
}

TEST(SlabsSubtract, TheRescaleTakesTheOffsetOff) {
    Random random(3);
    Volume volume = noise_volume(random, random_grid(random, 4, 8), SampleKind::Int16, false, 0, 4095);
    volume.rescale = {0.5, -1024};
    SubtractRequest request;
    request.minuend = {1, 1};
    request.offset = 4096;
    volume.bitDepth = 15;
    const Image image = subtract(volume, request);
    for_each_pixel(volume.grid(), [&](int column, int row) {
        ASSERT_EQ(image.value(column, row),
                  0.5 * (sample_at(volume, column, row, 1) - sample_at(volume, column, row, 0)));
    });
    expect_vector(image.grid.origin, volume.grid().toPhysical({0, 0, 1}), 1e-12);
}

TEST(SlabsSubtract, RefusesWhatItCannotDo) {
    Random random(4);
    Grid grid;
    grid.size = {6, 5, 4};
    const Volume volume = noise_volume(random, grid, SampleKind::Int16, true, -1000, 1000);
    const auto with = [](auto change) {
        SubtractRequest request;
        change(request);
        return request;
    };
    const double nan = std::nan("");
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.minuend = {3, 2}; })), HasSubstr("runs backwards"));
    EXPECT_THAT(refusal(volume, with([](auto& r) {
                            r.subtrahend = {0, 4};
                        })),
                HasSubstr("slices are 0 to 3"));
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.minuend = {-1, 2}; })), HasSubstr("leaves the volume"));
    EXPECT_THAT(refusal(volume, with([](auto& r) {
                            r.shift = {1, 0};
                        })),
                HasSubstr("first part of the shift"));
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.shift = {-0.25, 0}; })), HasSubstr("less than 1"));
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.shift = {0, 5}; })), HasSubstr("off the picture"));
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.shift = {0, -5}; })), HasSubstr("off the picture"));
    EXPECT_THAT(refusal(volume, with([&](auto& r) { r.shift = {nan, 0}; })), HasSubstr("finite"));
    EXPECT_THAT(refusal(volume, with([](auto& r) { r.offset = 5; })), HasSubstr("unsigned"));
    const Volume wide = noise_volume(random, grid, SampleKind::Int16, true, -32768, 32767);
    EXPECT_THAT(refusal(wide, {}), HasSubstr("at most 32767"));
    EXPECT_THAT(refusal(Volume::allocate(grid, SampleKind::Rgb), {}), HasSubstr("colours"));
    const Volume bytes = noise_volume(random, grid, SampleKind::UInt8, false, 0, 255);
    EXPECT_THAT(refusal(bytes, with([](auto& r) { r.offset = 256; })), HasSubstr("0 to 255"));
}

}  // namespace rz_test
