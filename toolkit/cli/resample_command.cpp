#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "toolkit/cli/commands.h"
#include "toolkit/cli/progress.h"
#include "toolkit/cli/slice_arguments.h"
#include "toolkit/core/error.h"
#include "toolkit/core/resample.h"
#include "toolkit/core/text.h"
#include "toolkit/io/write_volume.h"

namespace rzobl::cli {

namespace {

/// Only the place of a reference is looked at, so that any range of floats will do.
constexpr double kAnyFloat = 1e300;

struct ResampleArguments {
    InputArguments input;
    OutputArguments output;
    PagingArgument paging;
    std::string like, spacing, outside;
    bool floats = false;
};

Grid grid_like(const std::string& path, bool quiet) {
    ReadOptions options;
    options.floatRange = {-kAnyFloat, kAnyFloat};
    const Progress progress("reading " + path, quiet);
    return read_volume(path, options).volume.grid();
}

void run(const ResampleArguments& arguments) {
    if (arguments.like.empty() == arguments.spacing.empty())
        throw Error("resample takes the grid of a volume (--like) or a spacing (--spacing), one of the two");
    std::optional<Vec3> spacing;
    if (!arguments.spacing.empty()) spacing = spacings("--spacing", arguments.spacing);
    std::optional<double> outside;
    if (!arguments.outside.empty()) outside = number("--outside", arguments.outside);
    const OutputArguments& output = arguments.output;
    check_volume_output(output, "what is resampled");
    arguments.paging.apply();

    std::optional<Grid> like;
    if (!spacing) like = grid_like(arguments.like, output.quiet);
    const ReadResult input = read_input(arguments.input.path, arguments.input.options(), output.quiet);
    const Grid grid = spacing ? respaced(input.volume.grid(), *spacing) : *like;
    double taken = 0;
    const auto work = [&](auto resampled) {
        const Stopwatch watch;
        const auto volume = [&] {
            const Progress progress("resampling", output.quiet);
            return resampled(input.volume, grid, outside);
        }();
        taken = watch.milliseconds();
        const Progress progress("writing " + output.path, output.quiet);
        write_volume(volume, output.path, output.force);
    };
    if (arguments.floats)
        work(resample_float);
    else
        work(resample);
    if (output.quiet) return;
    std::printf("%s: %d x %d x %d samples of %s x %s x %s mm, resampled in %.2f ms\n", output.path.c_str(),
                grid.size[0], grid.size[1], grid.size[2], text(grid.spacing[0]).c_str(),
                text(grid.spacing[1]).c_str(), text(grid.spacing[2]).c_str(), taken);
}

}  // namespace

void add_resample(CLI::App& program) {
    const auto arguments = std::make_shared<ResampleArguments>();
    ResampleArguments& a = *arguments;
    CLI::App& resample =
        *program.add_subcommand("resample", "Sample a volume anew on another grid, trilinearly");
    a.input.add_to(resample);
    a.output.add_to(resample, ".mha, .nrrd, .nii or .nii.gz");
    resample
        .add_option("--like", a.like, "A volume whose grid is taken over: size, spacing, place, directions")
        ->type_name("REFERENCE");
    resample
        .add_option("--spacing", a.spacing,
                    "In mm (one number for all three): the same extent at this spacing")
        ->type_name("X,Y,Z");
    resample
        .add_option("--outside", a.outside,
                    "Value where the volume does not reach (default: its padding value, or its least value)")
        ->type_name("V");
    resample.add_flag("--float", a.floats,
                      "Write values after rescale in single precision, as they were computed");
    a.paging.add_to(resample);
    resample.footer(
        "Without --float OUT holds stored samples of the same type as INPUT and the same rescale, rounded "
        "to\n"
        "the nearest. 8-bit and 16-bit volumes of at least 2 x 2 samples a slice.\n"
        "\n"
        "With --spacing the new grid has the same centre and directions and as many samples as come nearest "
        "to\n"
        "the extent.\n"
        "\n"
        "At the rim: a volume reaches half a sample beyond its outer samples. Below the first samples of an "
        "axis\n"
        "values are extrapolated. From the centre of the last sample of a row or a column on they run from "
        "the\n"
        "last but one to the last once more, so that a place exactly on the last sample, as in a grid like "
        "the\n"
        "volume's own, gives the last but one. Behind the last slice values stay those of that slice, "
        "except\n"
        "along the rim of rows and columns, which runs from the last slice but one to the last once more.\n");
    resample.callback([arguments] { run(*arguments); });
}

}  // namespace rzobl::cli
