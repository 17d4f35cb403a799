#pragma once

#include "lower/geometry/box.h"

/// The record behind a typed volume. Its second word is the array of rasters, one per slice.
template <class T>
struct RZ_TVolumeRecord {
    void* owner = nullptr;
    T** rasters = nullptr;
};

/// A box with rasters of T (`short` or `float`), x fastest, row length equal to the x dimension. Neither the
/// record nor the rasters are owned; a null record means no rasters.
template <class T>
class RZ_TVolume : public RZ_Box {
  public:
    RZ_TVolume() = default;
    RZ_TVolume(const RZ_Box& box, RZ_TVolumeRecord<T>* volumeRecord) : RZ_Box(box), record(volumeRecord) {}

    RZ_TVolumeRecord<T>* record = nullptr;

    /// One raster per slice, or null.
    T** GetRasters() const { return record ? record->rasters : nullptr; }
};
