#pragma once

#include <xmmintrin.h>

// g++ may take a function that only prefetches for one without effect and drop its calls before it inlines
// them. So every function on the way to a prefetch that does nothing else is always_inline.

namespace rz_obl {

/// Asks for the cache line of an address, which need not be readable.
[[gnu::always_inline]] static inline void prefetch(const void* address) {
    _mm_prefetch(static_cast<const char*>(address), _MM_HINT_T0);
}

}  // namespace rz_obl
