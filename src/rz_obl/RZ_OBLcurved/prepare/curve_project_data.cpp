#include <cstring>

#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace {

std::size_t room(int sampleCount) {
    return 2 * static_cast<std::size_t>(sampleCount) + 1;
}

void copy(RZ_3Coord* to, const RZ_3Coord* from, std::size_t bytes) {
    if (to != nullptr && from != nullptr) std::memmove(static_cast<void*>(to), from, bytes);
}

}  // namespace

RZ_CurveProjectData::~RZ_CurveProjectData() {
    delete[] points;
    delete[] directions;
    delete[] normals;
}

RZ_CurveProjectData& RZ_CurveProjectData::operator=(const RZ_CurveProjectData& other) {
    if (other.sampleCount > sampleCount) {
        const std::size_t wanted = room(other.sampleCount);
        sampleCount = 0;  // while an array may be lacking
        delete[] points;
        points = nullptr;
        points = new RZ_3Coord[wanted];
        delete[] directions;
        delete[] normals;
        // required: an array that other lacks keeps its released address; dormant, the three are made
        // together
        if (other.directions != nullptr) directions = nullptr;
        if (other.normals != nullptr) normals = nullptr;
        if (other.directions != nullptr) directions = new RZ_3Coord[wanted];
        if (other.normals != nullptr) normals = new RZ_3Coord[wanted];
    }
    sampleCount = other.sampleCount;
    firstSample = other.firstSample;
    lastSample = other.lastSample;
    curveColumns = other.curveColumns;
    viewStart = other.viewStart;
    viewEnd = other.viewEnd;
    const std::size_t bytes = room(sampleCount) * sizeof(RZ_3Coord);
    copy(points, other.points, bytes);
    copy(directions, other.directions, bytes);
    copy(normals, other.normals, bytes);
    return *this;
}
