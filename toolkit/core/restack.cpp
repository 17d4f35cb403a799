#include "toolkit/core/restack.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <string>

#include "rz_obl/volume_services/volume_services.h"
#include "toolkit/core/between_slices.h"
#include "toolkit/core/error.h"
#include "toolkit/core/memory.h"
#include "toolkit/core/text.h"
#include "toolkit/core/vector.h"

namespace rzobl {

namespace {

constexpr int kMostSlices = 32767;
/// Slices this near to a stored one, in slice spacings, are that one.
constexpr double kSamePlace = 1e-6;

void check_spacing(double spacing) {
    if (!(spacing > 0) || !std::isfinite(spacing))
        throw Error("the spacing must be a positive number of millimetres, not " + text(spacing));
}

/// A number of slices that a volume can have.
int slices_of(double count, double spacing) {
    if (!(count <= kMostSlices))
        throw Error("slices " + text(spacing) + " mm apart would be " + text(count) +
                    ", and a volume has at most " + std::to_string(kMostSlices) + "; give a larger spacing");
    return static_cast<int>(count);
}

SliceRange checked_range(const Volume& volume, double spacing, const std::optional<SliceRange>& asked) {
    const int slices = volume.grid().size[2];
    const SliceRange range = asked.value_or(SliceRange{0, slices - 1});
    check_spacing(spacing);
    check(range, slices, "the range");
    if (range.count() < 2) throw Error("a single slice cannot be restacked; there is nothing between slices");
    const double depth = (range.count() - 1) * volume.grid().spacing[2];
    if (spacing > depth * (1 + kSamePlace))
        throw Error("a spacing of " + text(spacing) + " mm is more than the " + text(depth) +
                    " mm from the first slice to the last");
    return range;
}

std::size_t raster_bytes(const Volume& volume) {
    return static_cast<std::size_t>(volume.grid().size[0]) * static_cast<std::size_t>(volume.grid().size[1]) *
           bytesPerSample(volume.kind());
}

void copy_meaning(const Volume& from, Volume& to) {
    to.isSigned = from.isSigned;
    to.bitDepth = from.bitDepth;
    to.rescale = from.rescale;
    to.padding = from.padding;
}

/// The volume as the library holds one, over the same samples.
std::unique_ptr<RZ_VolData> library_volume(const Volume& volume) {
    RZ_Box box = volume.grid().box();
    auto data = std::make_unique<RZ_VolData>(&box, 0);
    for (int k = 0; k < volume.grid().size[2]; ++k)
        data->SetSlice(new RZ_ShortSlice(static_cast<short*>(volume.raster(k)),
                                         {volume.grid().size[0], volume.grid().size[1], 16, 1}),
                       k);
    return data;
}

}  // namespace

Volume restack(const Volume& volume, double spacing, const std::optional<SliceRange>& asked,
               const Report& progress) {
    volume.grid().check();
    const SliceRange range = checked_range(volume, spacing, asked);
    const double step = spacing / volume.grid().spacing[2];
    BetweenSlices between(volume);

    Grid grid = volume.grid();
    grid.size[2] = slices_of(std::floor((range.count() - 1) / step + kSamePlace) + 1, spacing);
    grid.spacing[2] = spacing;
    grid.origin = volume.grid().toPhysical({0, 0, static_cast<double>(range.first)});
    Volume stack = Volume::allocate(grid, volume.kind());
    copy_meaning(volume, stack);
    for (int i = 0; i < grid.size[2]; ++i) {
        const double index = range.first + i * step;
        const double nearest = std::round(index);
        if (std::abs(index - nearest) <= kSamePlace)
            std::memcpy(stack.raster(i), volume.raster(static_cast<int>(nearest)), raster_bytes(volume));
        else
            between.draw(index, stack.raster(i));
        report(progress, i + 1, grid.size[2]);
    }
    return stack;
}

Volume restack_shared(const Volume& volume, double spacing, const std::optional<SliceRange>& asked) {
    volume.grid().check();
    if (volume.kind() != SampleKind::Int16)
        throw Error("stored slices can be shared in 16-bit volumes only; restack this one exactly");
    const SliceRange range = checked_range(volume, spacing, asked);
    const double depth = range.count() * volume.grid().spacing[2];
    const int most = slices_of(std::floor(depth / spacing), spacing);
    check_memory(static_cast<double>(raster_bytes(volume)) * most, "the volume");

    const std::unique_ptr<RZ_VolData> source = library_volume(volume);
    const std::unique_ptr<RZ_VolData> result(
        RZ_OBLUtils::CalcObliqueVoldata(*source, static_cast<unsigned>(range.first),
                                        static_cast<unsigned>(range.last), static_cast<float>(spacing)));
    if (!result) throw Error("the memory for " + std::to_string(most) + " slices cannot be had");
    const int slices = result->GetBox()->zDim;

    Grid grid = volume.grid();
    grid.size[2] = slices;
    grid.spacing[2] = depth / slices;
    grid.origin = volume.grid().toPhysical(
        {0, 0, range.first - 0.5 + 0.5 * grid.spacing[2] / volume.grid().spacing[2]});
    Volume stack = Volume::allocate(grid, SampleKind::Int16);
    copy_meaning(volume, stack);
    for (int i = 0; i < slices; ++i)
        std::memcpy(stack.raster(i), result->GetSlice(static_cast<unsigned>(i))->MappedRaster(),
                    raster_bytes(volume));
    return stack;
}

Volume oblique_stack(const Volume& volume, const PlaneRequest& asked, double spacing,
                     const Report& progress) {
    check_spacing(spacing);
    PlaneRequest plane = asked;
    plane.centre.reset();
    plane = resolve(volume, plane);
    const Grid& source = volume.grid();
    double depth = 0;
    for (std::size_t k = 0; k < 3; ++k)
        depth += source.spacing[k] * source.size[k] * std::abs(dot(source.direction[k], plane.normal));
    if (spacing > depth)
        throw Error("a spacing of " + text(spacing) + " mm is more than the " + text(depth) +
                    " mm that the volume measures along " + text(plane.normal));
    // A hair of slack, so that a stack along the volume's own slices has as many.
    const int slices = slices_of(std::ceil(depth / spacing - 1e-3), spacing);
    check_memory(static_cast<double>((*plane.size)[0]) * (*plane.size)[1] * slices *
                     static_cast<double>(bytesPerSample(volume.kind())),
                 "the stack of " + std::to_string(slices) + " pictures");

    const Vec3 middle = *plane.centre;
    std::optional<Volume> stack;
    for (int i = 0; i < slices; ++i) {
        plane.centre = added(middle, scaled(plane.normal, (i - 0.5 * (slices - 1)) * spacing));
        const Image image = draw(volume, plane);
        if (!stack) {
            Grid grid = image.grid;
            grid.size[2] = slices;
            grid.spacing[2] = spacing;
            stack = Volume::allocate(grid, volume.kind());
            copy_meaning(volume, *stack);
            if (volume.kind() != SampleKind::Rgb) stack->padding = image.background;
        }
        std::memcpy(stack->raster(i), image.samples.data(), image.samples.size());
        report(progress, i + 1, slices);
    }
    return *stack;
}

}  // namespace rzobl
