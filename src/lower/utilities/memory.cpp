#include "lower/utilities/memory.h"
