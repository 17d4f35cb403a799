#include "lower/geometry/box_params.h"
