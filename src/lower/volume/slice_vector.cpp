#include "lower/volume/slice_vector.h"

bool RZ_SliceVector::MapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool, bool) {
    if (count < 0 || (count > 0 && !slices)) return false;
    for (int i = 0; i < count; ++i) {
        if (!slices[i] || !slices[i]->raster_) return false;
    }
    for (int i = 0; i < count; ++i) {
        if (slices[i]->owned_) slices[i]->owned_->Ptr();
        if (infos && infos[i]) infos[i]->Ptr();
    }
    return true;
}

bool RZ_SliceVector::UnMapRZSliceVec(RZ_Slice** slices, int count, MEM_PagerInfo** infos, bool) {
    if (count < 0 || (count > 0 && !slices)) return false;
    for (int i = 0; i < count; ++i) {
        if (slices[i] && slices[i]->owned_) slices[i]->owned_->Unmap();
        if (infos && infos[i]) infos[i]->Unmap();
    }
    return true;
}
