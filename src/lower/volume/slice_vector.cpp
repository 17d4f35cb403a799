#include "lower/volume/slice_vector.h"
