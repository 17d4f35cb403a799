#pragma once

#include <vector>

#include "lower/export.h"
#include "lower/geometry/box.h"
#include "lower/volume/slice.h"

/// A volume: a box and as many slices as its z dimension. Owns its slices. Not copyable. Thread-safe for
/// concurrent reads.
class RZ_LOWER_API RZ_VolData {
  public:
    /// Copies box, which the caller may destroy. The last argument is always 0.
    RZ_VolData(RZ_Box* box, int);
    virtual ~RZ_VolData();
    RZ_VolData(const RZ_VolData&) = delete;
    RZ_VolData& operator=(const RZ_VolData&) = delete;

    const RZ_Box* GetBox() const;
    /// As many entries as the z dimension; an entry that was never set is null.
    RZ_Slice** GetSlices() const;
    /// Null if there is no such slice.
    RZ_Slice* GetSlice(unsigned int index) const;
    /// Takes ownership of slice, which came from `new`; another slice that stood there is deleted. An index
    /// outside the volume deletes slice.
    void SetSlice(RZ_Slice* slice, int index);

    /// Two values that travel with the volume (slope and intercept; 1 and 0 at first). Null: not wanted.
    void GetRescaleTrans(double* slope, double* intercept) const;
    void SetRescaleTrans(double slope, double intercept);

  private:
    RZ_Box box_;
    std::vector<RZ_Slice*> slices_;
    double slope_ = 1.0;
    double intercept_ = 0.0;
};
