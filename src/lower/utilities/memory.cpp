#include "lower/utilities/memory.h"

#include <algorithm>
#include <cstring>

void RZ_Memcpy(void* destination, void* source, long long bytes) {
    if (bytes > 0) std::memcpy(destination, source, static_cast<std::size_t>(bytes));
}

void RZ_FillMemWord(unsigned short* destination, long long count, unsigned short value) {
    if (count > 0) std::fill_n(destination, count, value);
}
