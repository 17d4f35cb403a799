#include "lower/settings/whiteboard.h"
