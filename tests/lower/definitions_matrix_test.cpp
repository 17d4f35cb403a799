#include "lower/definitions/matrix.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "lower/definitions/coord.h"
#include "tests/support/seeded.h"

using rz_test::Random;
using rz_test::replay;
using rz_test::Seed;
using rz_test::seeds;

namespace {

struct Matrix {
    float m[4][4];
};

Matrix random_matrix(Random& random) {
    Matrix r{};
    for (auto& row : r.m) {
        for (float& value : row) value = random.real(-100.0F, 100.0F);
    }
    return r;
}

// Sums left to right with each partial sum stored, so that no compiler keeps more than single precision.
float sum(std::initializer_list<float> terms) {
    volatile float total = *terms.begin();
    for (const float* term = terms.begin() + 1; term != terms.end(); ++term) total = total + *term;
    return total;
}
float times(float a, float b) {
    volatile float product = a * b;
    return product;
}

bool same_bits(float a, float b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

TEST(definitions_matrix, identity) {
    float m[4][4];
    std::memset(m, 0x5a, sizeof m);
    RZ_Midnt(m);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) EXPECT_TRUE(same_bits(m[i][j], i == j ? 1.0F : 0.0F));
    }
}

TEST(definitions_matrix, product_is_row_by_column_summed_in_order) {
    int order_matters = 0;
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const Matrix a = random_matrix(random);
        const Matrix b = random_matrix(random);
        float c[4][4];
        RZ_Mmul(a.m, b.m, c);
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                const float t[4] = {times(a.m[i][0], b.m[0][j]), times(a.m[i][1], b.m[1][j]),
                                    times(a.m[i][2], b.m[2][j]), times(a.m[i][3], b.m[3][j])};
                ASSERT_TRUE(same_bits(c[i][j], sum({t[0], t[1], t[2], t[3]}))) << replay(seed);
                order_matters += !same_bits(sum({t[3], t[2], t[1], t[0]}), c[i][j]);
            }
        }
    }
    EXPECT_TRUE(order_matters > 1000 || rz_test::is_replay());
}

TEST(definitions_matrix, vectors_are_rows_summed_in_order) {
    for (const Seed seed : seeds(2000)) {
        Random random(seed);
        const Matrix m = random_matrix(random);
        const float v[4] = {random.real(-50.0F, 50.0F), random.real(-50.0F, 50.0F),
                            random.real(-50.0F, 50.0F), 7.0F};
        float point[4] = {v[0], v[1], v[2], v[3]};
        float direction[4] = {v[0], v[1], v[2], v[3]};
        float result[4] = {0.0F, 0.0F, 0.0F, -3.0F};
        RZ_vectrans(point, m.m);
        RZ_vectrans_no_translation(direction, m.m);
        RZ_vec3mlt(v, m.m, result);
        for (int j = 0; j < 3; ++j) {
            const float x = times(v[0], m.m[0][j]);
            const float y = times(v[1], m.m[1][j]);
            const float z = times(v[2], m.m[2][j]);
            ASSERT_TRUE(same_bits(point[j], sum({x, y, z, m.m[3][j]}))) << replay(seed);
            ASSERT_TRUE(same_bits(direction[j], sum({x, y, z}))) << replay(seed);
            ASSERT_TRUE(same_bits(result[j], point[j])) << replay(seed);
        }
        ASSERT_EQ(point[3], 7.0F);  // the fourth float is not touched
        ASSERT_EQ(direction[3], 7.0F);
        ASSERT_EQ(result[3], -3.0F);
    }
}

TEST(definitions_matrix, vec3mlt_of_the_origin_is_the_translation) {
    Random random(3);
    const Matrix m = random_matrix(random);
    const float zero[3] = {0.0F, 0.0F, 0.0F};
    float result[3];
    RZ_vec3mlt(zero, m.m, result);
    for (int j = 0; j < 3; ++j) EXPECT_EQ(result[j], m.m[3][j]);
}

TEST(definitions_matrix, equation_goes_from_target_to_source) {
    // The half space x >= -0.01 stays itself where x stays itself.
    float t[4][4];
    RZ_Midnt(t);
    t[0][1] = 3.0F;
    t[2][2] = 0.5F;
    t[3][1] = -8.0F;
    float e[4] = {-1.0F, 0.0F, 0.0F, -0.01F};
    RZ_eqtrans(e, t);
    EXPECT_EQ(e[0], -1.0F);
    EXPECT_EQ(e[1], 0.0F);
    EXPECT_EQ(e[2], 0.0F);
    EXPECT_EQ(e[3], -0.01F);

    for (const Seed seed : seeds(500)) {
        Random random(seed);
        const Matrix m = random_matrix(random);
        float f[4];
        float g[4];
        for (int i = 0; i < 4; ++i) f[i] = g[i] = random.real(-5.0F, 5.0F);
        RZ_eqtrans(g, m.m);
        for (int i = 0; i < 4; ++i) {
            ASSERT_TRUE(same_bits(g[i], sum({times(m.m[i][0], f[0]), times(m.m[i][1], f[1]),
                                             times(m.m[i][2], f[2]), times(m.m[i][3], f[3])})))
                << replay(seed);
        }
    }
}

TEST(definitions_matrix, dot_and_cross) {
    for (const Seed seed : seeds(500)) {
        Random random(seed);
        float a[3];
        float b[3];
        for (int i = 0; i < 3; ++i) {
            a[i] = random.real(-9.0F, 9.0F);
            b[i] = random.real(-9.0F, 9.0F);
        }
        ASSERT_TRUE(same_bits(RZ_dot(a, b), sum({times(a[0], b[0]), times(a[1], b[1]), times(a[2], b[2])})));
        float c[3];
        RZ_cross(a, b, c);
        for (int i = 0; i < 3; ++i) {
            const int j = (i + 1) % 3;
            const int k = (i + 2) % 3;
            ASSERT_TRUE(same_bits(c[i], sum({times(a[j], b[k]), -times(a[k], b[j])}))) << replay(seed);
        }
    }
    const float x[3] = {1.0F, 0.0F, 0.0F};
    const float y[3] = {0.0F, 1.0F, 0.0F};
    float z[3];
    RZ_cross(x, y, z);
    EXPECT_EQ(z[2], 1.0F);  // right-handed
}

TEST(definitions_matrix, normalize_any_magnitude) {
    for (const float scale : {1e-40F, 1e-30F, 1e-20F, 1e-6F, 1.0F, 1e6F, 1e20F, 1e37F}) {
        float v[4] = {3.0F * scale, -4.0F * scale, 12.0F * scale, 5.0F};
        RZ_normalize(v);
        const float tolerance = scale < 1e-38F ? 1e-2F : 2e-7F;  // a denormal has few bits to begin with
        EXPECT_NEAR(v[0], 3.0F / 13.0F, tolerance) << scale;
        EXPECT_NEAR(v[1], -4.0F / 13.0F, tolerance) << scale;
        EXPECT_NEAR(v[2], 12.0F / 13.0F, tolerance) << scale;
        EXPECT_EQ(v[3], 5.0F);
    }
    float none[3] = {0.0F, 0.0F, 0.0F};
    RZ_normalize(none);
    EXPECT_EQ(none[0], 0.0F);
    EXPECT_EQ(none[1], 0.0F);
    EXPECT_EQ(none[2], 0.0F);

    RZ_3Coord coord(0.0F, -7.0F, 0.0F);
    coord.Normalize();
    EXPECT_EQ(coord.y, -1.0F);
    EXPECT_EQ(coord.w, 1.0F);
}

TEST(definitions_matrix, inverse_undoes) {
    int projective = 0;
    for (const Seed seed : seeds(1000)) {
        Random random(seed);
        Matrix m = random_matrix(random);
        const bool affine = random.once_in(2);
        if (affine) {
            for (int i = 0; i < 4; ++i) m.m[i][3] = i == 3 ? 1.0F : 0.0F;
        }
        projective += !affine;
        float r[4][4];
        RZ_Minv(m.m, r);
        // M x R in double, against the identity; the bound is the rounding of R's floats.
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                double product = 0.0;
                double magnitude = 0.0;
                for (int k = 0; k < 4; ++k) {
                    const double term = static_cast<double>(m.m[i][k]) * static_cast<double>(r[k][j]);
                    product += term;
                    magnitude += std::abs(term);
                }
                ASSERT_NEAR(product, i == j ? 1.0 : 0.0, 2.4e-7 * magnitude + 1e-12) << replay(seed);
            }
        }
        if (affine) {
            for (int i = 0; i < 4; ++i) ASSERT_EQ(r[i][3], i == 3 ? 1.0F : 0.0F);
        }
    }
    EXPECT_TRUE(projective > 100 || rz_test::is_replay());
}

TEST(definitions_matrix, inverse_of_exact_matrices_is_exact) {
    // Scale by powers of two, exchange of axes, translation: every element has an exact answer.
    const float m[4][4] = {{0.0F, 2.0F, 0.0F, 0.0F},
                           {0.0F, 0.0F, -0.5F, 0.0F},
                           {4.0F, 0.0F, 0.0F, 0.0F},
                           {8.0F, 6.0F, 3.0F, 1.0F}};
    const float expected[4][4] = {{0.0F, 0.0F, 0.25F, 0.0F},
                                  {0.5F, 0.0F, 0.0F, 0.0F},
                                  {0.0F, -2.0F, 0.0F, 0.0F},
                                  {-3.0F, 6.0F, -2.0F, 1.0F}};
    float r[4][4];
    RZ_Minv(m, r);
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) EXPECT_TRUE(same_bits(r[i][j], expected[i][j])) << i << ' ' << j;
    }
}

TEST(definitions_matrix, inverse_of_a_singular_matrix_is_the_identity) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<Matrix> singular = {
        {{{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}},
        {{{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}, {1, 1, 1, 1}}},
        {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 0, 0}, {9, 9, 9, 1}}},
        {{{1, 2, 3, 4}, {2, 4, 6, 8}, {0, 1, 0, 1}, {5, 5, 5, 2}}},
        {{{nan, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
        {{{1, 0, 0, nan}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}},
    };
    float identity[4][4];
    RZ_Midnt(identity);
    for (const Matrix& m : singular) {
        float r[4][4];
        RZ_Minv(m.m, r);
        EXPECT_EQ(std::memcmp(r, identity, sizeof r), 0);
    }
}

TEST(definitions_coord, layout_and_members) {
    const RZ_3Coord none;
    EXPECT_EQ(none.x, 0.0F);
    EXPECT_EQ(none.w, 1.0F);
    const float xyz[3] = {1.0F, 2.0F, 3.0F};
    RZ_3Coord a(xyz);
    const RZ_3Coord b(0.5F, 0.25F, 0.125F);
    EXPECT_EQ(a.w, 1.0F);
    a.w = 9.0F;
    a -= b;
    EXPECT_EQ(a.x, 0.5F);
    EXPECT_EQ(a.y, 1.75F);
    EXPECT_EQ(a.z, 2.875F);
    EXPECT_EQ(a.w, 9.0F);
    EXPECT_EQ(&(a *= 2.0F), &a);
    EXPECT_EQ(a.z, 5.75F);
    EXPECT_EQ(a.w, 9.0F);
    const RZ_3Coord copy(a);
    EXPECT_EQ(copy.w, 9.0F);

    RZ_3Coord points[2] = {RZ_3Coord(1, 2, 3), RZ_3Coord(4, 5, 6)};
    const float* floats = points[0];
    EXPECT_EQ(floats[3], 1.0F);
    EXPECT_EQ(floats[4], 4.0F);
}

TEST(definitions_inter_table, interpolates_quadratics) {
    const float* table = RZ_GetInterTab(3, 12);
    ASSERT_NE(table, nullptr);
    for (int i = 0; i < 4096; ++i) {
        const double t = i / 4096.0 - 0.5;
        const double w[3] = {static_cast<double>(table[3 * i]), static_cast<double>(table[3 * i + 1]),
                             static_cast<double>(table[3 * i + 2])};
        ASSERT_NEAR(w[0] + w[1] + w[2], 1.0, 1e-6);
        ASSERT_NEAR(w[2] - w[0], t, 1e-6);
        ASSERT_NEAR(w[2] + w[0], t * t, 1e-6);
    }
    EXPECT_EQ(RZ_GetInterTab(4, 12), nullptr);
    EXPECT_EQ(RZ_GetInterTab(3, 11), nullptr);
}

TEST(definitions_inter_table, one_table_for_all_threads) {
    std::array<const float*, 4> seen{};
    std::vector<std::thread> threads;
    for (const float*& table : seen) threads.emplace_back([&table] { table = RZ_GetInterTab(3, 12); });
    for (std::thread& thread : threads) thread.join();
    for (const float* table : seen) EXPECT_EQ(table, seen[0]);
}
