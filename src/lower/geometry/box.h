#pragma once

#include "lower/export.h"
#include "lower/geometry/box_params.h"
#include "lower/geometry/dims.h"

/// A sampled grid: dimensions in samples and the physical extent of the grid. Value semantics. Thread-safe
/// for concurrent reads.
///
/// Index space puts the centre of sample i at i (a dimension n spans -0.5 to n - 0.5); index-from-corner
/// space puts the start corner at 0, so that the same centre stands at i + 0.5.
class RZ_LOWER_API RZ_Box : public RZ_Dims {
  public:
    RZ_BoxParams params;

    /// No samples, the unit cube; may be assigned to.
    RZ_Box() = default;
    /// rowStride becomes xSize.
    RZ_Box(int xSize, int ySize, int zSize, const RZ_BoxParams& extent);
    RZ_Box(const RZ_Box&) = default;
    RZ_Box& operator=(const RZ_Box&) = default;
    virtual ~RZ_Box();

    /// Index-from-corner space to physical space.
    void GetIndexToPhysicalFromCorner(float matrix[4][4]) const;
    /// Physical space to index-from-corner space.
    void GetPhysicalToIndexFromCorner(float matrix[4][4]) const;
    /// Index space to physical space.
    void GetIndexToPhysicalTrans(float matrix[4][4]) const;
    /// Physical space to index space.
    void GetPhysicalToIndexTrans(float matrix[4][4]) const;
    /// Index space of this box to index space of other.
    void GetBoxToBoxTrans(const RZ_Box* other, float matrix[4][4]) const;

    /// Spacing along each axis, millimetres per sample.
    float GetXMmPerPixel() const;
    float GetYMmPerPixel() const;
    float GetZMmPerPixel() const;
    /// Slice spacing over x spacing: above 4 for slices far apart compared with their pixels.
    float GetSliceZf() const;
};
