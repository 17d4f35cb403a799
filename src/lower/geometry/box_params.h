#pragma once

#include "lower/export.h"

/// Names of a box's side axes.
enum RZ_Axis : int { RZ_AxisX = 0, RZ_AxisY = 1, RZ_AxisZ = 2 };

/// An oriented box in physical space (millimetres): a start corner and three side vectors. The sides need be
/// neither orthogonal nor right-handed. Value semantics. Thread-safe for concurrent reads.
///
/// Vertex i lies at start + (i & 1) side 0 + (i >> 1 & 1) side 1 + (i >> 2 & 1) side 2.
class RZ_LOWER_API RZ_BoxParams {
  public:
    /// The twelve edges as pairs of vertex numbers, as GetVertex numbers them.
    static const int c_edges[12][2];

    /// The unit cube at the origin.
    RZ_BoxParams();
    /// A box with these side lengths along the physical axes, its start corner at the origin.
    RZ_BoxParams(float width, float height, float depth);
    /// A box with this start corner and these side vectors, three doubles each, in millimetres.
    RZ_BoxParams(const double start[3], const double side0[3], const double side1[3], const double side2[3]);
    RZ_BoxParams(const RZ_BoxParams&) = default;
    RZ_BoxParams& operator=(const RZ_BoxParams&) = default;

    // The order of the virtual operations is part of the interface.
    virtual ~RZ_BoxParams();
    /// Transforms the box by an affine matrix, in place. Always 1.
    virtual int ApplyTransform(const float matrix[4][4]);
    /// Moves the box so that its start corner lies here; sides stay.
    virtual void SetStart(float x, float y, float z);

    /// Physical position of the start corner.
    void GetStart(float out[3]) const;
    /// Physical position of the centre.
    void GetMiddle(float out[3]) const;
    /// The three side lengths.
    void GetSize(float out[3]) const;
    float GetWidth() const;
    float GetHeight() const;
    float GetDepth() const;
    /// The side vector along an axis, as long as the side.
    void GetSideVec(float out[3], RZ_Axis axis) const;
    /// Physical position of vertex 0 to 7.
    void GetVertex(int vertex, float out[3]) const;
    /// Physical space to normalised space (start corner 0, far corner 1). A flat box, with a side of length
    /// 0, maps to 0 along that side.
    void GetNormTrans(float matrix[4][4]) const;
    /// Scales the sides by these factors, and the start corner about centre along the box's own axes.
    void TScale(float scaleX, float scaleY, float scaleZ, const float* centre);

    /// Normalised space to physical space in double precision; what the box's transforms are made from.
    void GetPhysicalFromNorm(double matrix[4][4]) const;

  private:
    double start_[3];
    double sides_[3][3];
};
