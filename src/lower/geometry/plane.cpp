#include "lower/geometry/plane.h"
