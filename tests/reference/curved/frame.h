#pragma once

#include <vector>

#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// Range of t for which p + t d lies in the unit cube, shrunk by a margin and made ready for truncation.
struct EntryExit {
    float lo;
    float hi;
};
EntryExit box_entry_exit(const RZ_3Coord& d, const RZ_3Coord& p, rz_test::Branches& branches);

/// Whether a point of normalised space lies outside the unit cube, by more than a millionth.
bool lies_outside(const RZ_3Coord& p);

/// min and max keep their first argument when the other is not a number.
float least(float a, float b);
float greatest(float a, float b);

/// The 33 arguments of a curved image, by name.
struct CurvedCall {
    RZ_Slice** slices = nullptr;
    const RZ_Box* ignoredBox = nullptr;
    const RZ_BoxParams* frameParams = nullptr;
    const RZ_Box* volumeBox = nullptr;
    const RZ_BoxParams* cropParams = nullptr;
    RZ_Spline* spline = nullptr;
    void* raster = nullptr;
    const RZ_Box* imageBox = nullptr;
    RZ_CurveProjectData* curveData = nullptr;
    int* firstRow = nullptr;
    int* lastRow = nullptr;
    int firstSlice = 0;
    int lastSlice = 0;
    RZ_OBL_RenditionQuality quality = RZ_OBL_RenditionQuality::Linear;
    bool localFrames = false;
    float maxWidth = 0.0F;
    float thickness = 0.0F;
    int requireInside = 0;
    int columnOffset = 0;
    int* columnBounds = nullptr;
    RZ_3Coord* cornerPoint = nullptr;
    float* startFraction = nullptr;
    float* endFraction = nullptr;
    RZ_OBL_RenditionType type = RZ_OBL_RenditionType::Average;
    bool* transposedIn = nullptr;
    int* signIn = nullptr;
    bool* transposedOut = nullptr;
    int* signOut = nullptr;
    float* alongRemainder = nullptr;
    float* crossRemainder = nullptr;
    int* crossFirst = nullptr;
    float rangeStart = 0.0F;
    float rangeEnd = 1.0F;
};

/// The curved image, one statement per step. services (may be null): the curve indices at which the worker
/// looks whether it was cancelled.
int calc_curved(const CurvedCall& call, rz_test::Branches& branches, std::vector<int>* services = nullptr);

}  // namespace rz_reference
