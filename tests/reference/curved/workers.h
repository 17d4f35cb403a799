#pragma once

#include <vector>

#include "lower/definitions/coord.h"
#include "lower/geometry/box.h"
#include "tests/support/branches.h"

namespace rz_reference {

/// A span of cross indices: first <= j < end is drawn.
struct SweepSpan {
    int first = 0;
    int end = -1;
};

/// What a curve worker receives. Pointers that are "addressed by curve index" point at that of firstSample.
struct CurveWorkerArguments {
    int rowStride;
    int halfSamples;
    const SweepSpan* spans;
    float physicalToIndex[4][4];
    float crossStep[3];
    float thickStep[3];
    /// Entry 0 is the raster of slice -1.
    const void* const* rasters;
    void* raster;
    int sourceWidth;
    bool transposed;
    int firstSample;
    const RZ_3Coord* points;
    RZ_3Coord d;
    short from;
    short to;
    short imagePosition;
    short rowShift;
    /// May be null.
    const RZ_3Coord* directions;
    const RZ_3Coord* normals;
    float thickness;
    const RZ_Box* volumeBox;
    /// See calc_curved.
    std::vector<int>* services;
};

enum class Combination { kMean, kMaximum, kMinimum };

/// 8-bit samples are unsigned, 16-bit ones signed.
void curve_worker_8(const CurveWorkerArguments& arguments, Combination how, rz_test::Branches& branches);
void curve_worker_16(const CurveWorkerArguments& arguments, Combination how, rz_test::Branches& branches);

/// A component that is not below 512 in absolute value becomes -512 or 512.
float limited(float component);

}  // namespace rz_reference
