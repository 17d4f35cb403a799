#include "lower/definitions/matrix.h"
