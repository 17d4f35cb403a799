#pragma once

#include "rz_obl/RZ_OBLplanar/frame/reslice_frame.h"
#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"

namespace rz_obl {

/// The arguments of a selection entry. frame and steps must outlive them; the entry and its kernel may change
/// the steps.
template <class Sample, class Step>
scan_args<Sample, Step> make_scan_args(const reslice_request& request, const reslice_frame& frame,
                                       int slabSteps, Step* columnStep, Step* slabStep, Sample* const* slices,
                                       Sample* output, RZ_OBL_RenditionQuality quality, bool isSigned,
                                       int bitDepth) {
    return {request.outputBox.yDim,
            request.outputBox.xDim,
            low16(slabSteps),  // required: may turn negative above 32767
            frame.rowSpans,
            frame.planeToIndex,
            columnStep,
            slabStep,
            slices,
            output,
            request.volumeBox.xDim,
            request.volumeBox.yDim,
            static_cast<int>(quality),
            request.firstRow,
            request.lastRow,
            request.firstColumn,
            request.lastColumn,
            isSigned,
            bitDepth};
}

}  // namespace rz_obl
