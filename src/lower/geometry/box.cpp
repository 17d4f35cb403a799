#include "lower/geometry/box.h"
