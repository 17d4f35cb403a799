#pragma once

#include "lower/export.h"

// Matrices are float[4][4], row-major, applied to row vectors: (x, y, z, 1) x M. Row 3 holds the translation,
// and A followed by B is A x B. Vectors are pointers to three or four floats (the fourth is neither read nor
// written unless said). All arithmetic is single precision, each operation rounded, sums in the order x, y,
// z, w, left to right. Thread-safe: no state.

extern "C" {

/// matrix = identity.
RZ_LOWER_API void RZ_Midnt(float matrix[4][4]);

/// product = a x b. product must not alias a or b.
RZ_LOWER_API void RZ_Mmul(const float a[4][4], const float b[4][4], float product[4][4]);

/// inverse = the inverse of matrix, worked out in double precision. A singular matrix gives the identity.
RZ_LOWER_API void RZ_Minv(const float matrix[4][4], float inverse[4][4]);

/// Plane equation (a, b, c, d), in place: from the target space of the point transform T to its source space.
/// equation[i] = sum over j of T[i][j] x equation[j]. Four floats.
RZ_LOWER_API void RZ_eqtrans(float* equation, const float transform[4][4]);

/// v = (x, y, z, 1) x M, in place, translation included.
RZ_LOWER_API void RZ_vectrans(float* v, const float matrix[4][4]);

/// v = (x, y, z) x the upper 3x3 of M, in place.
RZ_LOWER_API void RZ_vectrans_no_translation(float* v, const float matrix[4][4]);

/// result = (x, y, z, 1) x M, v untouched. Translation included: for a direction, subtract row 3 of M
/// afterwards.
RZ_LOWER_API void RZ_vec3mlt(const float* v, const float matrix[4][4], float* result);

/// a.x b.x + a.y b.y + a.z b.z
RZ_LOWER_API float RZ_dot(const float* a, const float* b);

/// result = a cross b. result must not alias a or b.
RZ_LOWER_API void RZ_cross(const float* a, const float* b, float* result);

/// v scaled to length 1, in place; a vector of length 0 stays as it is.
RZ_LOWER_API void RZ_normalize(float* v);

/// Interpolation table of the definitions library: weights of a kernel of `taps` taps at 2^bits positions.
/// Built once, on the first call, under the language's guard; the library owns it. Only (3, 12) is ever asked
/// for; other arguments give null.
RZ_LOWER_API const float* RZ_GetInterTab(int taps, int bits);
}
