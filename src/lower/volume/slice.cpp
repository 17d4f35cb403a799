#include "lower/volume/slice.h"
