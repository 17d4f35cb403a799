#pragma once

#include "lower/log/log.h"

namespace rz_obl {

/// Whether a trace line of an entry is wanted; the text follows only then.
inline bool log_wanted(const char* function, int line) {
    static constexpr char kLogFile[] = "RZ_OBLplanar";  // the log keeps the address until the text comes
    constexpr int kTrace = 7;
    constexpr int kCategory = 208;
    constexpr int kFlag = 1;
    return JrnGLog.StoreParams(kLogFile, function, line, kTrace, kCategory, kFlag) != 0;
}

}  // namespace rz_obl
