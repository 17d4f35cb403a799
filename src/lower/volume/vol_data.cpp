#include "lower/volume/vol_data.h"

#include <algorithm>
#include <cstddef>

RZ_VolData::RZ_VolData(RZ_Box* box, int)
    : box_(*box), slices_(static_cast<std::size_t>(std::max(box->zDim, 0)), nullptr) {}

RZ_VolData::~RZ_VolData() {
    for (const RZ_Slice* slice : slices_) delete slice;
}

const RZ_Box* RZ_VolData::GetBox() const {
    return &box_;
}

RZ_Slice** RZ_VolData::GetSlices() const {
    return const_cast<RZ_Slice**>(slices_.data());
}

RZ_Slice* RZ_VolData::GetSlice(unsigned int index) const {
    return index < slices_.size() ? slices_[index] : nullptr;
}

void RZ_VolData::SetSlice(RZ_Slice* slice, int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= slices_.size()) {
        delete slice;
        return;
    }
    RZ_Slice*& entry = slices_[static_cast<std::size_t>(index)];
    if (entry != slice) delete entry;
    entry = slice;
}

void RZ_VolData::GetRescaleTrans(double* slope, double* intercept) const {
    if (slope) *slope = slope_;
    if (intercept) *intercept = intercept_;
}

void RZ_VolData::SetRescaleTrans(double slope, double intercept) {
    slope_ = slope;
    intercept_ = intercept;
}
