// The real CT: a plastic head, once straight, once with a tilted gantry.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "readers_support.h"
#include "tests/support/seeded.h"

namespace {

using namespace rz_test;
namespace fs = std::filesystem;
using rzobl::read_volume;
using rzobl::ReadResult;
using rzobl::Vec3;
using rzobl::Volume;

class ReadRealCt : public testing::Test {
  protected:
    void SetUp() override {
        ct = real_ct();
        if (ct.empty())
            GTEST_SKIP() << "the real CT is not here: "
                         << testing::UnitTest::GetInstance()->current_test_info()->name() << " did not run";
    }

    /// Links, in an order of names that says nothing.
    void link_all(const fs::path& from, const fs::path& to, const std::string& prefix) const {
        for (const fs::directory_entry& entry : fs::directory_iterator(from))
            fs::create_hard_link(entry.path(), to / (prefix + entry.path().filename().string()));
    }

    /// A folder on the same disk as the data.
    fs::path scratch(const std::string& name) const {
        const fs::path folder = ct.parent_path() / name;
        fs::remove_all(folder);
        fs::create_directories(folder);
        return folder;
    }

    fs::path ct;
};

/// Linear between the eight samples about an index.
double linear(const Volume& volume, const Vec3& index) {
    double sum = 0;
    int cell[3];
    double part[3];
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double last = volume.grid().size[axis] - 1;
        const double at = std::clamp(index[axis], 0.0, last);
        cell[axis] = static_cast<int>(std::min(std::floor(at), std::max(last - 1, 0.0)));
        part[axis] = at - cell[axis];
    }
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1;
        int at[3];
        for (int axis = 0; axis < 3; ++axis) {
            const int up = corner >> axis & 1;
            weight *= up != 0 ? part[axis] : 1 - part[axis];
            at[axis] = cell[axis] + up;
        }
        if (weight > 0) sum += weight * stored(volume, at[0], at[1], at[2]);
    }
    return sum;
}

TEST_F(ReadRealCt, PhantomIsInOrder) {
    const ReadResult result = read_volume(ct / "phantom");
    EXPECT_TRUE(result.warnings.empty());
    const Volume& volume = result.volume;
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{512, 512, 140}));
    EXPECT_NEAR(volume.grid().spacing[0], 0.4512, 5e-5);
    EXPECT_NEAR(volume.grid().spacing[1], 0.4512, 5e-5);
    EXPECT_NEAR(volume.grid().spacing[2], 1.0, 1e-6);
    EXPECT_EQ(volume.grid().direction, (std::array<Vec3, 3>{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}));
    EXPECT_EQ(volume.rescale.slope, 1);
    EXPECT_EQ(volume.rescale.intercept, -1024);
    EXPECT_FALSE(volume.isSigned);
    EXPECT_EQ(volume.bitDepth, 12);
    // I700.dcm says z = 763.21 and is uncompressed: its samples are the file's last bytes.
    const int k = static_cast<int>(std::lround(volume.grid().toIndex({0, 0, 763.21})[2]));
    const Bytes file = read_bytes(ct / "phantom/I700.dcm");
    const std::uint8_t* const pixels = file.data() + file.size() - 512 * 512 * 2;
    for (int i = 0; i < 512 * 512; ++i)
        ASSERT_EQ(stored(volume, i % 512, i / 512, k), pixels[2 * i] | pixels[2 * i + 1] << 8) << i;
}

TEST_F(ReadRealCt, OneFileOfThePhantomIsThePhantom) {
    EXPECT_EQ(read_volume(ct / "phantom/I700.dcm").volume.grid().size, (std::array<int, 3>{512, 512, 140}));
}

TEST_F(ReadRealCt, TiltIsRefusedWithItsNumbers) {
    expect_refused(ct / "phantom-tilted", {},
                   {"phantom-tilted", "16.5 degrees", "2.397 mm", "40.5 mm", "58 slices"});
}

TEST_F(ReadRealCt, TiltIsRegridded) {
    const ReadResult result = read_volume(ct / "phantom-tilted", {true, {}, {}});
    EXPECT_TRUE(warned(result, "16.5 degrees"));
    const Volume& volume = result.volume;
    // 40.5 mm of drift are a hundred rows of 0.406 mm.
    EXPECT_EQ(volume.grid().size, (std::array<int, 3>{512, 612, 58}));
    EXPECT_NEAR(volume.grid().spacing[2], 2.397, 5e-4);
    EXPECT_EQ(volume.padding, 0);

    // I10.dcm lies at (-104, 6.62545582653073, 657.989685881986) and is uncompressed. Its planes stay planes
    // of the grid, shifted by a part of a row, so that linear samples along a column tell what was measured.
    const Bytes file = read_bytes(ct / "phantom-tilted/I10.dcm");
    const std::uint8_t* const pixels = file.data() + file.size() - 512 * 512 * 2;
    const Vec3 corner{-104, 6.62545582653073, 657.989685881986}, column{0, 0.9588197, 0.2840153};
    double worst = 0;
    Random random(1);
    for (int n = 0; n < 20000; ++n) {
        const int i = random.between(0, 511), j = random.between(1, 510);
        const auto pixel = [&](int row) {
            return pixels[2 * (row * 512 + i)] | pixels[2 * (row * 512 + i) + 1] << 8;
        };
        const Vec3 index =
            volume.grid().toIndex({corner[0] + i * 0.40625, corner[1] + j * 0.40625 * column[1],
                                   corner[2] + j * 0.40625 * column[2]});
        ASSERT_NEAR(index[0], i, 1e-3);
        ASSERT_NEAR(index[2], std::round(index[2]), 1e-3);
        // A linear sample of linear samples lies between the three rows about it.
        const double found = linear(volume, index);
        const auto [least, greatest] = std::minmax({pixel(j - 1), pixel(j), pixel(j + 1)});
        worst = std::max({worst, least - found, found - greatest});
    }
    EXPECT_LE(worst, 1.5);
}

TEST_F(ReadRealCt, OneMissingSliceIsFoundAndFilled) {
    const fs::path folder = scratch("one-missing");
    link_all(ct / "phantom", folder, "");
    fs::remove(folder / "I700.dcm");
    expect_refused(folder, {}, {"a slice is missing", "69 and 70 of 139", "2 mm", "1 mm"});
    const Volume filled = read_volume(folder, {true, {}, {}}).volume,
                 whole = read_volume(ct / "phantom").volume;
    ASSERT_EQ(filled.grid().size, whole.grid().size);
    Random random(2);
    for (int n = 0; n < 20000; ++n) {
        const int i = random.between(0, 511), j = random.between(0, 511), k = random.between(0, 139);
        const double expected =
            k == 69 ? 0.5 * (stored(whole, i, j, 68) + stored(whole, i, j, 70)) : stored(whole, i, j, k);
        ASSERT_NEAR(stored(filled, i, j, k), expected, 0.51) << i << ' ' << j << ' ' << k;
    }
    fs::remove_all(folder);
}

TEST_F(ReadRealCt, TwoSeriesInOneFolderAreNamed) {
    const fs::path folder = scratch("two-series");
    link_all(ct / "phantom", folder, "a");
    link_all(ct / "phantom-tilted", folder, "b");
    expect_refused(folder, {},
                   {"2 series", "number 202", "140 slices of 512 x 512", "number 301", "58 slices"});
    EXPECT_EQ(read_volume(folder, {false, "202", {}}).volume.grid().size[2], 140);
    fs::remove_all(folder);
}

TEST_F(ReadRealCt, ASliceCutInHalfIsRefusedByName) {
    const fs::path folder = scratch("half");
    link_all(ct / "phantom", folder, "");
    Bytes bytes = read_bytes(folder / "I700.dcm");
    bytes.resize(bytes.size() / 2);
    fs::remove(folder / "I700.dcm");
    write_bytes(folder / "I700.dcm", bytes);
    expect_refused(folder, {}, {"I700.dcm", "cut short"});
    fs::remove_all(folder);
}

}  // namespace
