#pragma once

#include <array>
#include <vector>

#include "tests/cases/planar_request.h"
#include "tests/reference/frame.h"

namespace rz_reference {

/// The frame of a request, with the quality gate of RZ_PlanarObliqueProjection if that is what answers it.
struct PlanarPlan {
    Frame frame;
    int quality;
};

PlanarPlan plan_calc_oblique(const rz_test::PlanarRequest& request);
PlanarPlan plan_projection(const rz_test::PlanarRequest& request);

/// The name of the selection entry that gets the scan, empty for none.
const char* entry_of_calc_oblique(int type);
const char* entry_of_projection(int pixelKind, int type);

/// What limits a semi-cubic result.
struct SampleKind {
    bool isSigned;
    int bitDepth;
};

/// One plane or slab from the rasters of all slices: raster and bounds.
void oblique_plane(const FrameRequest& request, const std::vector<short*>& rasters, int type,
                   const SampleKind& kind, short* output, std::array<int, 4>& bounds);
/// RZ_CalcOblique over all slices.
void calc_oblique(rz_test::PlanarRequest& request, short* output, std::array<int, 4>& bounds);
/// RZ_PlanarObliqueProjection over all slices.
void planar_projection(rz_test::PlanarRequest& request, void* output, std::array<int, 4>& bounds);

}  // namespace rz_reference
