#pragma once

#include "rz_obl/rz_obl.h"
#include "toolkit/core/curved_request.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// A rectangle of a curved picture, in pixels along and across the curve.
struct CurvePart {
    /// Share of the lines, 0 to 1.
    float from, to;
    int firstAcross, across;
};

/// A checked request as the library wants it: spline, boxes, curve samples. Internal to drawing; positions
/// are relative to the middle of the volume, where single precision is finest.
class CurveView {
  public:
    /// Throws Error.
    CurveView(const Volume& volume, const CurvedRequest& request);

    bool transposed() const { return transposed_; }
    int along() const { return along_; }
    int across() const { return across_; }
    int width() const { return transposed_ ? across_ : along_; }
    int height() const { return transposed_ ? along_ : across_; }
    /// Lines that lie on the curve and in the picture.
    int lines() const { return data_.lastSample - data_.firstSample; }
    /// Samples through the slab that one pixel takes, at most.
    int samplesPerPixel() const { return samplesPerPixel_; }
    /// Pixels of a line that may be walked in one go.
    int longestWalk() const { return longestWalk_; }

    /// Draws a part of a raster of the whole picture, row-major, unpadded; keeps pixels without a sample.
    void draw(RZ_Slice** slices, void* raster, RZ_OBL_RenditionType type, const CurvePart& part);
    /// Fills in what says where the picture lies.
    void describe(CurvedImage& picture);

  private:
    struct Bounds {
        int firstRow = 0, lastRow = -1;
        int columns[2] = {0, -1};
        int crossFirst = 0;
    };

    void make_spline(const CurvedRequest& request);
    void make_pixels(const CurvedRequest& request);
    void prepare();
    void refuse_sweep_along_curve() const;
    void place_across(const CurvedRequest& request);
    void limit_walk();

    /// Box of the picture's pixels firstAcross to firstAcross + across - 1, all lines.
    RZ_Box image_box(int firstAcross, int across) const;
    Bounds call(RZ_Slice** slices, void* raster, const RZ_Box& box, RZ_OBL_RenditionType type, float from,
                float to);
    Vec3 placed(const RZ_3Coord& point) const;

    const Grid& grid_;
    Vec3 middle_;
    RZ_Box volumeBox_;
    /// Where interpolation has all the neighbours it wants.
    RZ_BoxParams inner_;
    RZ_Spline spline_{SPLINE_CURVE, EDGE_OPEN};
    RZ_CurveProjectData data_;
    bool localFrames_;
    bool transposed_ = false;
    float band_;
    double thickness_;
    float halfThickness_;
    double length_ = 0;
    double pixel_ = 1;
    int along_ = 0, across_ = 0;
    int curvePixel_ = 0;
    /// What the box starts at across the curve, in pixels, less the position of the curve.
    int startShift_ = 0;
    int samplesPerPixel_ = 1;
    int longestWalk_ = 1;
};

}  // namespace rzobl
