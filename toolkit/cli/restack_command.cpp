#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/cli/progress_bar.h"
#include "toolkit/cli/slice_arguments.h"
#include "toolkit/core/error.h"
#include "toolkit/core/restack.h"
#include "toolkit/core/text.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

struct RestackArguments {
    InputArguments input;
    OutputArguments output;
    PagingArgument paging;
    std::string spacing, range, normal, up, pixel, thickness, type, quality, background;
    bool exact = false, shared = false;
};

/// Options that one of the two kinds of stacks does not have.
void check_combination(const RestackArguments& a) {
    if (a.exact && a.shared) throw Error("--exact and --shared exclude each other");
    const auto refuse = [](const std::string& option, const std::string& value, const char* why) {
        if (!value.empty()) throw Error(option + why);
    };
    if (!a.normal.empty()) {
        refuse("--range", a.range, " is for a stack along the volume's own slices, not with --normal");
        if (a.exact || a.shared)
            throw Error(
                "--exact and --shared are for a stack along the volume's own slices, not with --normal");
        return;
    }
    const char* const why = " is for a stack of oblique planes; give their --normal as well";
    refuse("--up", a.up, why);
    refuse("--pixel", a.pixel, why);
    refuse("--thickness", a.thickness, why);
    refuse("--type", a.type, why);
    refuse("--quality", a.quality, why);
    refuse("--background", a.background, why);
}

PlaneRequest plane_of(const RestackArguments& arguments) {
    PlaneRequest plane;
    if (!arguments.normal.empty()) plane.normal = vector("--normal", arguments.normal);
    if (!arguments.up.empty()) plane.up = vector("--up", arguments.up);
    if (!arguments.pixel.empty()) plane.spacing = number("--pixel", arguments.pixel);
    if (!arguments.thickness.empty()) plane.thickness = number("--thickness", arguments.thickness);
    if (!arguments.type.empty()) plane.type = type(arguments.type);
    if (!arguments.quality.empty()) plane.quality = quality(arguments.quality);
    if (!arguments.background.empty()) plane.background = number("--background", arguments.background);
    return plane;
}

void run(const RestackArguments& arguments) {
    check_combination(arguments);
    const double spacing = number("--spacing", arguments.spacing);
    const PlaneRequest plane = plane_of(arguments);
    std::optional<SliceRange> slices;
    if (!arguments.range.empty()) slices = range("--range", arguments.range);
    check_volume_output(arguments.output, "a stack");
    arguments.paging.apply();

    const ReadResult input =
        read_input(arguments.input.path, arguments.input.options(), arguments.output.quiet);
    const Stopwatch watch;
    const Volume stack = [&] {
        ProgressBar bar("stacking slices", arguments.output.quiet);
        const Report share = [&bar](double done) { bar.show(done); };
        if (!arguments.normal.empty()) return oblique_stack(input.volume, plane, spacing, share);
        return arguments.shared ? restack_shared(input.volume, spacing, slices)
                                : restack(input.volume, spacing, slices, share);
    }();
    const double stacked = watch.milliseconds();
    {
        const Progress progress("writing " + arguments.output.path, arguments.output.quiet);
        write_volume(stack, arguments.output.path, arguments.output.force);
    }
    if (arguments.output.quiet) return;
    const Grid& grid = stack.grid();
    std::printf("%s: %d x %d x %d samples of %s x %s x %s mm, stacked in %.2f ms\n",
                arguments.output.path.c_str(), grid.size[0], grid.size[1], grid.size[2],
                text(grid.spacing[0]).c_str(), text(grid.spacing[1]).c_str(), text(grid.spacing[2]).c_str(),
                stacked);
}

}  // namespace

void add_restack(CLI::App& program) {
    const auto arguments = std::make_shared<RestackArguments>();
    RestackArguments& a = *arguments;
    CLI::App& restack = *program.add_subcommand(
        "restack", "Make a volume of slices at another spacing, or of parallel oblique planes");
    a.input.add_to(restack);
    a.output.add_to(restack, ".mha, .nrrd, .nii or .nii.gz");
    restack.add_option("--spacing", a.spacing, "Millimetres from slice to slice")
        ->required()
        ->type_name("MM");
    restack.add_option("--range", a.range, "Slices to restack, counted from 0 (default: all)")
        ->type_name("A:B");
    restack.add_flag("--exact", a.exact, "Every slice at its own place (default)");
    restack.add_flag("--shared", a.shared, "The library's own way, which shares stored slices: see below");
    restack.add_option("--normal", a.normal, "A stack of planes at right angles to it instead")
        ->type_name("X,Y,Z");
    restack.add_option("--up", a.up, "With --normal: what points up (default as for mpr)")
        ->type_name("X,Y,Z");
    restack.add_option("--pixel", a.pixel, "With --normal: side of a pixel (default: the finest spacing)")
        ->type_name("MM");
    restack.add_option("--thickness", a.thickness, "With --normal: whole thickness of each slab (default 0)")
        ->type_name("MM");
    restack.add_option("--type", a.type, "With --thickness: mean (default), max or min")->type_name("NAME");
    restack.add_option("--quality", a.quality, "With --normal: as for mpr")->type_name("NAME");
    restack.add_option("--background", a.background, "With --normal: value outside the volume, as for mpr")
        ->type_name("V");
    a.paging.add_to(restack);
    restack.footer(
        "Along the volume's own slices, slice i lies i x MM behind the first one of the range, and the last "
        "one\n"
        "does not lie beyond the last. Pixels stay as they are. A slice that falls on a stored one is that "
        "one;\n"
        "others are interpolated, within 3 units below the true value (the bias of the fixed point).\n"
        "\n"
        "--shared is what the library does for a viewer: as many slices as MM divides the whole depth of "
        "the\n"
        "range, half a slice beyond both outer ones included; wherever i x MM is exactly a stored slice it "
        "shares\n"
        "that one, and every other slice stands in the middle of its place in an even division of the "
        "depth.\n"
        "The two kinds of slices are not evenly spaced where both occur, and the last ones may repeat: so "
        "--exact\n"
        "is the default. --shared takes 16-bit volumes and leaves a border of 0 on the slices it computes.\n"
        "\n"
        "With --normal the planes cover the whole volume, MM apart, evenly about its middle; each is what\n"
        "rzobl mpr draws there.\n");
    restack.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
