#pragma once

#include "lower/export.h"

// Thread-safe: no state.

/// Copies bytes; the areas must not overlap. A count of 0 or less copies nothing.
RZ_LOWER_API void RZ_Memcpy(void* destination, void* source, long long bytes);

/// Fills count 16-bit words with value. A count of 0 or less fills nothing.
RZ_LOWER_API void RZ_FillMemWord(unsigned short* destination, long long count, unsigned short value);
