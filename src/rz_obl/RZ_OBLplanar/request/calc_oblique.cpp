#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
