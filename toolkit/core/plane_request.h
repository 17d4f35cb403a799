#pragma once

#include <array>
#include <optional>

#include "rz_obl/rendition.h"
#include "toolkit/core/image.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// One plane, or a slab about it, through a volume. Everything in LPS millimetres.
struct PlaneRequest {
    /// Middle of the picture. Default: the middle of the volume.
    std::optional<Vec3> centre;
    /// Direction of view, from the viewer into the picture; any length.
    Vec3 normal{0, 0, 1};
    /// What points up in the picture; the part of it along the normal is dropped. Default: the patient's
    /// front where the view runs mostly along the body, else the head.
    std::optional<Vec3> up;
    /// Columns and rows. Default: as many as show the whole volume.
    std::optional<std::array<int, 2>> size;
    /// Side of the square pixels in mm. Default: the finest spacing of the volume, or with a given size
    /// whatever shows the whole volume.
    std::optional<double> spacing;
    /// Whole thickness of the slab in mm; 0 for a plane. Sampled in steps of one sample along the volume axis
    /// nearest the normal. A slab is drawn where both of its faces lie inside the volume.
    double thickness = 0;
    RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average;
    RZ_OBL_RenditionQuality quality = RZ_OBL_RenditionQuality::Linear;
    /// Value (after rescale) of pixels outside the volume. Default: the volume's padding value, or else its
    /// least value.
    std::optional<double> background;
};

enum class Preset { Axial, Coronal, Sagittal, Oblique };

/// A request that looks as radiologists expect: axial from the feet with the front up, coronal from the front
/// and sagittal from the patient's left with the head up; the patient's right is on the left of axial and
/// coronal pictures, the front on the left of sagittal ones. Oblique is a coronal view turned 35 degrees to
/// the patient's left and tipped 25 degrees.
PlaneRequest preset_request(Preset preset);

/// Fills in the defaults and checks everything: throws Error with one sentence. The result has every optional
/// set, normal and up at right angles and of length 1. Looks at every sample where the background defaults to
/// the least value.
PlaneRequest resolve(const Volume& volume, const PlaneRequest& request);

/// Draws it. Throws Error, also where the picture would not meet the volume at all. Threads: free; a volume
/// may be drawn by several at once.
Image reformat(const Volume& volume, const PlaneRequest& request);

/// The same for a request that came from resolve() for this volume; one that does not meet the volume gives a
/// picture of background, with lastColumn below firstColumn.
Image draw(const Volume& volume, const PlaneRequest& resolved);

}  // namespace rzobl
