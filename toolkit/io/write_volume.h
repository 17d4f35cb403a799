#pragma once

#include <filesystem>

#include "toolkit/core/image.h"
#include "toolkit/core/resample.h"
#include "toolkit/core/volume.h"

// Every writer leaves a whole file or none, replaces a file only if overwrite is true, and throws Error.

namespace rzobl {

enum class OutputFormat { Png, MetaImage, Nrrd, Nifti };

/// By the ending: .png, .mha, .nrrd, .nii or .nii.gz, in any case. Throws Error for any other.
OutputFormat output_format(const std::filesystem::path& path);

/// An 8-bit grey or RGB picture as a person looks at it, with the size of its pixels.
void write_png(const Image& image, const Window& window, const std::filesystem::path& path, bool overwrite);

/// MetaImage, NRRD or NIfTI (not PNG) with the stored samples, their sign and the geometry. The rescale
/// stands where readers look for it: ElementToIntensityFunctionSlope and ...Offset in MetaImage, the
/// key/value pairs rescale_slope and rescale_intercept in NRRD, scl_slope and scl_inter in NIfTI. Colours are
/// written as red, green, blue.
void write_volume(const Volume& volume, const std::filesystem::path& path, bool overwrite);
/// The same for a picture, as a volume of one slice.
void write_volume(const Image& image, const std::filesystem::path& path, bool overwrite);
/// Values of single precision, with no rescale.
void write_volume(const FloatVolume& volume, const std::filesystem::path& path, bool overwrite);

}  // namespace rzobl
