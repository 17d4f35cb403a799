#pragma once

// Affine maps of row vectors in double precision: the insides of boxes and planes, which hand out floats.

namespace rz_obl {

/// Three side vectors, made independent, with their reciprocal vectors: dual[j] . side[k] is 1 for j = k,
/// else 0.
struct affine_basis {
    double side[3][3];
    double dual[3][3];
    /// The given side had no length of its own (zero, not finite, or in the span of earlier sides); side
    /// holds a unit vector orthogonal to the others in its place.
    bool flat[3];
};

/// Side vectors of any length and orientation. Always finite for finite sides.
affine_basis complete_basis(const double sides[3][3]);

/// Rounds every element.
void round_affine(const double matrix[4][4], float rounded[4][4]);

/// The inverse of the map that a reader of the rounded forward matrix sees, so that there and back loses only
/// the rounding of the inverse itself. The translation is made for the rounded coefficients: their errors
/// then count from the point that the origin maps to, not from the far physical origin. Flat axes map to 0.
void invert_rounded(const double forward[4][4], float inverse[4][4]);

/// True if the rows of the 3x3 part are independent.
bool is_regular(const double matrix[4][4]);

double dot3(const double a[3], const double b[3]);
void cross3(const double a[3], const double b[3], double result[3]);
/// Scales v to length 1; false, and v unchanged, if it has no direction (zero or not finite).
bool normalize3(double v[3]);
/// A unit vector orthogonal to the unit vector v, from the physical axis that lies farthest from it.
void any_orthogonal(const double v[3], double result[3]);

}  // namespace rz_obl
