#include <cstddef>
#include <cstdint>
#include <new>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/volume_services/volume_services.h"

using rz_obl::wrap_add;
using rz_obl::wrap_mul;

namespace {

/// Not cleared. A count that is no count asks for more than can be had.
template <class Pointer>
Pointer* allocatePointers(int count) {
    std::size_t bytes = 0;
    const auto entries = static_cast<std::size_t>(count);
    if (__builtin_mul_overflow(entries, sizeof(Pointer), &bytes)) bytes = SIZE_MAX;
    return static_cast<Pointer*>(::operator new[](bytes));
}

}  // namespace

FFastInd::FFastInd() = default;

FFastInd::FFastInd(const FFastInd& other) = default;

FFastInd& FFastInd::operator=(const FFastInd& other) = default;

FFastInd::~FFastInd() {
    if (zSize_ == 0) return;  // required: also what a build without slices allocated stays
    ::operator delete[](rowBlock_);
    ::operator delete[](sliceIndex_ - 1);
}

void FFastInd::BuiltIndeces(const short* const* slices, const RZ_Box& box) {
    if (zSize_ != 0) {
        ::operator delete[](rowBlock_);
        ::operator delete[](sliceIndex_);  // required: not the start of its allocation
    }
    xSize_ = box.xDim;
    ySize_ = box.yDim;
    zSize_ = box.zDim;

    const int rowEntries = wrap_add(ySize_, 2);
    const int sliceEntries = wrap_add(zSize_, 2);
    rowBlock_ = allocatePointers<const short*>(wrap_mul(rowEntries, sliceEntries));
    sliceIndex_ = allocatePointers<const short**>(sliceEntries) + 1;

    for (std::ptrdiff_t k = -1; k <= zSize_; ++k) {
        const short** rows = rowBlock_ + 1 + (k + 1) * rowEntries;
        sliceIndex_[k] = rows;
        const short* row = slices[k];
        rows[-1] = row;
        for (int j = 0; j < ySize_; ++j) {
            rows[j] = row;
            row += xSize_;
        }
        rows[ySize_] = row - xSize_;
    }
}

const short*** FFastInd::GetArray() const {
    return sliceIndex_;
}
