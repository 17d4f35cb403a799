#include "toolkit/io/read_stack.h"

#include <algorithm>
#include <cmath>

#include "toolkit/core/vector.h"
#include "toolkit/io/read_text.h"

namespace rzobl {

namespace {

// Positions come as decimal text: what a hundredth of the step or of a millimetre explains is rounding.
constexpr double kRoundingMm = 0.01;
constexpr double kRoundingSteps = 0.01;
// Up to here planes are taken as even, but said to be off.
constexpr double kRemarkSteps = 0.1;
// Sideways, in samples over the whole stack.
constexpr double kShiftSamples = 0.25;
// A regridded stack of real slices grows a few times at most; positions of damaged files lie anywhere.
constexpr int kGrowth = 64;

void check_frame(const Stack& stack, const std::string& name) {
    const double skew = std::abs(dot(stack.alongRow, stack.alongColumn));
    if (!(std::abs(length(stack.alongRow) - 1) < 1e-3 && std::abs(length(stack.alongColumn) - 1) < 1e-3))
        refuse("%s: the directions of rows and columns are not of length 1", name.c_str());
    if (!(skew < 1e-3))
        refuse("%s: rows and columns are not at right angles (their cosine is %.4f)", name.c_str(), skew);
    if (!(stack.spacing[0] > 0 && stack.spacing[1] > 0 && std::isfinite(stack.spacing[0] * stack.spacing[1])))
        refuse("%s: the spacing of samples is %g x %g mm, which must be above 0", name.c_str(),
               stack.spacing[0], stack.spacing[1]);
    for (const Vec3& position : stack.positions) {
        if (!is_finite(position)) refuse("%s: the position of a slice is not a number", name.c_str());
    }
}

double middle_of(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Sets step, and fault or remark where distances differ.
void judge_gaps(StackShape& shape, const std::vector<double>& gaps) {
    const double total = shape.depth.back();
    const double even = total / static_cast<double>(gaps.size());
    double off = 0;
    for (std::size_t k = 0; k < shape.depth.size(); ++k)
        off = std::max(off, std::abs(shape.depth[k] - even * static_cast<double>(k)));
    shape.step = even;
    if (off <= std::max(kRoundingMm, kRoundingSteps * even)) return;

    const auto [least, greatest] = std::minmax_element(gaps.begin(), gaps.end());
    if (off <= kRemarkSteps * even && *greatest <= (1 + 2 * kRemarkSteps) * *least) {
        shape.remark = sentence(
            "the distance between slices varies from %.4g to %.4g mm; an even %.4g mm is used, which moves "
            "no "
            "slice by more than %.2g mm",
            *least, *greatest, even, off);
        return;
    }

    const double common = middle_of(gaps);
    long long missing = 0;
    std::size_t first = gaps.size();
    bool multiples = true;
    for (std::size_t k = 0; k < gaps.size(); ++k) {
        const double times = std::round(gaps[k] / common);
        multiples = multiples && times >= 1 && std::abs(gaps[k] - times * common) <= kRemarkSteps * common;
        if (times > 1 && first == gaps.size()) first = k;
        missing += static_cast<long long>(std::min(times, 1e6)) - 1;
    }
    if (multiples && missing > 0) {
        shape.step = total / static_cast<double>(static_cast<long long>(gaps.size()) + missing);
        shape.fault = sentence(
            "%s missing: slices %zu and %zu of %zu are %.4g mm apart where the common distance is %.4g mm",
            missing == 1 ? "a slice is" : sentence("%lld slices are", missing).c_str(), first + 1, first + 2,
            shape.depth.size(), gaps[first], common);
        return;
    }
    // Planes as close as the closest slices, so that nothing is lost, unless two of them almost touch.
    shape.step = std::max(*least, common / 4);
    shape.fault = sentence(
        "the distance between slices is uneven, from %.4g to %.4g mm (slices %td and %td of %zu)", *least,
        *greatest, greatest - gaps.begin() + 1, greatest - gaps.begin() + 2, shape.depth.size());
}

void judge_shift(const Stack& stack, StackShape& shape) {
    double across = 0, samples = 0;
    for (const auto& shift : shape.shift) {
        across = std::max(across, std::hypot(shift[0], shift[1]));
        samples =
            std::max({samples, std::abs(shift[0]) / stack.spacing[0], std::abs(shift[1]) / stack.spacing[1]});
    }
    if (samples <= kShiftSamples) return;
    const auto& last = shape.shift.back();
    const double lean = std::atan2(std::hypot(last[0], last[1]), shape.depth.back()) * 180 / M_PI;
    const std::string tilt = sentence(
        "the stack is tilted: the step between slices leans %.1f degrees from their normal (planes %.4g mm "
        "apart "
        "drift by %.1f mm over %zu slices)",
        lean, shape.step, across, shape.depth.size());
    shape.fault = shape.fault.empty() ? tilt : tilt + ", and " + shape.fault;
}

}  // namespace

StackShape measure(const Stack& stack, const std::string& name) {
    check_frame(stack, name);
    StackShape shape;
    const Vec3 normal = cross(stack.alongRow, stack.alongColumn);
    const Vec3& first = stack.positions.front();
    const double way = dot(added(stack.positions.back(), scaled(first, -1)), normal) < 0 ? -1 : 1;
    shape.normal = scaled(normal, way / length(normal));

    std::vector<double> gaps;
    for (const Vec3& position : stack.positions) {
        const Vec3 offset = added(position, scaled(first, -1));
        shape.depth.push_back(dot(offset, shape.normal));
        shape.shift.push_back({dot(offset, stack.alongRow), dot(offset, stack.alongColumn)});
        if (shape.depth.size() > 1) gaps.push_back(shape.depth.back() - shape.depth[shape.depth.size() - 2]);
    }
    if (gaps.empty()) {
        if (stack.singleDepth > 0)
            shape.step = stack.singleDepth;
        else
            shape.remark = "a single slice, taken as 1 mm deep";
        return shape;
    }
    const auto least = std::min_element(gaps.begin(), gaps.end());
    if (!(*least > 1e-4))
        refuse("%s: slices %td and %td of %zu lie in the same plane or out of order (%.4g mm apart)",
               name.c_str(), least - gaps.begin() + 1, least - gaps.begin() + 2, shape.depth.size(), *least);
    judge_gaps(shape, gaps);
    judge_shift(stack, shape);
    return shape;
}

Grid even_grid(const Stack& stack, const StackShape& shape) {
    Grid grid;
    grid.size = {stack.columns, stack.rows, static_cast<int>(stack.positions.size())};
    grid.spacing = {stack.spacing[0], stack.spacing[1], shape.step};
    grid.origin = stack.positions.front();
    grid.direction = {stack.alongRow, stack.alongColumn, shape.normal};
    return grid;
}

Grid enclosing_grid(const Stack& stack, const StackShape& shape, const std::string& name) {
    Grid grid = even_grid(stack, shape);
    const std::array<int, 2> samples{stack.columns, stack.rows};
    for (std::size_t axis = 0; axis < 2; ++axis) {
        double least = 0, greatest = 0;
        for (const auto& shift : shape.shift) {
            least = std::min(least, shift[axis] / stack.spacing[axis]);
            greatest = std::max(greatest, shift[axis] / stack.spacing[axis]);
        }
        // A sample that lies on a line up to rounding needs no line of its own.
        const double before = std::floor(least + 1e-3), after = std::ceil(greatest - 1e-3);
        const double size = samples[axis] + after - before;
        if (!(size <= 32767))
            refuse("%s: regridding would need a width or height of %.0f samples", name.c_str(), size);
        grid.size[axis] = static_cast<int>(size);
        grid.origin = added(grid.origin, scaled(grid.direction[axis], before * grid.spacing[axis]));
    }
    const double planes = std::floor(shape.depth.back() / shape.step + 1e-3) + 1;
    if (!(planes <= 32767)) refuse("%s: regridding would need %.0f planes", name.c_str(), planes);
    grid.size[2] = static_cast<int>(planes);
    const double before = 1.0 * stack.columns * stack.rows * static_cast<double>(stack.positions.size());
    if (1.0 * grid.size[0] * grid.size[1] * grid.size[2] > kGrowth * before)
        refuse("%s: regridding would need %d x %d x %d samples, more than %d times as many as there are",
               name.c_str(), grid.size[0], grid.size[1], grid.size[2], kGrowth);
    return grid;
}

}  // namespace rzobl
