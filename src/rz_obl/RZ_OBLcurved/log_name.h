#pragma once

namespace rz_obl {

/// The module's name in the log; never a path.
constexpr char kCurvedLogFile[] = "RZ_OBLcurved";

}  // namespace rz_obl
