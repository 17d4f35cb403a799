#pragma once

#include "lower/export.h"

/// Copies bytes; the areas must not overlap.
RZ_LOWER_API void RZ_Memcpy(void* destination, void* source, long long bytes);

/// Fills count 16-bit words with value.
RZ_LOWER_API void RZ_FillMemWord(unsigned short* destination, long long count, unsigned short value);
