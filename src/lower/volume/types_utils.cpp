#include "lower/volume/types_utils.h"
