#pragma once

#include <opencv2/core/version.hpp>
#include <string>

namespace rz_bench {

inline std::string opencv_name() {
    return "OpenCV " CV_VERSION;
}

}  // namespace rz_bench
