#pragma once

#include "lower/geometry/box.h"
#include "lower/geometry/plane.h"
#include "lower/volume/tvolume.h"
#include "lower/volume/vol_data.h"
#include "rz_obl/export.h"
#include "rz_obl/rendition.h"

// Services on whole volumes: an index of row pointers, new volumes of oblique or re-spaced slices, and
// resampling into a float volume. Nothing is checked and nothing is logged; std::bad_alloc passes through.
// Threads: free, as long as outputs are disjoint.

/// An index of the rows of a volume: GetArray()[slice][row] is the start of a row, for slices -1 to z and
/// rows -1 to y. Rows -1 and y repeat the first and the last row; slices -1 and z are the caller's guards.
/// Points into the caller's rasters, which must outlive it.
///
/// A copy is a second handle on the same arrays, and each destroyed handle frees them: only one object of
/// those that share an index may be destroyed while it is built. Reading is safe from any thread.
class RZ_OBL_API FFastInd {
  public:
    /// Empty.
    FFastInd();
    FFastInd(const FFastInd& other);
    /// Frees nothing.
    FFastInd& operator=(const FFastInd& other);
    /// Frees the index, unless the box had no slices.
    virtual ~FFastInd();

    /// slices: rasters by slice number, readable from -1 to z, rows of box.xDim samples without padding.
    /// An object is built once.
    void BuiltIndeces(const short* const* slices, const RZ_Box& box);
    /// Null before the build.
    const short*** GetArray() const;

  private:
    // The order of the fields is part of the interface.
    const short*** sliceIndex_ = nullptr;
    const short** rowBlock_ = nullptr;
    int xSize_ = 0;
    int ySize_ = 0;
    int zSize_ = 0;
};

/// Functions on volumes. Holds no data: assignment does nothing.
class RZ_OBL_API RZ_OBLUtils {
  public:
    RZ_OBLUtils() = default;
    RZ_OBLUtils(const RZ_OBLUtils&) = default;
    RZ_OBLUtils& operator=(const RZ_OBLUtils&);
    RZ_OBLUtils& operator=(RZ_OBLUtils&&) noexcept;

    /// The oblique slice of volume along plane, or with a thickness (millimetres, the whole slab) the slab
    /// about it reduced by type, as a volume of one slice that holds all of the cut. 16-bit samples.
    /// The result belongs to the caller. Null if slices cannot be mapped, or memory for the raster cannot be
    /// had.
    static RZ_VolData* CalcObliqueVoldata(const RZ_VolData& volume, RZ_PlaneParams& plane,
                                          RZ_OBL_RenditionType type, float thickness);

    /// Slices first_slice to last_slice (inclusive) of volume, stacked anew: slice i lies i x spacing
    /// millimetres behind first_slice. Where that is exactly a slice of volume the result shares its raster,
    /// so that volume must outlive the result; the others are computed, each at the centre of its place in a
    /// stack of as many slices over the same depth. 16-bit samples.
    /// The result belongs to the caller. Null if slices cannot be mapped, or memory for a raster cannot be
    /// had; what was made before is then abandoned.
    static RZ_VolData* CalcObliqueVoldata(const RZ_VolData& volume, unsigned int first_slice,
                                          unsigned int last_slice, float spacing);

    /// Fills destination from source by trilinear interpolation at the same physical places. Voxels outside
    /// the source, which reaches half a sample beyond its outer samples, become outside_value.
    /// In the half sample below the first samples the values are extrapolated; from the last sample of a row
    /// or a column on, they run again from the last but one to the last. source: at least 2 x 2 samples a
    /// slice. The last argument is not read. Always 1.
    static int Resample(RZ_TVolume<short>& source, RZ_TVolume<float>& destination, float outside_value, int);
    static int Resample(RZ_TVolume<float>& source, RZ_TVolume<float>& destination, float outside_value, int);
};
