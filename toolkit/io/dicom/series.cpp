#include "toolkit/io/dicom/series.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "toolkit/core/vector.h"
#include "toolkit/io/read_text.h"

namespace rzobl::dicom {

namespace {

// Cosines and spacings are decimals of the files; more than this is another series of planes.
constexpr double kSame = 1e-3;

bool same_direction(const Vec3& a, const Vec3& b) {
    return length(added(a, scaled(b, -1))) < kSame;
}

bool same_spacing(double a, double b) {
    return std::abs(a - b) <= kSame * std::max(a, b);
}

bool belongs(const Frame& frame, const Frame& first) {
    return frame.layout.rows == first.layout.rows && frame.layout.columns == first.layout.columns &&
           same_spacing(frame.spacing[0], first.spacing[0]) &&
           same_spacing(frame.spacing[1], first.spacing[1]) &&
           same_direction(frame.alongRow, first.alongRow) &&
           same_direction(frame.alongColumn, first.alongColumn);
}

void name_all(std::vector<Series>& all) {
    std::set<std::string> numbers;
    for (const Series& series : all) numbers.insert(series.facts.number);
    const bool telling = numbers.size() == all.size() && numbers.count("") == 0;
    for (std::size_t i = 0; i < all.size(); ++i)
        all[i].name = telling ? all[i].facts.number : std::to_string(i + 1);
}

std::string list(const std::vector<Series>& all) {
    std::string text;
    for (std::size_t i = 0; i < all.size() && i < 20; ++i) text += (i == 0 ? "" : "; ") + describe(all[i]);
    return all.size() > 20 ? text + "; ..." : text;
}

double depth(const Frame& frame, const Vec3& normal) {
    return dot(frame.position, normal);
}

}  // namespace

std::vector<Series> group(const std::vector<Header>& headers) {
    std::vector<Series> all;
    for (const Header& header : headers) {
        for (const Frame& frame : header.frames) {
            if (!frame.placed) continue;
            auto home = std::find_if(all.begin(), all.end(), [&](const Series& series) {
                return series.facts.uid == header.series.uid && belongs(frame, series.frames.front());
            });
            if (home == all.end()) home = all.insert(home, Series{header.series, {}, {}});
            home->frames.push_back(frame);
            home->facts.hasLookupTable = home->facts.hasLookupTable || header.series.hasLookupTable;
        }
    }
    name_all(all);
    return all;
}

std::string describe(const Series& series) {
    const PixelLayout& layout = series.frames.front().layout;
    return sentence(
        "number %s '%s', %s, %s of %d x %d, UID %s", printable(series.name).c_str(),
        printable(series.facts.description).c_str(),
        series.facts.modality.empty() ? "modality unknown" : printable(series.facts.modality).c_str(),
        counted(series.frames.size(), "slice").c_str(), layout.columns, layout.rows,
        printable(series.facts.uid).c_str());
}

Series choose(const std::vector<Series>& all, const std::string& wanted, const std::string& input) {
    std::vector<Series> found;
    for (const Series& series : all) {
        if (wanted.empty() || wanted == series.name || wanted == series.facts.uid) found.push_back(series);
    }
    if (found.size() == 1) return found.front();
    if (found.empty())
        refuse("%s holds no series '%s', only %s", input.c_str(), printable(wanted).c_str(),
               list(all).c_str());
    refuse("%s holds %zu series%s; choose one by its number (--series): %s", input.c_str(), found.size(),
           wanted.empty() ? "" : " of that name", list(found).c_str());
}

Stack sort_slices(Series& series, const std::string& input, std::vector<std::string>& warnings) {
    std::vector<Frame>& frames = series.frames;
    const Vec3 normal = cross(frames.front().alongRow, frames.front().alongColumn);
    std::stable_sort(frames.begin(), frames.end(),
                     [&](const Frame& a, const Frame& b) { return depth(a, normal) < depth(b, normal); });

    std::vector<Frame> kept;
    std::size_t copies = 0;
    std::set<std::pair<std::string, int>> seen;
    for (const Frame& frame : frames) {
        if (!frame.instance.empty() && !seen.emplace(frame.instance, frame.index).second) {
            ++copies;
            continue;
        }
        if (!kept.empty() && depth(frame, normal) - depth(kept.back(), normal) < 1e-3)
            refuse("%s: series %s holds more than one volume: %s and %s lie in the same plane", input.c_str(),
                   printable(series.name).c_str(), kept.back().file.filename().c_str(),
                   frame.file.filename().c_str());
        if (!kept.empty() && !(frame.layout == kept.front().layout))
            refuse("%s: the pictures of %s and %s are stored in different ways (bits, sign or colours)",
                   input.c_str(), kept.front().file.filename().c_str(), frame.file.filename().c_str());
        kept.push_back(frame);
    }
    if (copies > 0)
        warnings.push_back(sentence("%s: second copies of %s were left out", input.c_str(),
                                    counted(copies, "slice").c_str()));
    frames = std::move(kept);

    Stack stack;
    const Frame& first = frames.front();
    stack.columns = first.layout.columns;
    stack.rows = first.layout.rows;
    stack.spacing = first.spacing;
    stack.alongRow = first.alongRow;
    stack.alongColumn = first.alongColumn;
    for (const Frame& frame : frames) stack.positions.push_back(frame.position);
    return stack;
}

}  // namespace rzobl::dicom
