#include <algorithm>

#include "rz_obl/RZ_OBLplanar/kernels/fixed_point.h"
#include "rz_obl/rz_oblique/log_line.h"
#include "rz_obl/rz_oblique/multi_slice_plane/combine.h"
#include "rz_obl/rz_oblique/rz_oblique.h"

namespace {

/// Appends slices first to last - 1; nothing if first is not below last.
void append(std::vector<const short*>& list, const std::vector<short*>& slices, int first, int last) {
    for (int i = first; i < last; ++i) list.push_back(slices[static_cast<std::size_t>(i)]);
}

/// Whether the earlier mean is close enough for an update to pay.
bool update_pays(int first, int last, int previousFirst, int previousLast) {
    const int overlap = std::min(last, previousLast) - std::max(first, previousFirst) + 1;
    const int leaving = std::max(first - previousFirst, 0) + std::max(previousLast - last, 0);
    const int entering = std::max(previousFirst - first, 0) + std::max(last - previousLast, 0);
    const int size = last - first + 1;
    return overlap > 0 && size - (leaving + entering + 2) > 3;
}

}  // namespace

int RZ_GetMultiSlicePlane(const std::vector<short*>& slices, int rows, int columns, bool is_signed,
                          RZ_OBL_SlabbingType type, short* output, unsigned short first_slice,
                          unsigned short last_slice, short* previous_output,
                          unsigned short previous_first_slice, unsigned short previous_last_slice) {
    if (rz_obl::wants_trace("RZ_GetMultiSlicePlane", __LINE__)) JrnGLog.Log("RZ_GetMultiSlicePlane <==>");

    const int count = rz_obl::wrap_mul(rows, columns);
    if (slices.empty() || slices[0] == nullptr || count < 1) return -1;

    const int first = first_slice;
    const int last = last_slice;
    const double factor = 1.0 / (last - first + 1);

    if (type == RZ_OBL_SlabbingType::SlabAverage && previous_output != nullptr &&
        update_pays(first, last, previous_first_slice, previous_last_slice)) {
        const int previousFirst = previous_first_slice;
        const int previousLast = previous_last_slice;
        std::vector<const short*> entering;
        append(entering, slices, first, previousFirst);
        append(entering, slices, previousLast + 1, last + 1);
        std::vector<const short*> leaving;
        append(leaving, slices, previousFirst, first);
        append(leaving, slices, last + 1, previousLast + 1);
        rz_obl::update_mean(previous_output, previousLast - previousFirst + 1, entering, leaving, count,
                            is_signed, factor, output);
        return 1;
    }

    std::vector<const short*> rasters;
    append(rasters, slices, first, last + 1);
    if (rasters.empty() || rasters[0] == nullptr) return -1;
    switch (type) {
        case RZ_OBL_SlabbingType::SlabMinimum:
            rz_obl::combine_extreme(rasters, count, false, is_signed, output);
            break;
        case RZ_OBL_SlabbingType::SlabMaximum:
            rz_obl::combine_extreme(rasters, count, true, is_signed, output);
            break;
        case RZ_OBL_SlabbingType::SlabAverage:
            rz_obl::combine_mean(rasters, count, factor, output);
            break;
    }
    return 1;
}
