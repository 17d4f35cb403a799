#include "lower/geometry/box.h"

#include <algorithm>
#include <cmath>

#include "lower/geometry/affine.h"

namespace {

// A box without samples along an axis counts as one sample there, so that every transform stays finite.
void get_samples(const RZ_Box& box, double samples[3]) {
    int dims[3];
    box.GetDims(dims);
    for (int k = 0; k < 3; ++k) samples[k] = static_cast<double>(std::max(dims[k], 1));
}

// Index space to physical space; shift is where the start corner's sample has its index origin: 0.5 for
// centres, 0 for the corner.
void get_physical_from_index(const RZ_Box& box, double shift, double matrix[4][4]) {
    double samples[3];
    get_samples(box, samples);
    box.params.GetPhysicalFromNorm(matrix);
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 3; ++i) {
            matrix[k][i] /= samples[k];
            matrix[3][i] += shift * matrix[k][i];
        }
    }
}

float get_spacing(const RZ_Box& box, int axis) {
    double matrix[4][4];
    get_physical_from_index(box, 0.0, matrix);
    return static_cast<float>(std::sqrt(rz_obl::dot3(matrix[axis], matrix[axis])));
}

}  // namespace

RZ_Box::RZ_Box(int xSize, int ySize, int zSize, const RZ_BoxParams& extent)
    : RZ_Dims(xSize, ySize, zSize), params(extent) {}

RZ_Box::~RZ_Box() = default;

void RZ_Box::GetIndexToPhysicalFromCorner(float matrix[4][4]) const {
    double forward[4][4];
    get_physical_from_index(*this, 0.0, forward);
    rz_obl::round_affine(forward, matrix);
}

void RZ_Box::GetPhysicalToIndexFromCorner(float matrix[4][4]) const {
    double forward[4][4];
    get_physical_from_index(*this, 0.0, forward);
    rz_obl::invert_rounded(forward, matrix);
}

void RZ_Box::GetIndexToPhysicalTrans(float matrix[4][4]) const {
    double forward[4][4];
    get_physical_from_index(*this, 0.5, forward);
    rz_obl::round_affine(forward, matrix);
}

void RZ_Box::GetPhysicalToIndexTrans(float matrix[4][4]) const {
    double forward[4][4];
    get_physical_from_index(*this, 0.5, forward);
    rz_obl::invert_rounded(forward, matrix);
}

void RZ_Box::GetBoxToBoxTrans(const RZ_Box* other, float matrix[4][4]) const {
    double from[4][4];
    double to[4][4];
    get_physical_from_index(*this, 0.5, from);
    get_physical_from_index(*other, 0.5, to);
    const double sides[3][3] = {
        {to[0][0], to[0][1], to[0][2]}, {to[1][0], to[1][1], to[1][2]}, {to[2][0], to[2][1], to[2][2]}};
    const rz_obl::affine_basis basis = rz_obl::complete_basis(sides);
    for (int i = 0; i < 3; ++i) from[3][i] -= to[3][i];
    for (int k = 0; k < 3; ++k) {
        for (int i = 0; i < 4; ++i) {
            matrix[i][k] = basis.flat[k] ? 0.0F : static_cast<float>(rz_obl::dot3(from[i], basis.dual[k]));
        }
        matrix[k][3] = 0.0F;
    }
    matrix[3][3] = 1.0F;
}

float RZ_Box::GetXMmPerPixel() const {
    return get_spacing(*this, 0);
}

float RZ_Box::GetYMmPerPixel() const {
    return get_spacing(*this, 1);
}

float RZ_Box::GetZMmPerPixel() const {
    return get_spacing(*this, 2);
}

float RZ_Box::GetSliceZf() const {
    return GetZMmPerPixel() / GetXMmPerPixel();
}
