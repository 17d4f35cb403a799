#pragma once

#include <string>
#include <vector>

#include "toolkit/io/dicom/header.h"
#include "toolkit/io/read_stack.h"

namespace rzobl::dicom {

/// Pictures of one series, size, spacing and orientation.
struct Series {
    SeriesFacts facts;
    std::vector<Frame> frames;
    /// How a person names it: its series number where that tells the series apart, else its place in the
    /// list.
    std::string name;
};

/// Groups the pictures that say where they lie, in the order of their first files.
std::vector<Series> group(const std::vector<Header>& headers);

/// "number 3 'HEAD 1.0 H40s', CT, 140 slices of 512 x 512, UID 1.2.3".
std::string describe(const Series& series);

/// The series that `wanted` names by number or UID. Throws Error, listing all, if there is none or more than
/// one.
Series choose(const std::vector<Series>& all, const std::string& wanted, const std::string& input);

/// Sorts along the normal and drops second copies of a picture (told in warnings). Throws Error for pictures
/// that lie in the same plane or are stored in different ways.
Stack sort_slices(Series& series, const std::string& input, std::vector<std::string>& warnings);

}  // namespace rzobl::dicom
