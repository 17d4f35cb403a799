#include "lower/log/log.h"
