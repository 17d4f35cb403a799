#pragma once

#include "lower/log/log.h"

namespace rz_obl {

/// The module's name in the log; never a path.
constexpr char kObliqueLogFile[] = "rz_oblique";

/// Announces a tracing line; true if it is wanted.
inline bool wants_trace(const char* function, int line) {
    return JrnGLog.StoreParams(kObliqueLogFile, function, line, 7, 208, 1) != 0;
}

}  // namespace rz_obl
