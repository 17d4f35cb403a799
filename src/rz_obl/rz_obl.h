#pragma once

// Every exported function of RZ_Obl.
#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/rz_oblique/rz_oblique.h"
#include "rz_obl/volume_services/volume_services.h"
