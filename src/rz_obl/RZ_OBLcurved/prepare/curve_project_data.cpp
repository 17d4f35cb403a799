#include <cstring>

#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace {

std::size_t room(int sampleCount) {
    return 2 * static_cast<std::size_t>(sampleCount) + 1;
}

}  // namespace

RZ_CurveProjectData::~RZ_CurveProjectData() {
    delete[] points;
    delete[] directions;
    delete[] normals;
}

RZ_CurveProjectData& RZ_CurveProjectData::operator=(const RZ_CurveProjectData& other) {
    if (other.sampleCount > sampleCount) {
        delete[] points;
        points = nullptr;
        points = new RZ_3Coord[room(other.sampleCount)];
        // required: an array that other lacks keeps its released address
        delete[] directions;
        delete[] normals;
        if (other.directions != nullptr) {
            directions = nullptr;
            directions = new RZ_3Coord[room(other.sampleCount)];
        }
        if (other.normals != nullptr) {
            normals = nullptr;
            normals = new RZ_3Coord[room(other.sampleCount)];
        }
    }
    sampleCount = other.sampleCount;
    firstSample = other.firstSample;
    lastSample = other.lastSample;
    curveColumns = other.curveColumns;
    viewStart = other.viewStart;
    viewEnd = other.viewEnd;
    const std::size_t bytes = room(sampleCount) * sizeof(RZ_3Coord);
    if (other.points != nullptr) std::memmove(static_cast<void*>(points), other.points, bytes);
    // required: the test is on the destination
    if (directions != nullptr) std::memmove(static_cast<void*>(directions), other.directions, bytes);
    if (normals != nullptr) std::memmove(static_cast<void*>(normals), other.normals, bytes);
    return *this;
}
