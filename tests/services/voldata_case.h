#pragma once

#include <string>

#include "rz_obl/rendition.h"
#include "tests/reference/services/oblique_voldata.h"
#include "tests/services/voldata_source.h"
#include "tests/support/branches.h"

namespace rz_test {

/// A plane or a slab through a volume of any orientation, all of it from the seed.
struct VoldataPlane {
    explicit VoldataPlane(Seed seed);

    std::unique_ptr<VoldataSource> source;
    RZ_PlaneParams plane;
    RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average;
    float thickness = 0.0F;
};

/// Slices of such a volume to be stacked anew, at a spacing of any kind.
struct VoldataRange {
    explicit VoldataRange(Seed seed);

    std::unique_ptr<VoldataSource> source;
    unsigned first = 0;
    unsigned last = 0;
    float spacing = 0.0F;
};

/// Where a new volume differs from the plain form, in words; empty if nowhere. fresh: what its rasters held
/// at first.
std::string first_difference(const VoldataSource& source, const rz_reference::MadeVolume& want,
                             const RZ_VolData* got, short fresh, Branches& branches);

}  // namespace rz_test
