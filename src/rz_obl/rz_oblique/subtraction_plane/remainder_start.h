#pragma once

namespace rz_obl {

/// First sample behind the whole blocks of an operation with a remainder; one to `block` samples remain.
static inline int remainder_start(int columns, int block) {
    return columns > block ? (columns - 1) / block * block : 0;
}

}  // namespace rz_obl
