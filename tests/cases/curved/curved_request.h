#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/spline.h"
#include "lower/volume/slice.h"
#include "tests/support/branches.h"
#include "tests/support/rasters.h"
#include "tests/support/seeded.h"

namespace rz_test {

/// A volume for curved images. Each raster has a readable row and two samples of noise behind it, which lines
/// along its edge take in.
struct CurvedVolume {
    RZ_Box box;
    /// 0 for 16-bit, 1 for 8-bit samples; one of the two lists is filled.
    int pixelKind = 0;
    std::vector<SourceRaster<short>> shorts;
    std::vector<SourceRaster<unsigned char>> bytes;
    std::vector<std::unique_ptr<RZ_ShortSlice>> slices;

    std::vector<RZ_Slice*> anySlices();
};

/// Rasters for the box, with these samples; slice objects over them.
CurvedVolume blank_curved_volume(const RZ_Box& box, int pixelKind);
/// The box about a centre with these side vectors.
RZ_BoxParams box_about(const double centre[3], const double side0[3], const double side1[3],
                       const double side2[3]);
/// An image box along physical x and y, whose start corner is (x, y, 0).
RZ_Box image_box(int columns, int rows, double x, double y, double width, double height);

/// One request for a curved image: preparation and drawing.
struct CurvedRequest {
    Seed seed = 0;
    CurvedVolume volume;
    RZ_Spline spline{SPLINE_CURVE, EDGE_OPEN};
    RZ_Box imageBox;
    std::optional<RZ_Box> secondBox;
    int margin = 0;
    bool localFrames = false;
    std::optional<bool> transposedIn;
    std::optional<int> signIn;

    RZ_BoxParams frame;
    RZ_BoxParams crop;
    int firstSlice = 0;
    int lastSlice = 0;
    float maxWidth = 0.0F;
    float thickness = 0.0F;
    int requireInside = 0;
    int columnOffset = 0;
    int type = 0;
    int quality = 4;
    float rangeStart = 0.0F;
    float rangeEnd = 1.0F;
    /// A caller's own table without directions: the frame sets up every column.
    bool dropDirections = false;

    std::string describe() const;
};

/// Volumes of any orientation and handedness, splines through 2 to 40 points and dense ones, sweeps of every
/// dominance and sign, image boxes before, about and beyond the curve, slabs of every kind. Samples that a
/// request reaches lie in the volume. branches: which kinds were made.
CurvedRequest make_curved_request(Seed seed, int pixelKind, Branches& branches);

/// A curve of any kind within a box.
RZ_Spline make_spline(Random& random, const RZ_BoxParams& about, Branches& branches);
/// A volume box of any orientation.
RZ_Box make_volume_box(Random& random, Branches& branches);
/// An image box for a curve of this length.
RZ_Box make_image_box(Random& random, float length, Branches& branches);

}  // namespace rz_test
