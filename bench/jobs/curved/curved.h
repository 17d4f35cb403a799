#pragma once

#include <memory>
#include <vector>

#include "bench/harness/bench_case.h"
#include "bench/harness/volume.h"
#include "rz_obl/rz_obl.h"

// A winding curve, unrolled: 512 x 512 pixels of 0.75 mm along the curve in the axial plane and along a
// tilted sweep line, alone and as a slab about the surface.

namespace rz_bench {

/// The surface as our library prepared it, and where its samples lie: peers take the same positions.
class Sheet {
  public:
    /// halfThickness: millimetres.
    Sheet(Volume& volume, float halfThickness, RZ_OBL_RenditionType type);

    static constexpr int kPixels = 512;

    Volume& volume;
    const float halfThickness;
    const RZ_OBL_RenditionType type;
    RZ_Spline spline;
    RZ_Box image;
    RZ_CurveProjectData data;

    struct Column {
        /// Index position of cross index 0, and its steps per cross index and per slab sample.
        double origin[3];
        double across[3];
        double through[3];
        int halfSamples;
    };
    /// One for each image column.
    std::vector<Column> columns;
    /// Cross index of image row 0.
    int firstCross = 0;

    /// Pixels x samples through the slab.
    double samples() const;
    /// raster may be null.
    void draw(short* raster);
};

std::vector<Case> curved_cases(Volume& volume);

Contender curved_ours(Volume& volume, float halfThickness, RZ_OBL_RenditionType type);
std::string curved_reference(Volume& volume, float halfThickness, RZ_OBL_RenditionType type,
                             const Picture& ours);
Contender curved_vtk(Volume& volume, float halfThickness, RZ_OBL_RenditionType type);
Contender curved_itk(Volume& volume, float halfThickness, RZ_OBL_RenditionType type);
Contender curved_floor(Volume& volume, float halfThickness, RZ_OBL_RenditionType type);

/// A peer's loop over the sheet: at(x, y, z) interpolates at an index position. Rows outside columns, so that
/// neighbours lie near each other in memory.
template <class At>
void unroll(const Sheet& sheet, float* raster, At&& at) {
    for (int row = 0; row < Sheet::kPixels; ++row) {
        const double j = sheet.firstCross + row;
        for (const Sheet::Column& c : sheet.columns) {
            double x = c.origin[0] + j * c.across[0] - c.halfSamples * c.through[0];
            double y = c.origin[1] + j * c.across[1] - c.halfSamples * c.through[1];
            double z = c.origin[2] + j * c.across[2] - c.halfSamples * c.through[2];
            const int count = 2 * c.halfSamples + 1;
            double sum = 0.0;
            double most = -1e9;
            for (int sample = 0; sample < count; ++sample) {
                const double value = at(x, y, z);
                sum += value;
                most = value > most ? value : most;
                x += c.through[0];
                y += c.through[1];
                z += c.through[2];
            }
            *raster++ = static_cast<float>(sheet.type == RZ_OBL_RenditionType::Maximum ? most : sum / count);
        }
    }
}

}  // namespace rz_bench
