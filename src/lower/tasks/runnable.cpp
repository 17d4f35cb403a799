#include "lower/tasks/runnable.h"
