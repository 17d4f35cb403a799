#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/cases/curved/curved_request.h"
#include "tests/reference/curved/frame.h"
#include "tests/reference/curved/prepare.h"
#include "tests/support/rasters.h"

// Runs of the curved entry points on one request, and the comparison of what came out.

namespace rz_test {

/// The entry point, with the arguments by name.
int call_calc_curved(const rz_reference::CurvedCall& call);

/// Every output of a curved image, filled with noise at first.
struct CurvedOutputs {
    int firstRow = -70001;
    int lastRow = -70002;
    int columnBounds[2] = {-70003, -70004};
    float corner[4] = {-0.25F, -0.5F, -0.75F, -7.0F};
    float startFraction = -11.0F;
    float endFraction = -12.0F;
    int transposedOut = 1;
    int signOut = -70005;
    float alongRemainder = -13.0F;
    float crossRemainder = -14.0F;
    int crossFirst = -70006;
    int result = -70007;

    /// The outputs that the early return leaves alone.
    bool boundsUntouched() const;
    /// Everything but what a refusal writes, the two remainders.
    bool untouchedButRemainders() const;
    std::string describe() const;
    friend bool operator==(const CurvedOutputs& a, const CurvedOutputs& b) {
        return std::memcmp(&a, &b, sizeof(a)) == 0;
    }
};

/// Which optional outputs a caller wants.
struct WantedOutputs {
    bool columnBounds = true;
    bool corner = true;
    bool startFraction = true;
    bool endFraction = true;
    bool transposedOut = true;
    bool signOut = true;
};

/// The function that makes the image: the entry point or its reference.
using Drawer = int (*)(const rz_reference::CurvedCall& call, Branches& branches);
int draw_by_entry(const rz_reference::CurvedCall& call, Branches& branches);
int draw_by_reference(const rz_reference::CurvedCall& call, Branches& branches);

/// A raster for the request's image with room for the offset of columns, between fences.
template <class Sample>
class ImageRaster {
  public:
    ImageRaster(const CurvedRequest& request)
        : stride_(request.imageBox.rowStride),
          block_(static_cast<std::size_t>(stride_) *
                     static_cast<std::size_t>(std::max(request.imageBox.yDim, 0) + 2 * kRoom),
                 request.seed) {}
    Sample* data() { return block_.data() + std::ptrdiff_t{kRoom} * stride_; }
    Sample at(int column, int row) const {
        return block_.data()[std::ptrdiff_t{kRoom + row} * stride_ + column];
    }
    Sample before(int column, int row) const {
        return block_.before(static_cast<std::size_t>((kRoom + row) * stride_ + column));
    }
    const Fenced<Sample>& block() const { return block_; }
    friend bool operator==(const ImageRaster& a, const ImageRaster& b) { return a.block_ == b.block_; }

  private:
    static constexpr int kRoom = 4;
    int stride_;
    Fenced<Sample> block_;
};

/// Draws the request, whose curve is prepared, into raster (may be null). type etc. come from the request.
CurvedOutputs draw(CurvedRequest& request, RZ_CurveProjectData& data, void* raster, float rangeStart,
                   float rangeEnd, Drawer drawer, Branches& branches, const WantedOutputs& wanted = {});

/// Prepares the request by the entry point; its boxes change.
int prepare(CurvedRequest& request, RZ_CurveProjectData& data);

/// Whether two boxes have equal dimensions and, to the bit, the same place.
bool same_box(const RZ_Box& a, const RZ_Box& b);
/// Whether the results of a preparation are equal to the bit, "" or the name of what differs.
std::string difference(const rz_reference::CurveData& want, const RZ_CurveProjectData& got);

}  // namespace rz_test
