#include "lower/pager/mem_pager.h"
