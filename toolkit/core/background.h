#pragma once

#include "toolkit/core/volume.h"

namespace rzobl {

/// Value (after rescale) of pixels outside a volume unless somebody asks for another: its padding value, or
/// else the least value of its samples, or black for colours.
double default_background(const Volume& volume);

/// The stored sample of a background value, which for colours is a grey. Throws Error if no sample can hold
/// it.
int stored_background(const Volume& volume, double value);

}  // namespace rzobl
