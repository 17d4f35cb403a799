#include "bench/harness/peers_itk.h"

#include <itkVersion.h>

namespace rz_bench {

std::string itk_name() {
    return std::string("ITK ") + itk::Version::GetITKVersion();
}

}  // namespace rz_bench
