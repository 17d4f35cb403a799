#pragma once

#include <vector>

#include "toolkit/core/image.h"
#include "toolkit/core/plane_request.h"
#include "toolkit/core/volume.h"

namespace rzobl {

/// The plane that fits a curve best, with the whole volume on it, seen as radiologists expect: from the feet,
/// the front or the patient's left, whichever is nearest. A straight curve is seen from the front or, where
/// it runs that way, from the left. points: at equal distances along the curve, at least one.
PlaneRequest plane_of_curve(const Volume& volume, const std::vector<Vec3>& points);

/// A picture in windowed greys (as Rgb, a window of 127.5, 255 shows it) with a line through points drawn
/// over it, each at the pixel nearest to it: yellow at the start of the curve, red at its end.
Image mark_curve(const Image& image, const Window& window, const std::vector<Vec3>& points);

}  // namespace rzobl
