#include <cstring>

#include "rz_obl/RZ_OBLcurved/rz_obl_curved.h"

namespace {

std::size_t room(int sampleCount) {
    return 2 * static_cast<std::size_t>(sampleCount) + 1;
}

void make_anew(RZ_3Coord*& array, std::size_t wanted) {
    delete[] array;
    array = nullptr;
    array = new RZ_3Coord[wanted];
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
        make_anew(points, wanted);
        // required: an array that other lacks does not become null. It grows with the rest, since an address
        // that was only released would be written and released again.
        if (directions != nullptr || other.directions != nullptr) make_anew(directions, wanted);
        if (normals != nullptr || other.normals != nullptr) make_anew(normals, wanted);
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
