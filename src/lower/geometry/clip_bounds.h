#pragma once

#include "lower/export.h"

/// Narrows row spans by a half plane. spans holds height pairs (first column, last column), 16-bit signed,
/// inclusive. Afterwards every integer column x left in the pair of row y satisfies a x + b y <= c, to within
/// 0.01 columns. Only narrows: first never falls, last never rises. An emptied row reads as first >= last.
/// Where a is 0 a row stays as it is or is emptied. A NaN coefficient satisfies nothing. Thread-safe on
/// disjoint spans.
RZ_LOWER_API void RZ_update_clip_bounds(float a, float b, float c, int width, int height, short* spans);
