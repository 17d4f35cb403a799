#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "toolkit/core/grid.h"

namespace rzobl {

/// Points of a curve in LPS millimetres, from a file of that name or else from a list "x,y,z;x,y,z;...".
///
/// Files, told apart by their content:
/// - Text tables, one point a line, separated by commas, semicolons, tabs or blanks. A first line that names
///   columns x, y, z (or l, p, s; or r, a, s) says which they are; without one a line is three numbers.
///   Lines from # on are comments; "# columns = ..." names the columns, "# CoordinateSystem = ..." is LPS or
///   RAS (also 1 and 0), as in markup tables, which are RAS if they say nothing.
/// - JSON: an array of [x, y, z] or of {"x": ..., "y": ..., "z": ...}; an object that has one under "points",
///   and perhaps a "coordinateSystem"; or markups with "controlPoints".
/// RAS is turned to LPS. Throws Error with a sentence that names file and line or point.
std::vector<Vec3> read_points(const std::string& fileOrList);

namespace points {

/// The parts of the above; name is for sentences.
std::vector<Vec3> from_list(const std::string& list);
std::vector<Vec3> from_table(const std::string& text, const std::string& name);
std::vector<Vec3> from_json(const std::string& text, const std::string& name);

/// Whether a coordinate system, as files write it, is RAS rather than LPS; throws Error for any other.
bool is_ras(const std::string& system, const std::string& name);
void ras_to_lps(std::vector<Vec3>& points);

}  // namespace points

}  // namespace rzobl
