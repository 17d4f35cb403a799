#include "rz_obl/RZ_OBLplanar/weights/cubic_weight_table.h"

#include <cstdlib>

namespace rz_obl {

CubicWeightTable::~CubicWeightTable() {
    std::free(weights);
    std::free(second);
}

}  // namespace rz_obl
