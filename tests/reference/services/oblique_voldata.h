#pragma once

#include <vector>

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/vol_data.h"
#include "rz_obl/rendition.h"

namespace rz_reference {

/// A slice that CalcObliqueVoldata makes: a share in a slice of the source, or a raster of its own.
struct MadeSlice {
    /// Slice number of the source, or -1 for a computed one.
    int sharedFrom = -1;
    int width = 0;
    int height = 0;
    std::vector<short> raster;
};

/// What CalcObliqueVoldata returns: the box of the volume and its slices.
struct MadeVolume {
    RZ_Box box;
    std::vector<MadeSlice> slices;
};

/// Both forms of RZ_OBLUtils::CalcObliqueVoldata on a source whose slices are all there, one statement per
/// step, with the plain planes. fresh: what a new raster holds, of which the first
/// half is then cleared.
MadeVolume calc_oblique_voldata(const RZ_VolData& volume, RZ_PlaneParams plane, RZ_OBL_RenditionType type,
                                float thickness, short fresh);
MadeVolume calc_oblique_voldata(const RZ_VolData& volume, unsigned int first_slice, unsigned int last_slice,
                                float spacing, short fresh);

}  // namespace rz_reference
