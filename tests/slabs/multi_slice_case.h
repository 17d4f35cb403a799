#pragma once

#include <memory>
#include <vector>

#include "rz_obl/rz_oblique/rz_oblique.h"
#include "tests/support/branches.h"
#include "tests/support/rasters.h"

namespace rz_test {

/// A slice of a case: `samples` readable samples and not one more, at any 2-byte address.
class Slice16 {
  public:
    Slice16(std::size_t samples, std::size_t lead) : raster_(samples + lead), lead_(lead) {}
    short* data() { return raster_.data() + lead_; }
    const short* data() const { return raster_.data() + lead_; }
    std::size_t size() const { return raster_.size() - lead_; }

  private:
    SourceRaster<short> raster_;
    std::size_t lead_;
};

/// A call of RZ_GetMultiSlicePlane, all of it from the seed. Two of the same seed are equal, so that each
/// form runs on its own, and whatever a form changes shows.
struct MultiSliceCase {
    explicit MultiSliceCase(Seed caseSeed);

    /// Runs RZ_GetMultiSlicePlane.
    int run();
    /// Runs the plain form.
    int run_reference(Branches& branches);
    /// Where two runs of a case first differ, in words; empty if they are equal.
    static std::string first_difference(const MultiSliceCase& want, const MultiSliceCase& got);

    Seed seed = 0;
    int rows = 0;
    int columns = 0;
    bool isSigned = false;
    RZ_OBL_SlabbingType type = RZ_OBL_SlabbingType::SlabAverage;
    unsigned short first = 0;
    unsigned short last = 0;
    unsigned short previousFirst = 0;
    unsigned short previousLast = 0;
    /// Null where a slice may be missing.
    std::vector<std::unique_ptr<Slice16>> rasters;
    std::vector<short*> slices;
    std::unique_ptr<Fenced<short>> output;
    std::unique_ptr<Slice16> previous;
    /// Where the result goes: into output, or into one of the slices.
    short* target = nullptr;
    /// Null, previous, or the target itself.
    short* earlier = nullptr;
};

}  // namespace rz_test
