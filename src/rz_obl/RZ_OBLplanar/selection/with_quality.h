#pragma once

#include "rz_obl/RZ_OBLplanar/kernels/scan_args.h"
#include "rz_obl/rendition.h"

namespace rz_obl {

/// The arguments with the quality that the chosen kernel is to see.
template <class Sample, class Step>
scan_args<Sample, Step> with_quality(scan_args<Sample, Step> args, RZ_OBL_RenditionQuality quality) {
    args.quality = static_cast<int>(quality);
    return args;
}

}  // namespace rz_obl
