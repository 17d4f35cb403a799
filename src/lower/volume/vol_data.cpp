#include "lower/volume/vol_data.h"
