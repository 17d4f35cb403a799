#include "lower/definitions/matrix.h"
#include "lower/settings/whiteboard.h"
#include "rz_obl/RZ_OBLplanar/rz_obl_planar.h"
#include "rz_obl/RZ_OBLplanar/state/module_state.h"

void RZ_InitOblique() {
    RZ_GetInterTab(3, 12);
}

void RZ_InitCubicOblique() {
    using rz_obl::OvershootClamp;
    const RZ_Whiteboard& settings = RZ_Whiteboard::Instance();
    OvershootClamp = settings.GetIntVal("truncate_interpolation_overshoot", OvershootClamp ? 1 : 0) != 0;
}

void RZ_SetStretchedMethod(int method) {
    rz_obl::stretchedMethod = method;
}
