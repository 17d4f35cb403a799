#include <gtest/gtest.h>

#include <cstring>

// No header of ours: these declarations link only if the library exports the plain names.

extern "C" {
void RZ_Midnt(float (*)[4]);
void RZ_Mmul(const float (*)[4], const float (*)[4], float (*)[4]);
void RZ_Minv(const float (*)[4], float (*)[4]);
void RZ_eqtrans(float*, const float (*)[4]);
void RZ_vectrans(float*, const float (*)[4]);
void RZ_vectrans_no_translation(float*, const float (*)[4]);
void RZ_vec3mlt(const float*, const float (*)[4], float*);
float RZ_dot(const float*, const float*);
void RZ_cross(const float*, const float*, float*);
void RZ_normalize(float*);
const float* RZ_GetInterTab(int, int);
}

TEST(definitions, names_are_unmangled) {
    float m[4][4];
    float r[4][4];
    float inverse[4][4];
    RZ_Midnt(m);
    RZ_Mmul(m, m, r);
    RZ_Minv(r, inverse);
    EXPECT_EQ(std::memcmp(m, inverse, sizeof m), 0);
    float e[4] = {1.0F, 2.0F, 3.0F, 4.0F};
    RZ_eqtrans(e, m);
    RZ_vectrans(e, m);
    RZ_vectrans_no_translation(e, m);
    float v[3];
    RZ_vec3mlt(e, m, v);
    EXPECT_EQ(RZ_dot(v, e), 14.0F);
    float c[3];
    RZ_cross(v, e, c);
    EXPECT_EQ(RZ_dot(c, c), 0.0F);
    float unit[3] = {0.0F, -2.0F, 0.0F};
    RZ_normalize(unit);
    EXPECT_EQ(unit[1], -1.0F);
    EXPECT_NE(RZ_GetInterTab(3, 12), nullptr);
}
