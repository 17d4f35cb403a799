#include "lower/geometry/clip_bounds.h"
